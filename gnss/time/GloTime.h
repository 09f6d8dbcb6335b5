// GloTime: an instant in GLONASS time, as the GLONASS messages count it.
//
// Scale   Moscow time: UTC + 3 h, leap seconds included (GLONASS ICD 5.1, 3.3.3). A time inside a leap second cannot be
//         told from the second after it.
// Form    day 1 to 1461 of a four-year interval that begins with a leap year (day 1 is 1 January of that year), seconds
//         of that day in double, 0 <= seconds < 86400, and the leap year, or -1 while it is not known.
// Range   leap years of a 32-bit integer; beyond them the year stops at the end. Every interval counts 1461 days,
//         across 2100 too, which has no 29 February: day 1461 of 2100 is 1 January 2104. Dates hold the years -32767
//         to 32767 only and stop at their ends.
// NaN     seconds stay NaN; such a time is neither equal to any time nor before or after one.
//
// A time whose leap year is not known can still be subtracted and compared: its interval is then the one that brings it
// closest to the other time, or, when neither is known, its difference is the smallest possible, up to two years.
#pragma once

#include <compare>
#include <cstdint>

#include "gnss/platform/Date.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Time.h"
#include "gnss/platform/TimeDate.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

class GNSS_EXPORT GloTime {
public:
    static constexpr int UnknownYear = -1;
    static constexpr int DaysInInterval = 1461;

    // Day 0, second 0 of an unknown interval.
    constexpr GloTime() = default;
    // As Set.
    GloTime(int day, double seconds, int leapYear) { Set(day, seconds, leapYear); }
    // As SetFromGPS.
    explicit GloTime(const GPSTime& gps) { SetFromGPS(gps); }

    constexpr void Reset() { *this = GloTime(); }
    // Any day and any seconds: they are carried into the day and the leap year. Seconds beyond 1e15 either way (32
    // million years), infinite ones included, count as 1e15.
    void Set(int day, double seconds, int leapYear);
    // By the leap-second rule in force.
    void SetFromGPS(const GPSTime& gps) { SetFromUTC(gps.GetUTC()); }
    // Years before 0 give a leap year above the year and a day below 1: cut towards zero, as intended.
    void SetFromUTC(const Corvane::TimeDate& utc);

    // Places the day in the interval that brings it closest to a date of Moscow time: from 731 days before it to 729
    // days after it. (The arithmetic holds the day, which counts from 1, against a day of the date that counts from 0;
    // intended.)
    void ResolveLeapYear(const Corvane::Date& date);
    // The day and seconds in the interval that brings them closest to this time, with its leap year; of an unknown
    // interval when this one's is.
    [[nodiscard]] GloTime Resolve(int day, double seconds) const;

    [[nodiscard]] constexpr int GetLeapYear() const { return leapYear_; }
    [[nodiscard]] constexpr int GetDay() const { return day_; }
    // On Moscow time.
    [[nodiscard]] constexpr double GetSeconds() const { return seconds_; }
    // The date of Moscow time; meaningless while the leap year is unknown.
    [[nodiscard]] Corvane::Date GetDate() const;

    // Seconds from the other time to this one, every day counting 86400 s.
    [[nodiscard]] double Subtract(const GloTime& other) const;
    friend double operator-(const GloTime& a, const GloTime& b) { return a.Subtract(b); }
    friend GloTime operator+(const GloTime& time, Corvane::Time span) {
        return {time.day_, time.seconds_ + span.Seconds(), time.leapYear_};
    }
    friend GloTime operator-(const GloTime& time, Corvane::Time span) { return time + -span; }

    // By Subtract, exactly: without a tolerance.
    friend bool operator==(const GloTime& a, const GloTime& b) { return a.Subtract(b) == 0.0; }
    friend std::partial_ordering operator<=>(const GloTime& a, const GloTime& b) { return a.Subtract(b) <=> 0.0; }

    // Greenwich mean sidereal time at 0 h of a date of UT, in seconds, 0 to below 86400, by the polynomial of IAU 1982.
    // Centuries are counted from midnight of 1 January 2000 instead of its noon, which gives 118.28 s more than the
    // true sidereal time. Intended.
    [[nodiscard]] static double CalcSiderealTime(const Corvane::Date& date);

private:
    std::int32_t leapYear_ = UnknownYear;
    std::int32_t day_ = 0;
    double seconds_ = 0.0;
};

}  // namespace GNSS
