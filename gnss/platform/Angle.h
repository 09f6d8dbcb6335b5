// Corvane::Angle: a plane angle, held in radians.
#pragma once

#include <cmath>
#include <compare>
#include <numbers>

#include "gnss/platform/Export.h"
#include "gnss/platform/Number.h"

namespace Corvane {

// An angle in radians, of any size and either sign; nothing wraps by itself. Also carries rates (radians per second).
// The relational operators are exact; Compare takes a tolerance.
class Angle {
public:
    constexpr Angle() = default;
    explicit constexpr Angle(double radians) : radians_(radians) {}

    [[nodiscard]] static constexpr Angle FromDegrees(double degrees) {
        return Angle(degrees * (std::numbers::pi / 180.0));
    }
    // One semicircle is pi radians.
    [[nodiscard]] static constexpr Angle FromSemiCircles(double semicircles) {
        return Angle(semicircles * std::numbers::pi);
    }
    [[nodiscard]] static Angle ArcSin(double x) { return Angle(std::asin(x)); }
    [[nodiscard]] static Angle ArcCos(double x) { return Angle(std::acos(x)); }
    // In [-90, +90] degrees; an infinite ratio gives an end.
    [[nodiscard]] static Angle ArcTan(double x) { return Angle(std::atan(x)); }
    // In [-180, +180] degrees, the quadrant by the signs of y and x.
    [[nodiscard]] static Angle ArcTan2(double y, double x) { return Angle(std::atan2(y, x)); }

    [[nodiscard]] constexpr double Radians() const { return radians_; }
    [[nodiscard]] constexpr double Degrees() const { return radians_ * (180.0 / std::numbers::pi); }
    [[nodiscard]] constexpr double SemiCircles() const { return radians_ / std::numbers::pi; }
    constexpr void SetFromSemiCircle(double semicircles) { *this = FromSemiCircles(semicircles); }

    // -1, 0 or 1 as this lies below, within `tolerance` radians of, or above the other.
    [[nodiscard]] constexpr int Compare(Angle other, double tolerance) const {
        return compare(radians_, other.radians_, tolerance);
    }

    constexpr Angle& operator+=(Angle other) {
        radians_ += other.radians_;
        return *this;
    }
    constexpr Angle& operator-=(Angle other) {
        radians_ -= other.radians_;
        return *this;
    }
    constexpr Angle& MultiplyBy(double factor) {
        radians_ *= factor;
        return *this;
    }
    friend constexpr Angle operator+(Angle a, Angle b) { return a += b; }
    friend constexpr Angle operator-(Angle a, Angle b) { return a -= b; }
    friend constexpr Angle operator-(Angle a) { return Angle(-a.radians_); }
    friend constexpr Angle operator*(Angle a, double factor) { return a.MultiplyBy(factor); }
    friend constexpr Angle operator*(double factor, Angle a) { return a.MultiplyBy(factor); }
    friend constexpr Angle operator/(Angle a, double divisor) { return Angle(a.radians_ / divisor); }
    friend constexpr bool operator==(Angle, Angle) = default;
    friend constexpr std::partial_ordering operator<=>(Angle, Angle) = default;

    static const Angle Zero;
    static const Angle Right;     // 90 degrees
    static const Angle Straight;  // 180 degrees

private:
    double radians_ = 0.0;
};

inline constexpr Angle Angle::Zero{};
inline constexpr Angle Angle::Right{std::numbers::pi / 2.0};
inline constexpr Angle Angle::Straight{std::numbers::pi};

[[nodiscard]] inline double sin(Angle a) {
    return std::sin(a.Radians());
}
[[nodiscard]] inline double cos(Angle a) {
    return std::cos(a.Radians());
}
[[nodiscard]] inline double tan(Angle a) {
    return std::tan(a.Radians());
}

}  // namespace Corvane
