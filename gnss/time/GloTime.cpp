#include "gnss/time/GloTime.h"

#include <algorithm>
#include <cmath>

namespace GNSS {

using Corvane::Date;
using Corvane::Time;
using Corvane::TimeDate;

namespace {

constexpr double SecsInDay = GPSTime::SecsInDay;
constexpr double FarthestSeconds = 1e15;
constexpr std::int64_t DaysInInterval = GloTime::DaysInInterval;

// The leap year at or before a year; towards zero for negative years.
int LeapYearOf(int year) {
    return year - year % 4;
}

std::int32_t DayOfLeapYear(const Date& date, int leapYear) {
    return date - Date(leapYear, 1, 1);
}

// Days brought into [-730, 730] by whole intervals.
std::int64_t NearestDays(std::int64_t days) {
    if (days < -730) days += (-731 - days) / DaysInInterval * DaysInInterval + DaysInInterval;
    if (days > 730) days -= (days - 731) / DaysInInterval * DaysInInterval + DaysInInterval;
    return days;
}

// How many whole intervals a day lies away from 1 to 1461.
std::int64_t IntervalsFrom(std::int64_t day) {
    const std::int64_t zeroBased = day - 1;
    return (zeroBased >= 0 ? zeroBased : zeroBased - (DaysInInterval - 1)) / DaysInInterval;
}

}  // namespace

void GloTime::Set(int day, double seconds, int leapYear) {
    // One division each for days and intervals; below FarthestSeconds every step is exact, so the result is that of
    // carrying one day after the other.
    std::int64_t carried = day;
    if (std::abs(seconds) > FarthestSeconds) seconds = std::copysign(FarthestSeconds, seconds);
    if (seconds < 0.0) {
        // At least one, also where the quotient of the smallest numbers is 0.
        const double days = std::max(1.0, std::ceil(-seconds / SecsInDay));
        seconds += days * SecsInDay;
        carried -= Corvane::ToInt64(days);
    }
    if (seconds >= SecsInDay) {
        // Also reached when a tiny negative number was rounded up to a whole day above.
        const double days = std::floor(seconds / SecsInDay);
        seconds -= days * SecsInDay;
        carried += Corvane::ToInt64(days);
    }
    const std::int64_t intervals = IntervalsFrom(carried);
    day_ = Corvane::Saturate(carried - intervals * DaysInInterval);
    seconds_ = seconds;
    leapYear_ = leapYear == UnknownYear ? UnknownYear : Corvane::Saturate(leapYear + intervals * 4);
}

void GloTime::SetFromUTC(const TimeDate& utc) {
    const TimeDate moscow = utc + Time::Hour * 3.0;
    leapYear_ = LeapYearOf(moscow.GetDate().Year());
    day_ = DayOfLeapYear(moscow.GetDate(), leapYear_) + 1;
    seconds_ = moscow.GetTimeOfDay().Seconds();
}

void GloTime::ResolveLeapYear(const Date& date) {
    const int leapYear = LeapYearOf(date.Year());
    const std::int64_t dateDay = DayOfLeapYear(date, leapYear);
    const std::int64_t day = NearestDays(day_ - dateDay) + dateDay;
    const std::int64_t intervals = IntervalsFrom(day);
    day_ = Corvane::Saturate(day - intervals * DaysInInterval);
    leapYear_ = Corvane::Saturate(leapYear + intervals * 4);
}

GloTime GloTime::Resolve(int day, double seconds) const {
    std::int64_t leapYear = leapYear_;
    if (leapYear >= 0) {
        const std::int64_t ahead = std::int64_t{day} - day_;
        if (ahead >= 731) {
            leapYear -= 4;
        } else if (ahead < -730) {
            leapYear += 4;
        }
    }
    return {day, seconds, Corvane::Saturate(leapYear)};
}

Date GloTime::GetDate() const {
    return Date(leapYear_, 1, 1) + (std::int64_t{day_} - 1);
}

double GloTime::Subtract(const GloTime& other) const {
    const bool known = leapYear_ != UnknownYear;
    const bool otherKnown = other.leapYear_ != UnknownYear;
    if (known && !otherKnown) {
        GloTime resolved(other.day_, other.seconds_, UnknownYear);
        resolved.ResolveLeapYear(GetDate());
        return Subtract(resolved);
    }
    if (!known && otherKnown) {
        GloTime resolved(day_, seconds_, UnknownYear);
        resolved.ResolveLeapYear(other.GetDate());
        return resolved.Subtract(other);
    }
    std::int64_t days = std::int64_t{day_} - other.day_;
    if (known) {
        const auto intervalsSince2004 = [](std::int64_t leapYear) { return (leapYear - 2004) / 4; };
        days += (intervalsSince2004(leapYear_) - intervalsSince2004(other.leapYear_)) * DaysInInterval;
    } else {
        days = NearestDays(days);
    }
    return static_cast<double>(days) * SecsInDay + (seconds_ - other.seconds_);
}

double GloTime::CalcSiderealTime(const Date& date) {
    constexpr double CenturiesPerDay = 2.7378507871321012e-5;  // 1 / 36525
    constexpr double AtEpoch = 24110.54841;                    // 6:41:50.54841
    const double t = (date - Date(2000, 1, 1)) * CenturiesPerDay;
    const double seconds = t * 8640184.812866 + t * t * 0.093104 + AtEpoch - t * t * t * 6.2e-6;
    return Corvane::modulo(seconds / 3600.0, 24.0) * 3600.0;
}

}  // namespace GNSS
