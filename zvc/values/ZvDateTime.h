#pragma once

#include "zvc/core/ZvDeclare.h"
#include "zvc/values/ZvValue.h"

#include <cstdint>
#include <iosfwd>

// The conversion of a date to itself stands among the virtual operations that dates share with other values. No
// conversion ever calls it, which the compilers say of each such operator.
#define ZV_DETAIL_OWN_CONVERSION_BEGIN \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wclass-conversion\"")
#define ZV_DETAIL_OWN_CONVERSION_END _Pragma("GCC diagnostic pop")

/// A civil date and time with its zone, and the day numbers of astronomy. Nothing validates a part, and no operation moves a
/// date: there are no leap years here and no lengths of months. Two equal instants in different zones are unequal.
///
/// The zone, in hours east of Greenwich, is kept in an unsigned byte: -5 reads back as 251, and the conversions take it for
/// 251 hours. Zones from 0 to 12 work; it is meant so, for the byte stands in files.
///
/// A date can stand where a value is expected, by the six operations from SetValue to ZvDateTimeValue, although it is no
/// ZvValue. No locking.
class ZV_API ZvDateTime : public ZvObject {
    ZV_DECLARE_CLASS(ZvDateTime)
    ZV_DECLARE_CREATE(ZvDateTime)
public:
    ZvDateTime();                                    ///< noon of 1 July 2000, zone 9, no daylight-saving time
    /// The parts are cut to their widths: 16 bits for the year, 8 for the others.
    ZvDateTime(int day, int month, int year, int hour, int minute, double second, int zone, bool dst);
    explicit ZvDateTime(void* other);                ///< copies the ZvDateTime at other
    ZvDateTime(const ZvDateTime& other);
    ZvDateTime& operator=(const ZvDateTime& other);
    ~ZvDateTime() override;

    /// Copies all parts from, or to, the ZvDateTime at the pointer.
    virtual void SetValue(const void* source);
    /// The same, if value is of exactly this object's class; otherwise false, and nothing changes.
    virtual bool SetValue(const ZvValue& value);
    virtual void GetValue(void* target) const;
    ZV_DETAIL_OWN_CONVERSION_BEGIN
    virtual operator ZvDateTime() const;
    ZV_DETAIL_OWN_CONVERSION_END
    virtual bool Get(ZvDateTime* out, int index) const;              ///< true; the index is ignored
    virtual ZvDateTime ZvDateTimeValue(size_t index) const;          ///< a copy; the index is ignored

    int Year() const { return m_year; }
    int Month() const { return m_month; }
    int Day() const { return m_day; }
    int Hour() const { return m_hour; }
    int Minute() const { return m_minute; }
    double Second() const { return m_second; }
    int Zone() const { return m_zone; }
    bool ObservingDST() const { return m_dst; }

    void SetDate(int day, int month, int year);
    void SetTime(int hour, int minute, double second);
    /// Takes zones from -12 to 12; ignores others.
    void SetZone(int zone);
    /// Every part from the system's clock, to the millisecond, and its zone; the half of a half-hour zone is lost.
    void SetFromSystemTime();

    /// The time of day in hours, Universal Time. Not reduced to a day: it can be below 0 and above 24.
    long double ConvertToGMT() const;

    /// Days since noon of 1 January 4713 BC; with `dynamical`, in dynamical time, taken as 65 seconds ahead. The formula is
    /// that of J. Meeus, "Astronomical Algorithms", chapter 7, but for the days of the years, which are not cut to whole days
    /// here, and add up to three quarters of a day.
    double GetJulianDate(bool dynamical) const;
    /// Julian centuries since noon of 1 January 2000, and days since midnight of 0 January 1990; with whole days for the years.
    double GetEpoch2000Centuries(bool dynamical) const;
    double GetEpoch1990Days(bool dynamical) const;

    /// All parts; seconds are equal where neither is less.
    bool operator==(const ZvDateTime& other) const;
    bool operator!=(const ZvDateTime& other) const { return !(*this == other); }

    ZvObject* Clone() const override;
    void Encode(ZvStream$& stream, ZvCoder* coder) const override;
    /// Data of version 1 has no daylight-saving flag, which then stays as it is.
    void Decode(ZvStream$& stream, ZvCoder* coder) override;

private:
    friend ZV_API std::istream& operator>>(std::istream& in, ZvDateTime& value);

    double MonthStart(bool wholeDays) const;
    double DayAndTime() const;
    void Assign(const ZvDateTime& other);

    uint16_t m_year = 2000;
    uint8_t m_month = 7;
    uint8_t m_day = 1;
    uint8_t m_hour = 12;
    uint8_t m_minute = 0;
    uint8_t m_zone = 9;
    double m_second = 0.0;
    bool m_dst = false;
};
ZV_DECLARE_HANDLE(ZvDateTime, ZvObject$);

/// The year as a number, month, day, hour, minute and zone as raw characters, the second and the flag as numbers, and nothing
/// between them. Reading takes the same sequence: where a second is followed at once by the flag, both are read as one number,
/// the flag stays as it is, and the stream fails.
ZV_API std::ostream& operator<<(std::ostream& out, const ZvDateTime& value);
ZV_API std::istream& operator>>(std::istream& in, ZvDateTime& value);
