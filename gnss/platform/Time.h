// Corvane::Time: a span of time in seconds.
#pragma once

#include <compare>

#include "gnss/platform/Number.h"

namespace Corvane {

// A span in seconds, of either sign. The relational operators are exact; Compare takes a tolerance.
class Time {
public:
    // Two spans no further apart than this, in seconds, count as equal where a rule compares "with the tolerance of
    // spans".
    static constexpr double Tolerance = 5e-7;

    constexpr Time() = default;
    explicit constexpr Time(double seconds) : seconds_(seconds) {}

    [[nodiscard]] constexpr double Seconds() const { return seconds_; }
    // -1, 0 or 1 as this is shorter than, within `tolerance` seconds of, or longer than the other.
    [[nodiscard]] constexpr int Compare(Time other, double tolerance = Tolerance) const {
        return compare(seconds_, other.seconds_, tolerance);
    }

    constexpr Time& operator+=(Time other) {
        seconds_ += other.seconds_;
        return *this;
    }
    constexpr Time& operator-=(Time other) {
        seconds_ -= other.seconds_;
        return *this;
    }
    friend constexpr Time operator+(Time a, Time b) { return a += b; }
    friend constexpr Time operator-(Time a, Time b) { return a -= b; }
    friend constexpr Time operator-(Time a) { return Time(-a.seconds_); }
    friend constexpr Time operator*(Time a, double factor) { return Time(a.seconds_ * factor); }
    friend constexpr Time operator*(double factor, Time a) { return Time(a.seconds_ * factor); }
    friend constexpr Time operator/(Time a, double divisor) { return Time(a.seconds_ / divisor); }
    friend constexpr double operator/(Time a, Time b) { return a.seconds_ / b.seconds_; }
    friend constexpr bool operator==(Time, Time) = default;
    friend constexpr std::partial_ordering operator<=>(Time, Time) = default;

    static const Time Zero;
    static const Time Second;
    static const Time Minute;
    static const Time Hour;
    static const Time Day;

private:
    double seconds_ = 0.0;
};

inline constexpr Time Time::Zero{};
inline constexpr Time Time::Second{1.0};
inline constexpr Time Time::Minute{60.0};
inline constexpr Time Time::Hour{3600.0};
inline constexpr Time Time::Day{86400.0};

}  // namespace Corvane
