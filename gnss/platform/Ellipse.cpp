#include "gnss/platform/Ellipse.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace Corvane {

Ellipse::Ellipse(double semiMajor, double semiMinor, Angle orientation) {
    double direction = orientation.Radians();
    if (!(semiMajor >= 0.0) || !(semiMinor >= 0.0) || !std::isfinite(direction)) return;
    if (semiMajor < semiMinor) {
        std::swap(semiMajor, semiMinor);
        direction += std::numbers::pi / 2.0;
    }
    semiMajor_ = semiMajor;
    semiMinor_ = semiMinor;
    orientation_ = Angle(modulo(direction, std::numbers::pi));
}

bool Ellipse::SetFrom(double varianceEast, double varianceNorth, double covariance) {
    if (!(varianceEast >= 0.0) || !(varianceNorth >= 0.0)) return false;
    if (!std::isfinite(varianceEast) || !std::isfinite(varianceNorth) || !std::isfinite(covariance)) return false;
    // Eigenvalues of the 2 x 2 matrix; the smaller as determinant over the larger, which does not cancel.
    const double mean = 0.5 * varianceEast + 0.5 * varianceNorth;
    const double half = 0.5 * varianceNorth - 0.5 * varianceEast;
    const double larger = mean + std::hypot(half, covariance);
    if (!std::isfinite(larger)) return false;
    const double smaller =
        larger > 0.0 ? varianceEast * (varianceNorth / larger) - covariance * (covariance / larger) : 0.0;
    if (smaller < -1e-9 * larger) return false;
    *this = Ellipse(std::sqrt(larger), std::sqrt(std::clamp(smaller, 0.0, larger)),
                    Angle(0.5 * std::atan2(covariance, half)));
    return true;
}

Ellipse Ellipse::ScaledBy(double factor) const {
    return factor >= 0.0 ? Ellipse(semiMajor_ * factor, semiMinor_ * factor, orientation_) : Ellipse();
}

}  // namespace Corvane
