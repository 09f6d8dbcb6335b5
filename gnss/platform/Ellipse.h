// Corvane::Ellipse: an error ellipse in the horizontal plane.
#pragma once

#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Statistics.h"

namespace Corvane {

// The ellipse of a horizontal error: semi-axes in metres and the direction of the major axis, clockwise from north, in
// [0, 180) degrees. The default ellipse is a point.
class GNSS_EXPORT Ellipse {
public:
    constexpr Ellipse() = default;
    // In any order and with any direction: the longer axis becomes the major one, which the direction is meant for when
    // it is given first. Negative or NaN axes and a direction that is not finite make a point.
    Ellipse(double semiMajor, double semiMinor, Angle orientation);

    // The ellipse of one standard deviation, from variances (m2) and the covariance of east and north. False, and
    // nothing changes, when a value is not finite, a variance is negative, or the covariance is larger than the
    // variances allow (by more than rounding: one part in 1e9 of the larger variance).
    bool SetFrom(double varianceEast, double varianceNorth, double covariance);

    [[nodiscard]] constexpr double GetSemiMajor() const { return semiMajor_; }
    [[nodiscard]] constexpr double GetSemiMinor() const { return semiMinor_; }
    [[nodiscard]] constexpr Angle GetOrientation() const { return orientation_; }

    // Both axes times a factor; a factor that is negative or NaN makes a point.
    [[nodiscard]] Ellipse ScaledBy(double factor) const;
    // An ellipse of one standard deviation brought to a level of confidence in two dimensions (95 %: times 2.4477).
    [[nodiscard]] Ellipse ScaledTo(NormPercent level) const { return ScaledBy(NormalSDs(level, false)); }

    friend constexpr bool operator==(const Ellipse&, const Ellipse&) = default;

private:
    double semiMajor_ = 0.0;
    double semiMinor_ = 0.0;
    Angle orientation_;
};

}  // namespace Corvane
