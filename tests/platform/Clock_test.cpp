#include "zvc/platform/Clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

using namespace zvc::platform;

namespace {

class Zone {
public:
    explicit Zone(const char* name) : m_had(std::getenv("TZ") != nullptr), m_old(m_had ? std::getenv("TZ") : "") { setenv("TZ", name, 1); }
    ~Zone() {
        if (m_had) setenv("TZ", m_old.c_str(), 1);
        else unsetenv("TZ");
        tzset();
    }

private:
    bool m_had;
    std::string m_old;
};

}

TEST(Clock, TicksAtItsFrequency) {
    EXPECT_GE(ClockFrequency(), 1000000u);
    const uint64_t start = ClockTicks();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_GE(ClockTicks() - start, ClockFrequency() / 100);
}

TEST(Clock, NeverRunsBack) {
    uint64_t last = ClockTicks();
    for (int i = 0; i != 1000; ++i) {
        const uint64_t now = ClockTicks();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(Clock, LocalTimeIsTheZones) {
    Zone zone("XYZ-5:30");                       // five and a half hours east of Greenwich
    const time_t before = time(nullptr);
    const LocalTime now = LocalTimeNow();
    const time_t after = time(nullptr);
    tm civil{};
    civil.tm_year = now.year - 1900;
    civil.tm_mon = now.month - 1;
    civil.tm_mday = now.day;
    civil.tm_hour = now.hour;
    civil.tm_min = now.minute;
    civil.tm_sec = now.second;
    const time_t there = timegm(&civil) - (5 * 60 + 30) * 60;
    EXPECT_GE(there, before);
    EXPECT_LE(there, after);
    EXPECT_GE(now.millisecond, 0);
    EXPECT_LT(now.millisecond, 1000);
}

TEST(Clock, ZoneIsMinutesWestOfGreenwich) {
    struct Row {
        const char* zone;
        int bias;
        bool daylight;
    };
    // The rules in the last rows: daylight time all the year, twice, and for the last two seconds of it.
    for (const Row& row : {Row{"UTC0", 0, false}, Row{"EST5", 300, false}, Row{"XYZ-5:30", -330, false}, Row{"CET-1", -60, false},
                           Row{"AAA5BBB,0/0,J365/25", 300, true}, Row{"CCC-10:30DDD-11,0/0,J365/25", -630, true},
                           Row{"EEE0FFF-1,J365/23:59:58,J365/25", 0, false}}) {
        SCOPED_TRACE(row.zone);
        Zone zone(row.zone);
        const TimeZone now = TimeZoneNow();
        EXPECT_EQ(now.bias, row.bias);
        EXPECT_EQ(now.daylight, row.daylight);
    }
}
