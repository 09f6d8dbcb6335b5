#include "gnss/geodesy/Grid.h"

#include <cmath>

namespace GNSS {

Grid::Polar::Polar(const Delta& delta) : range_(delta.Magnitude()) {
    const double horizontal = std::hypot(delta.GetEast(), delta.GetNorth());
    elevation_ = Corvane::Angle::ArcTan2(delta.GetHeight(), horizontal);
    if (horizontal == 0.0) return;  // the arctangent of two zeros depends on their signs
    const Corvane::Angle circle = 2.0 * Corvane::Angle::Straight;
    azimuth_ = Corvane::Angle::ArcTan2(delta.GetEast(), delta.GetNorth());
    if (azimuth_ < Corvane::Angle::Zero) azimuth_ += circle;
    if (azimuth_ >= circle) azimuth_ = Corvane::Angle::Zero;  // a tiny negative angle plus the circle rounds to it
}

}  // namespace GNSS
