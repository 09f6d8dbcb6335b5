// GNSS::Spheroid: a reference ellipsoid of revolution, and the way between geographic and earth-centred coordinates.
#pragma once

#include <cstdint>

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace GNSS {

// An ellipsoid given by its semi-major axis (metres) and one more parameter, from which the others follow. Parameters
// are taken as given: senseless ones (an axis of 0, a negative flattening) give infinite or NaN results, never an
// error.
class GNSS_EXPORT Spheroid {
public:
    // The second parameter.
    enum DefinedBy : std::int32_t {
        SemiMinorAxis = 0,      // metres
        Flattening = 1,         // (a - b) / a
        InverseFlattening = 2,  // 1 / flattening
        Eccentricity = 3,       // the first eccentricity, sqrt(1 - b^2 / a^2)
        EccentricitySquared = 4,
    };

    // All zero, defined by nothing that a position could be computed from.
    Spheroid() = default;
    Spheroid(double semiMajorAxis, double second, DefinedBy how, const Corvane::String& name);
    // With a `how` outside the enumeration only it, the semi-major axis and the name change.
    void Set(double semiMajorAxis, double second, DefinedBy how, const Corvane::String& name);

    [[nodiscard]] const Corvane::String& GetName() const { return name_; }
    [[nodiscard]] DefinedBy GetDefinedBy() const { return definedBy_; }
    [[nodiscard]] double GetSemiMajorAxis() const { return a_; }
    [[nodiscard]] double GetSemiMinorAxis() const { return b_; }
    [[nodiscard]] double GetFlattening() const { return flattening_; }
    [[nodiscard]] double GetInverseFlattening() const { return inverseFlattening_; }
    [[nodiscard]] double GetEccentricity() const { return eccentricity_; }
    [[nodiscard]] double GetEccentricitySquared() const { return eccentricitySquared_; }

    void GeogToECEF(const Geog& geog, ECEF& ecef) const;

    // Bowring's closed form in one step, without iteration (B. R. Bowring, Transformation from spatial to geographical
    // coordinates, Survey Review 181, 1976). Latitude within 90 degrees; on the earth's axis
    // the longitude is that of arctan2(Y, X), 0 or 180 degrees by the signs of the zeros.
    // Accurate to 1.2e-6 m in height and 2e-13 rad in latitude up to a height of 10 km; beyond, the largest errors are
    //   height (km)    100      1000     5000     10,000   20,500   30,000
    //   of height (m)  0.00011  0.008    0.085    0.17     0.25     0.29
    //   of lat. (rad)  1.4e-11  9.2e-10  6.4e-9   8.5e-9   8.1e-9   7.4e-9
    // which is 0.22 m across at the height of a navigation satellite, where it matters to displays only. Longitude is
    // exact to rounding at every height.
    // Not defined: on the axis, where the latitude is 90 degrees with the sign of Z, the height is NaN (0 / 0); at the
    // earth's centre the latitude is NaN too; within 43 km of it the results mean nothing. A NaN or infinite
    // coordinate, and one beyond 1e150 m, gives NaN.
    void ECEFToGeog(const ECEF& ecef, Geog& geog) const;

    static const Spheroid WGS84;  // the frame of GPS
    static const Spheroid PZ90;   // the frame of GLONASS

private:
    // The radius of curvature in the prime vertical, from the squared sine of the latitude.
    [[nodiscard]] double GetN(double sinSquared) const;
    void DeriveFromFlattening(double flattening);
    void DeriveFromEccentricity(double eccentricity);

    Corvane::String name_;
    DefinedBy definedBy_ = SemiMinorAxis;
    double a_ = 0.0;
    double b_ = 0.0;
    double flattening_ = 0.0;
    double inverseFlattening_ = 0.0;
    double eccentricity_ = 0.0;
    double eccentricitySquared_ = 0.0;
};

}  // namespace GNSS
