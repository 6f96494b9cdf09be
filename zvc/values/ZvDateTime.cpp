#include "zvc/values/ZvDateTime.h"

#include "zvc/platform/Clock.h"
#include "zvc/serialization/ZvCoder.h"

#include <cmath>
#include <istream>
#include <ostream>

ZV_DEFINE_CLASS(ZvDateTime, (ZvObject), .schema = 0x80000002, .spec = ZvType::SpecPrimitive, .codec = true, .create = &Create)

namespace {

constexpr double DynamicalDays = 0.0007523148148148147;          // 65 seconds

uint8_t Byte(int value) { return static_cast<uint8_t>(value); }

}

ZvDateTime::ZvDateTime() = default;
ZvDateTime::ZvDateTime(int day, int month, int year, int hour, int minute, double second, int zone, bool dst)
    : m_year(static_cast<uint16_t>(year)), m_month(Byte(month)), m_day(Byte(day)), m_hour(Byte(hour)), m_minute(Byte(minute)),
      m_zone(Byte(zone)), m_second(second), m_dst(dst) {}
ZvDateTime::ZvDateTime(void* other) : ZvDateTime(*static_cast<const ZvDateTime*>(other)) {}
ZvDateTime::ZvDateTime(const ZvDateTime& other) = default;
ZvDateTime::~ZvDateTime() = default;

ZvDateTime& ZvDateTime::operator=(const ZvDateTime& other) {
    Assign(other);
    return *this;
}

void ZvDateTime::Assign(const ZvDateTime& other) {
    m_year = other.m_year;
    m_month = other.m_month;
    m_day = other.m_day;
    m_hour = other.m_hour;
    m_minute = other.m_minute;
    m_zone = other.m_zone;
    m_second = other.m_second;
    m_dst = other.m_dst;
}

void ZvDateTime::SetValue(const void* source) { Assign(*static_cast<const ZvDateTime*>(source)); }

bool ZvDateTime::SetValue(const ZvValue& value) {
    if (value.GetType() != GetType()) return false;
    Assign(static_cast<const ZvDateTime&>(static_cast<const ZvObject&>(value)));
    return true;
}

void ZvDateTime::GetValue(void* target) const { static_cast<ZvDateTime*>(target)->Assign(*this); }

ZV_DETAIL_OWN_CONVERSION_BEGIN
ZvDateTime::operator ZvDateTime() const { return ZvDateTime(*this); }
ZV_DETAIL_OWN_CONVERSION_END

bool ZvDateTime::Get(ZvDateTime* out, int) const {
    out->Assign(*this);
    return true;
}

ZvDateTime ZvDateTime::ZvDateTimeValue(size_t) const { return ZvDateTime(*this); }

void ZvDateTime::SetDate(int day, int month, int year) {
    m_day = Byte(day);
    m_month = Byte(month);
    m_year = static_cast<uint16_t>(year);
}

void ZvDateTime::SetTime(int hour, int minute, double second) {
    m_hour = Byte(hour);
    m_minute = Byte(minute);
    m_second = second;
}

void ZvDateTime::SetZone(int zone) {
    if (zone >= -12 && zone <= 12) m_zone = Byte(zone);
}

void ZvDateTime::SetFromSystemTime() {
    const zvc::platform::LocalTime now = zvc::platform::LocalTimeNow();
    const zvc::platform::TimeZone zone = zvc::platform::TimeZoneNow();
    SetDate(now.day, now.month, now.year);
    SetTime(now.hour, now.minute, now.second + now.millisecond * 0.001);
    m_zone = Byte(-zone.bias / 60);
    m_dst = zone.daylight;
}

long double ZvDateTime::ConvertToGMT() const {
    double hours = m_minute * 0.016666666666666666 + m_second * 0.0002777777777777778 + m_hour;
    if (m_dst) hours -= 1;
    return hours - m_zone;
}

double ZvDateTime::DayAndTime() const { return static_cast<double>(ConvertToGMT()) * 0.041666666666666664 + m_day; }

// The Julian date of the month's beginning. January and February count as months 13 and 14 of the year before.
double ZvDateTime::MonthStart(bool wholeDays) const {
    double year = m_year;
    double month = m_month;
    if (m_month < 3) {
        year -= 1;
        month += 12;
    }
    const double centuries = std::floor(year * 0.01);
    const double leapCenturies = std::floor(year * 0.0025);
    const double days = year * 365.25;
    return 1720996.5 - centuries + leapCenturies + (wholeDays ? std::floor(days) : days) + std::floor((month + 1) * 30.6001);
}

// Meant so: the days of the years are not cut to whole days in this one.
double ZvDateTime::GetJulianDate(bool dynamical) const {
    const double date = MonthStart(false) + DayAndTime();
    return dynamical ? date + DynamicalDays : date;
}

double ZvDateTime::GetEpoch2000Centuries(bool dynamical) const {
    const double days = MonthStart(true) - 2451545.0 + DayAndTime();
    return (dynamical ? days + DynamicalDays : days) * 2.7378507871321012e-05;
}

double ZvDateTime::GetEpoch1990Days(bool dynamical) const {
    const double days = MonthStart(true) - 2447891.5 + DayAndTime();
    return dynamical ? days + DynamicalDays : days;
}

bool ZvDateTime::operator==(const ZvDateTime& other) const {
    return m_year == other.m_year && m_month == other.m_month && m_day == other.m_day && m_hour == other.m_hour &&
           m_minute == other.m_minute && m_zone == other.m_zone && m_dst == other.m_dst && !(m_second < other.m_second) &&
           !(m_second > other.m_second);
}

ZvObject* ZvDateTime::Clone() const { return new ZvDateTime(*this); }

void ZvDateTime::Encode(ZvStream$& stream, ZvCoder* coder) const {
    coder->Write(stream, m_year);
    for (unsigned char part : {m_month, m_day, m_hour, m_minute, m_zone}) coder->Write(stream, part);
    coder->Write(stream, m_second);
    coder->Write(stream, m_dst);
}

void ZvDateTime::Decode(ZvStream$& stream, ZvCoder* coder) {
    coder->Read(stream, m_year);
    for (uint8_t* part : {&m_month, &m_day, &m_hour, &m_minute, &m_zone}) coder->Read(stream, *part);
    coder->Read(stream, m_second);
    if (FindFileVersion(coder, GetType()) >= 2) coder->Read(stream, m_dst);
}

std::ostream& operator<<(std::ostream& out, const ZvDateTime& value) {
    out << value.Year();
    for (int part : {value.Month(), value.Day(), value.Hour(), value.Minute(), value.Zone()}) out.put(static_cast<char>(part));
    return out << value.Second() << value.ObservingDST();
}

std::istream& operator>>(std::istream& in, ZvDateTime& value) {
    unsigned short year = 0;
    if (in >> year) value.m_year = year;
    // Raw: noon is a form feed, and zone 9 a tab, which reading of characters with blanks skipped would lose.
    for (uint8_t* part : {&value.m_month, &value.m_day, &value.m_hour, &value.m_minute, &value.m_zone}) {
        char c = 0;
        if (in.get(c)) *part = static_cast<uint8_t>(c);
    }
    double second = 0;
    if (in >> second) value.m_second = second;
    bool dst = false;
    if (in >> dst) value.m_dst = dst;
    return in;
}
