// Corvane::Date: a day of the Gregorian calendar, held as a Julian day number.
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane {

// The days of the week, numbered from Sunday = 0.
class GNSS_EXPORT DayOfWeek {
public:
    // Any number: taken modulo 7.
    explicit constexpr DayOfWeek(int day) : day_(((day % 7) + 7) % 7) {}
    [[nodiscard]] constexpr int Number() const { return day_; }
    // "Sun" to "Sat".
    [[nodiscard]] String Name() const;
    friend constexpr bool operator==(DayOfWeek, DayOfWeek) = default;

private:
    int day_;
};

// A calendar day. The day number is the Julian day number of the day's noon (1 January 2000 is 2451545). Days run from
// 1 January of the year -32767 to 31 December 32767 of the proleptic Gregorian calendar; whatever would lie outside
// becomes the nearer end. A month or day that the calendar does not have (31 April) counts on from the first of its
// month, and a month outside 1 to 12 becomes the nearer of the two.
class Date {
public:
    // 1 January 2000.
    constexpr Date() : Date(2000, 1, 1) {}
    constexpr Date(int year, int month, int day);

    [[nodiscard]] static constexpr Date FromJulianDay(std::int64_t julianDay) { return Date(Limit(julianDay)); }
    [[nodiscard]] constexpr std::int32_t JulianDay() const { return julianDay_; }

    [[nodiscard]] constexpr int Year() const { return static_cast<int>(Calendar().year()); }
    [[nodiscard]] constexpr int Month() const { return static_cast<int>(static_cast<unsigned>(Calendar().month())); }
    [[nodiscard]] constexpr int Day() const { return static_cast<int>(static_cast<unsigned>(Calendar().day())); }
    [[nodiscard]] constexpr DayOfWeek GetDayOfWeek() const { return DayOfWeek((julianDay_ + 1) % 7); }

    friend constexpr Date operator+(Date date, std::int64_t days) {
        return FromJulianDay(date.julianDay_ + Near(days));
    }
    friend constexpr Date operator-(Date date, std::int64_t days) {
        return FromJulianDay(date.julianDay_ - Near(days));
    }
    // Whole days from b to a.
    friend constexpr std::int32_t operator-(Date a, Date b) { return a.julianDay_ - b.julianDay_; }
    friend constexpr bool operator==(Date, Date) = default;
    friend constexpr std::strong_ordering operator<=>(Date, Date) = default;

private:
    static constexpr std::int32_t UnixEpoch = 2440588;  // Julian day number of 1 January 1970
    static constexpr std::int32_t JulianDayOf(std::chrono::year_month_day day) {
        return static_cast<std::int32_t>(std::chrono::sys_days(day).time_since_epoch().count()) + UnixEpoch;
    }
    static constexpr std::int32_t First() { return JulianDayOf(std::chrono::year(-32767) / 1 / 1); }
    static constexpr std::int32_t Last() { return JulianDayOf(std::chrono::year(32767) / 12 / 31); }

    explicit constexpr Date(std::int32_t julianDay) : julianDay_(julianDay) {}
    static constexpr std::int32_t Limit(std::int64_t day) {
        if (day < First()) return First();
        return day > Last() ? Last() : static_cast<std::int32_t>(day);
    }
    // A number of days brought to a size that cannot overflow a sum.
    static constexpr std::int64_t Near(std::int64_t days) {
        constexpr std::int64_t Far = 1LL << 40;
        if (days > Far) return Far;
        return days < -Far ? -Far : days;
    }
    [[nodiscard]] constexpr std::chrono::year_month_day Calendar() const {
        return std::chrono::sys_days(std::chrono::days(julianDay_ - UnixEpoch));
    }

    std::int32_t julianDay_;
};

constexpr Date::Date(int year, int month, int day) : julianDay_(0) {
    year = year < -32767 ? -32767 : (year > 32767 ? 32767 : year);
    month = month < 1 ? 1 : (month > 12 ? 12 : month);
    const auto first = std::chrono::year(year) / std::chrono::month(static_cast<unsigned>(month)) / 1;
    julianDay_ = Limit(std::int64_t{JulianDayOf(first)} + day - 1);
}

}  // namespace Corvane
