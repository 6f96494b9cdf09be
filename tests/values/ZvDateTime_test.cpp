#include "zvc/values/ZvDateTime.h"

#include "../support/Coding.h"
#include "zvc/platform/Clock.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <sstream>

namespace {

constexpr auto Plain = ZvStreamingContext::States(0);

double Bits(uint64_t bits) { return std::bit_cast<double>(bits); }

struct Expected {
    uint64_t gmt, julian, centuries, days, julianDynamical, centuriesDynamical, daysDynamical;
};

struct Case {
    const char* name;
    int day, month, year, hour, minute;
    uint64_t second;
    int zone;
    bool dst;
    Expected expected;
};

// All results in 64-bit arithmetic, as bits.
const Case s_cases[] = {
    {"default", 1, 7, 2000, 12, 0, 0x0000000000000000, 9, false,
     {0x4008000000000000, 0x4142b48750000000, 0x3f745e2beaf1fd3d, 0x40adf64000000000, 0x4142b4875018a6e0, 0x3f745e317260c48b, 0x40adf640629b7f0d}},
    {"February of 2000", 29, 2, 2000, 6, 30, 0x403e800000000000, 1, false,
     {0x401608acf13579be, 0x4142b44a3d60e697, 0x3f5a58220eecdd98, 0x40ad0075839a5bc8, 0x4142b44a3d798d77, 0x3f5a58382ca7fad2, 0x40ad0075e635dad5}},
    {"cut to the fields' widths", 257, 263, 67536, 268, 256, 0x0000000000000000, 265, false,
     {0x4008000000000000, 0x4142b48750000000, 0x3f745e2beaf1fd3d, 0x40adf64000000000, 0x4142b4875018a6e0, 0x3f745e317260c48b, 0x40adf640629b7f0d}},
    {"random 3", 24, 2, 1893, 20, 29, 0x403685e353f7ced9, 12, false,
     {0x4020faab810acdea, 0x414267f36d471ead, 0xbff1187c05f1d821, 0xc0e14594ae3854a3, 0x414267f36d5fc58d, 0xbff1187c006a695a, 0xc0e14594a80e9cb2}},
    {"random 8", 28, 4, 1760, 1, 31, 0x3ffc5e353f7ced91, 11, true,
     {0xc024f736e9e8ae1c, 0x4142093208176d90, 0xc0032c8623da0131, 0xc0f47af6fd124df8, 0x4142093208301470, 0xc0032c86211649ce, 0xc0f47af6f9fd7200}},
    {"random 13", 9, 10, 2205, 3, 46, 0x403f89fbe76c8b44, 2, false,
     {0x3ffc6826aa8eb464, 0x414346f669780ce4, 0x4000760fe0f134ad, 0x40f33d912f019c71, 0x414346f66990b3c4, 0x4000760fe3b4ec10, 0x40f33d9132167869}},
    {"random 18", 3, 3, 1617, 4, 47, 0x40292978d4fdf3b6, 3, false,
     {0x3ffc96d903e2fb6c, 0x4141a31369879dac, 0xc00ea03bb664c133, 0xc1009f6767862541, 0x4141a31369a0448c, 0xc00ea03bb3a109d0, 0xc1009f6765fbb745}},
    {"random 23", 27, 9, 1741, 21, 3, 0x4043095810624dd3, 11, false,
     {0x40241f03cbae3072, 0x4141fbf095a80a1f, 0xc004a91651df9e88, 0xc0f623294afebc1b, 0x4141fbf095c0b0ff, 0xc004a9164f1be724, 0xc0f6232947e9e023}},
    {"random 28", 4, 2, 1610, 6, 51, 0x402e072b020c49ba, 8, true,
     {0xc0012aa8a0b57640, 0x41419e07548e3a40, 0xc00f3121608cd2b0, 0xc100f028b71c5c08, 0x41419e0754a6e120, 0xc00f31215dc91b4c, 0xc100f028b591ee0c}},
    {"random 33", 16, 9, 1835, 4, 3, 0x402ab851eb851eb8, 3, false,
     {0x3ff0dc002e9a76f8, 0x41423ef9259eaaba, 0xbffa4960d43f8175, 0xc0eb843e98555173, 0x41423ef925b7519a, 0xbffa4960ceb812ad, 0xc0eb843e922b9982}},
    {"random 38", 10, 12, 1867, 5, 7, 0x4044a9db22d0e560, 6, false,
     {0xbfebe6398b53e528, 0x414255f79b59a113, 0xbff521229830b575, 0xc0e5c4a12997bb23, 0x414255f79b7247f3, 0xbff5212292a946ad, 0xc0e5c4a1236e0332}},
    {"random 43", 5, 6, 1785, 6, 31, 0x404cd9ba5e353f7d, 0, false,
     {0x401a217ab9aac8f5, 0x41421b1b02d74e4d, 0xc0012a5e175c84d1, 0xc0f23ddba5163664, 0x41421b1b02eff52d, 0xc0012a5e1498cd6e, 0xc0f23ddba2015a6c}},
    {"random 48", 14, 4, 2291, 23, 37, 0x40314fdf3b645a1d, 7, false,
     {0x40309f1905a25fe2, 0x414383f778a5dac9, 0x40074d5e358bb2bb, 0x40faddab14bb5917, 0x414383f778be81a9, 0x40074d5e384f6a1e, 0x40faddab17d0350f}},
    {"random 53", 6, 7, 1855, 21, 13, 0x40294f5c28f5c28f, 4, true,
     {0x4030385dd80a8eff, 0x41424d19f681f480, 0xbff71e2e7ecd10ef, 0xc0e7fc0a5f82dff2, 0x41424d19f69a9b60, 0xbff71e2e7945a227, 0xc0e7fc0a59592801}},
    {"random 58", 18, 11, 1890, 3, 20, 0x4029e24dd2f1a9fc, 9, false,
     {0xc016a6fc424cf340, 0x41426654e1cc04fd, 0xbff17584411f4fba, 0xc0e1ad478cfec0c4, 0x41426654e1e4abdd, 0xbff175843b97e0f2, 0xc0e1ad4786d508d3}},
};

ZvDateTime Make(const Case& c) {
    return ZvDateTime(c.day, c.month, c.year, c.hour, c.minute, Bits(c.second), c.zone, c.dst);
}

std::string Parts(const ZvDateTime& t) {
    std::ostringstream out;
    out << t.Year() << '-' << t.Month() << '-' << t.Day() << ' ' << t.Hour() << ':' << t.Minute() << ':' << t.Second() << " zone "
        << t.Zone() << (t.ObservingDST() ? " dst" : "");
    return out.str();
}

/// The system's zone for a scope.
class InZone {
public:
    explicit InZone(const char* zone) {
        if (const char* before = std::getenv("TZ")) m_before = before;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~InZone() {
        if (m_before.empty())
            unsetenv("TZ");
        else
            setenv("TZ", m_before.c_str(), 1);
        tzset();
    }

private:
    std::string m_before;
};

}

TEST(ZvDateTime, NewOneIsNoonOfTheFirstOfJuly2000InZoneNine) {
    EXPECT_EQ(Parts(ZvDateTime()), "2000-7-1 12:0:0 zone 9");
    EXPECT_EQ(Parts(ZvDateTime(2, 3, 1999, 4, 5, 6.5, 7, true)), "1999-3-2 4:5:6.5 zone 7 dst");
}

TEST(ZvDateTime, PartsAreCutToTheirWidths) {
    EXPECT_EQ(Parts(ZvDateTime(257, 263, 67536, 268, 256, 0, 265, false)), "2000-7-1 12:0:0 zone 9");
    EXPECT_EQ(Parts(ZvDateTime(-1, 0, -1, 99, 61, -1.5, -5, false)), "65535-0-255 99:61:-1.5 zone 251");
    ZvDateTime t;
    t.SetDate(257, 258, 65537);
    t.SetTime(259, 260, 61.5);
    EXPECT_EQ(Parts(t), "1-2-1 3:4:61.5 zone 9");
}

TEST(ZvDateTime, SetZoneTakesTwelveHoursEitherWay) {
    const struct {
        int zone, read;
    } cases[] = {{0, 0}, {12, 12}, {-1, 255}, {-5, 251}, {-12, 244}, {13, 9}, {-13, 9}, {255, 9}, {244, 9}};
    for (const auto& c : cases) {
        ZvDateTime t;
        t.SetZone(c.zone);
        EXPECT_EQ(t.Zone(), c.read) << c.zone;
    }
}

TEST(ZvDateTime, WesternZoneCountsAsItsByte) {
    ZvDateTime t;
    t.SetZone(-5);
    EXPECT_EQ(t.ConvertToGMT(), 12 - 251);
}

TEST(ZvDateTime, DefaultHasItsDayNumbers) {
    EXPECT_EQ(ZvDateTime().GetJulianDate(false), 2451726.625);
    EXPECT_EQ(ZvDateTime().GetEpoch1990Days(false), 3835.125);
    EXPECT_EQ(ZvDateTime().ConvertToGMT(), 3);
}

TEST(ZvDateTime, JulianDateDoesNotCutTheDaysOfTheYears) {
    const double floored = 2447891.5;
    const struct {
        int year;
        double extra;
    } cases[] = {{2000, 0}, {2001, 0.25}, {2002, 0.5}, {2003, 0.75}, {2004, 0}};
    for (const auto& c : cases) {
        const ZvDateTime t(1, 7, c.year, 0, 0, 0, 0, false);
        EXPECT_EQ(t.GetJulianDate(false), t.GetEpoch1990Days(false) + floored + c.extra) << c.year;
    }
}

TEST(ZvDateTime, JanuaryBelongsToTheYearBefore) {
    // 2000 is the year that counts for a January of 2001, and 2001 for its March.
    const ZvDateTime january(1, 1, 2001, 0, 0, 0, 0, false), march(1, 3, 2001, 0, 0, 0, 0, false);
    EXPECT_EQ(january.GetJulianDate(false), january.GetEpoch1990Days(false) + 2447891.5);
    EXPECT_EQ(march.GetJulianDate(false), march.GetEpoch1990Days(false) + 2447891.75);
    EXPECT_EQ(january.GetEpoch1990Days(false), 11 * 365 + 3 + 1);        // day 1 is 1 January 1990; three leap years since
    EXPECT_EQ(march.GetEpoch1990Days(false), 11 * 365 + 3 + 1 + 59);
}

TEST(ZvDateTime, ComputedDayNumbers) {
    for (const Case& c : s_cases) {
        const ZvDateTime t = Make(c);
        EXPECT_NEAR(static_cast<double>(t.ConvertToGMT()), Bits(c.expected.gmt), 1e-13) << c.name;
        EXPECT_NEAR(t.GetJulianDate(false), Bits(c.expected.julian), 1e-9) << c.name;
        EXPECT_NEAR(t.GetJulianDate(true), Bits(c.expected.julianDynamical), 1e-9) << c.name;
        EXPECT_NEAR(t.GetEpoch2000Centuries(false), Bits(c.expected.centuries), 1e-14) << c.name;
        EXPECT_NEAR(t.GetEpoch2000Centuries(true), Bits(c.expected.centuriesDynamical), 1e-14) << c.name;
        EXPECT_NEAR(t.GetEpoch1990Days(false), Bits(c.expected.days), 1e-9) << c.name;
        EXPECT_NEAR(t.GetEpoch1990Days(true), Bits(c.expected.daysDynamical), 1e-9) << c.name;
    }
}

TEST(ZvDateTime, GmtIsNotReducedToADay) {
    EXPECT_EQ(ZvDateTime(1, 7, 2000, 3, 0, 0, 9, true).ConvertToGMT(), -7);
    EXPECT_EQ(ZvDateTime(1, 7, 2000, 30, 0, 0, 0, false).ConvertToGMT(), 30);
}

TEST(ZvDateTime, EqualityIsOfAllParts) {
    const ZvDateTime t(2, 3, 1999, 4, 5, 6.5, 7, false);
    EXPECT_TRUE(t == ZvDateTime(2, 3, 1999, 4, 5, 6.5, 7, false));
    EXPECT_FALSE(t != ZvDateTime(2, 3, 1999, 4, 5, 6.5, 7, false));
    const ZvDateTime others[] = {{3, 3, 1999, 4, 5, 6.5, 7, false}, {2, 4, 1999, 4, 5, 6.5, 7, false},
                                 {2, 3, 1998, 4, 5, 6.5, 7, false}, {2, 3, 1999, 5, 5, 6.5, 7, false},
                                 {2, 3, 1999, 4, 6, 6.5, 7, false}, {2, 3, 1999, 4, 5, 6.0, 7, false},
                                 {2, 3, 1999, 4, 5, 6.5, 8, false}, {2, 3, 1999, 4, 5, 6.5, 7, true},
                                 {2, 3, 1999, 5, 5, 6.5, 8, false}};         // the last is the same instant
    for (const ZvDateTime& other : others) {
        EXPECT_FALSE(t == other) << Parts(other);
        EXPECT_TRUE(t != other) << Parts(other);
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(t == ZvDateTime(2, 3, 1999, 4, 5, nan, 7, false));           // neither less nor greater
}

TEST(ZvDateTime, HashEqualsAndTextAreThoseOfAnObject) {
    ZvDateTime$ t = new ZvDateTime, same = new ZvDateTime;
    EXPECT_FALSE(t->Equals(same.Get()));
    EXPECT_EQ(t->GetHashCode(), reinterpret_cast<uintptr_t>(t.Get()) >> 4);
    EXPECT_EQ(*t->ToString(), "ZvDateTime");
    ZvDateTime$ clone = ZvObject$(t->Clone());
    ASSERT_TRUE(clone);
    EXPECT_TRUE(*clone == *t);
}

TEST(ZvDateTime, CanStandWhereAValueIsExpected) {
    const ZvDateTime source(2, 3, 1999, 4, 5, 6.5, 7, true);
    ZvDateTime target;
    target.SetValue(static_cast<const void*>(&source));
    EXPECT_TRUE(target == source);
    target = ZvDateTime();
    source.GetValue(&target);
    EXPECT_TRUE(target == source);
    target = ZvDateTime();
    EXPECT_TRUE(source.Get(&target, -3));
    EXPECT_TRUE(target == source);
    EXPECT_TRUE(source.ZvDateTimeValue(99) == source);
    EXPECT_TRUE(source.operator ZvDateTime() == source);
    ZvDateTime copy(source), assigned, fromPointer(static_cast<void*>(&copy));
    assigned = source;
    EXPECT_TRUE(copy == source && assigned == source && fromPointer == source);
}

TEST(ZvDateTime, SetValueTakesAValueOfItsOwnClassOnly) {
    ZvDateTime t;
    const ZvPrimitive<int> box(5);
    EXPECT_FALSE(t.SetValue(static_cast<const ZvValue&>(box)));
    EXPECT_TRUE(t == ZvDateTime());
}

TEST(ZvDateTime, IsMadeByName) {
    EXPECT_EQ(ZvSystem::FindType("ZvDateTime"), &ZvDateTime::s_type);
    ZvDateTime$ t = ZvObject$(ZvDateTime::s_type.CreateObject());
    EXPECT_TRUE(t);
    EXPECT_EQ(ZvDateTime::s_type.GetSchema(), 0x80000002u);
    EXPECT_EQ(ZvDateTime::s_type.GetClassSpec(), 2u);
    EXPECT_TRUE(ZvDateTime::s_type.HasCodec());
    EXPECT_FALSE(ZvDateTime::s_type.IsDerivedFrom(&ZvValue::s_type));
}

TEST(ZvDateTime, StoredBytes) {
    ZvDateTime$ t = new ZvDateTime(4, 4, 1967, 19, 38, Bits(0x4044d8b439581062), 3, true);
    const std::vector<std::string> expected = {
        "8487925a764461746554696d658b5a5643a002a302000080a1af07a004a004a013a026a00362105839b4d8444082"};
    EXPECT_EQ(Written({t}, Plain), expected);
    ZvDateTime$ back = ReadBack(expected[0], 1, Plain)[0];
    ASSERT_TRUE(back);
    EXPECT_TRUE(*back == *t);
}

TEST(ZvDateTime, DataOfVersionOneHasNoDaylightFlag) {
    const char* const stored[] = {
        "8487925a764461746554696d658b5a5643a002a301000080a1d507a004a003a006a007a009000000000000214084878f5a76496e7433328b5a5643a0"
        "02a001a005",
        "8483925a764461746554696d658b5a5643a002a1d507a004a003a006a007a009000000000000214084838f5a76496e7433328b5a5643a002a005"};
    for (const char* hex : stored) {
        const std::vector<ZvObject$> objects = ReadBack(hex, 2, Plain);
        const ZvDateTime$ t = objects[0];
        ASSERT_TRUE(t);
        EXPECT_TRUE(*t == ZvDateTime(3, 4, 2005, 6, 7, 8.5, 9, false));
        EXPECT_EQ(*objects[1]->ToString(), "5");
    }
}

TEST(ZvDateTime, GoesToAStandardStreamWithoutSeparators) {
    std::ostringstream out;
    out << ZvDateTime();
    EXPECT_EQ(ToHex(out.str()), "3230303007010c00093030");
    out.str("");
    out << ZvDateTime(2, 3, 1999, 4, 5, 6.5, -5, true);
    EXPECT_EQ(ToHex(out.str()), "31393939" "03020405fb" "362e35" "31");
}

TEST(ZvDateTime, ReadsTheSameSequenceFromAStandardStream) {
    // Noon is a form feed and zone 9 a tab: blanks are not skipped among the raw characters.
    std::istringstream in(FromHex("32303031" "07010c0a09" "362e35" "20" "31"));
    ZvDateTime t(2, 3, 1999, 4, 5, 6, 7, false);
    in >> t;
    EXPECT_FALSE(in.fail());
    EXPECT_EQ(Parts(t), "2001-7-1 12:10:6.5 zone 9 dst");
}

TEST(ZvDateTime, SecondAndFlagThatTouchAreReadAsOneNumber) {
    std::stringstream stream;
    stream << ZvDateTime(2, 3, 1999, 4, 5, 6.5, 7, true);
    ZvDateTime t;
    stream >> t;
    EXPECT_TRUE(stream.fail());
    EXPECT_EQ(Parts(t), "1999-3-2 4:5:6.51 zone 7");
}

TEST(ZvDateTime, SystemTimeFillsEveryPart) {
    const InZone zone("EST5");
    const time_t before = time(nullptr);
    ZvDateTime t;
    t.SetFromSystemTime();
    const time_t after = time(nullptr);
    EXPECT_EQ(t.Zone(), 251);
    EXPECT_FALSE(t.ObservingDST());
    tm parts{};
    parts.tm_year = t.Year() - 1900;
    parts.tm_mon = t.Month() - 1;
    parts.tm_mday = t.Day();
    parts.tm_hour = t.Hour();
    parts.tm_min = t.Minute();
    parts.tm_sec = static_cast<int>(t.Second());
    parts.tm_isdst = 0;
    const time_t read = mktime(&parts);
    EXPECT_GE(read, before);
    EXPECT_LE(read, after);
    EXPECT_NEAR(t.Second() * 1000, std::round(t.Second() * 1000), 1e-6);
}

TEST(ZvDateTime, SystemZoneLosesItsHalfHour) {
    const struct {
        const char* zone;
        int read;
    } cases[] = {{"UTC0", 0}, {"IST-5:30", 5}, {"NST3:30", 253}, {"AAA-12", 12}, {"JST-9", 9}};
    for (const auto& c : cases) {
        const InZone zone(c.zone);
        ZvDateTime t;
        t.SetFromSystemTime();
        EXPECT_EQ(t.Zone(), c.read) << c.zone;
    }
}

TEST(ZvDateTime, DaylightSavingTimeIsNotPartOfTheZone) {
    // Both halves of the year are daylight time but for one hour of the first day.
    const InZone zone("AAA-1BBB,J1/0,J365/23");
    ZvDateTime t;
    t.SetFromSystemTime();
    EXPECT_EQ(t.Zone(), 1);
    EXPECT_TRUE(t.ObservingDST());
}
