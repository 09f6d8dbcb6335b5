#include "gnss/geodesy/Geog.h"

#include <cmath>

#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/Spheroid.h"

namespace GNSS {

bool Geog::IsTheSame(const Geog& other, double heightTolerance) const {
    if (GetPhi().Compare(other.GetPhi(), AngleTolerance) != 0) return false;
    if (GetLambda().Compare(other.GetLambda(), AngleTolerance) != 0) return false;
    const double difference = height_ - other.height_;
    return -heightTolerance <= difference && difference <= heightTolerance;
}

double Geog::ApproxKM(const Geog& other) const {
    const Grid::Delta a(Grid::Polar(GetPhi(), GetLambda(), 1.0));
    const Grid::Delta b(Grid::Polar(other.GetPhi(), other.GetLambda(), 1.0));
    // The angle whose cosine is a . b. An arccosine would be 0.1 m off between near points, and not 0 between equal
    // ones.
    const double sine = a.Cross(b).Magnitude();
    const Corvane::Angle angle = Corvane::Angle::ArcTan2(sine, a.Dot(b));
    return angle.Radians() * (Spheroid::WGS84.GetSemiMajorAxis() + Spheroid::WGS84.GetSemiMinorAxis()) * 0.0005;
}

}  // namespace GNSS
