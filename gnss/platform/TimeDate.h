// Corvane::TimeDate: an instant, as a calendar day and a time of that day.
#pragma once

#include <compare>

#include "gnss/platform/Date.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Time.h"
#include "gnss/platform/TimeOfDay.h"

namespace Corvane {

// A day and a time of day, in whichever time scale its maker says. Differences and order count every day as 86400
// seconds, so the leap second 23:59:60.5 is the same instant as 00:00:00.5 of the next day; only its text differs.
class GNSS_EXPORT TimeDate {
public:
    // Zero.
    constexpr TimeDate() = default;
    constexpr TimeDate(Date date, TimeOfDay time) : date_(date), time_(time) {}

    [[nodiscard]] constexpr Date GetDate() const { return date_; }
    [[nodiscard]] constexpr TimeOfDay GetTimeOfDay() const { return time_; }
    constexpr void SetTimeOfDay(TimeOfDay time) { time_ = time; }

    // The instant a span later; its time of day lies in [0, 86400). A span that is not finite gives a time of day of
    // NaN on the same date, one that reaches beyond the calendar its first or last day.
    friend GNSS_EXPORT TimeDate operator+(const TimeDate& instant, Time span);
    friend TimeDate operator-(const TimeDate& instant, Time span) { return instant + -span; }
    friend constexpr Time operator-(const TimeDate& a, const TimeDate& b) {
        return Time((a.date_ - b.date_) * 86400.0 + (a.time_.Seconds() - b.time_.Seconds()));
    }
    friend constexpr bool operator==(const TimeDate& a, const TimeDate& b) { return (a - b) == Time::Zero; }
    friend constexpr std::partial_ordering operator<=>(const TimeDate& a, const TimeDate& b) {
        return (a - b).Seconds() <=> 0.0;
    }

    // "2026-11-21 12:34:56.0", rounded to the decimals with the date carried along.
    [[nodiscard]] String Print(int decimals) const;

    // The instant that stands for "never": midnight of the calendar's first day.
    static const TimeDate Zero;

private:
    Date date_ = Date::FromJulianDay(INT64_MIN);
    TimeOfDay time_;
};

inline constexpr TimeDate TimeDate::Zero{};

}  // namespace Corvane
