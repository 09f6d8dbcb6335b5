#include "gnss/geodesy/Spheroid.h"

#include <cmath>

namespace GNSS {

// Made when this library is loaded, which is before the static initialisers of whatever is linked to it run. Constants
// elsewhere in this library must not be made from them.
const Spheroid Spheroid::WGS84(6378137.0, 6356752.3142, SemiMinorAxis, "WGS 84");
const Spheroid Spheroid::PZ90(6378136.0, 298.257839303, InverseFlattening, "PZ 90");

Spheroid::Spheroid(double semiMajorAxis, double second, DefinedBy how, const Corvane::String& name) {
    Set(semiMajorAxis, second, how, name);
}

void Spheroid::Set(double semiMajorAxis, double second, DefinedBy how, const Corvane::String& name) {
    a_ = semiMajorAxis;
    name_ = name;
    definedBy_ = how;
    switch (how) {
        case SemiMinorAxis:
            DeriveFromFlattening((a_ - second) / a_);
            b_ = second;
            break;
        case Flattening:
            DeriveFromFlattening(second);
            break;
        case InverseFlattening:
            DeriveFromFlattening(1.0 / second);
            break;
        case Eccentricity:
            DeriveFromEccentricity(second);
            break;
        case EccentricitySquared:
            DeriveFromEccentricity(std::sqrt(second));
            break;
    }
}

void Spheroid::DeriveFromFlattening(double flattening) {
    flattening_ = flattening;
    inverseFlattening_ = 1.0 / flattening;
    b_ = a_ - flattening * a_;
    eccentricitySquared_ = flattening + flattening - flattening * flattening;
    eccentricity_ = std::sqrt(eccentricitySquared_);
}

void Spheroid::DeriveFromEccentricity(double eccentricity) {
    eccentricity_ = eccentricity;
    eccentricitySquared_ = eccentricity * eccentricity;
    flattening_ = 1.0 - std::sqrt(1.0 - eccentricitySquared_);
    inverseFlattening_ = 1.0 / flattening_;
    b_ = a_ - flattening_ * a_;
}

double Spheroid::GetN(double sinSquared) const {
    return a_ / std::sqrt(1.0 - sinSquared * eccentricitySquared_);
}

void Spheroid::GeogToECEF(const Geog& geog, ECEF& ecef) const {
    const double sinPhi = sin(geog.GetPhi());
    const double cosPhi = cos(geog.GetPhi());
    const double height = geog.GetHeight();
    const double n = GetN(sinPhi * sinPhi);
    const double fromAxis = (n + height) * cosPhi;
    ecef.Set(fromAxis * cos(geog.GetLambda()), fromAxis * sin(geog.GetLambda()),
             ((1.0 - eccentricitySquared_) * n + height) * sinPhi);
}

void Spheroid::ECEFToGeog(const ECEF& ecef, Geog& geog) const {
    const double x = ecef.GetX();
    const double y = ecef.GetY();
    const double z = ecef.GetZ();
    const double p = std::sqrt(x * x + y * y);

    // Sines and cosines come from the ratios, not from the angles: that is faster, and exact on the axis.
    const double za = z * a_;
    const double pb = p * b_;
    const double hypotenuse = std::sqrt(za * za + pb * pb);
    const double sinTheta = za / hypotenuse;
    const double cosTheta = pb / hypotenuse;

    const double secondEccentricitySquared = (a_ * a_ - b_ * b_) / (b_ * b_);
    const double rise = z + secondEccentricitySquared * b_ * sinTheta * sinTheta * sinTheta;
    const double run = p - eccentricitySquared_ * a_ * cosTheta * cosTheta * cosTheta;
    const double slope = std::sqrt(rise * rise + run * run);
    const double sinPhi = rise / slope;
    const double cosPhi = std::abs(run) / slope;  // of an arctangent, which lies within 90 degrees

    geog = Geog(Corvane::Angle::ArcTan(rise / run), Corvane::Angle::ArcTan2(y, x), p / cosPhi - GetN(sinPhi * sinPhi));
}

}  // namespace GNSS
