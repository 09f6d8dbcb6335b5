// GNSS::Geog: a geographic position, latitude, longitude and height above an ellipsoid.
#pragma once

#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/time/Latitude.h"
#include "gnss/time/Longitude.h"

namespace GNSS {

// Geodetic latitude and longitude, and the height in metres above the ellipsoid (not above the sea). Which ellipsoid is
// for the context to say. The default is all zero.
class GNSS_EXPORT Geog {
public:
    constexpr Geog() = default;
    // An Angle serves as latitude or longitude as it is.
    Geog(const Latitude& latitude, const Longitude& longitude, double height)
        : latitude_(latitude), longitude_(longitude), height_(height) {}

    void Reset() { *this = Geog(); }

    [[nodiscard]] const Latitude& GetLatitude() const { return latitude_; }
    [[nodiscard]] const Longitude& GetLongitude() const { return longitude_; }
    [[nodiscard]] Corvane::Angle GetPhi() const { return latitude_.GetAngle(); }
    [[nodiscard]] Corvane::Angle GetLambda() const { return longitude_.GetAngle(); }
    [[nodiscard]] double GetHeight() const { return height_; }
    void SetLatitude(const Latitude& latitude) { latitude_ = latitude; }
    void SetLongitude(const Longitude& longitude) { longitude_ = longitude; }
    void SetHeight(double height) { height_ = height; }

    // Whether latitudes and longitudes agree within 1e-11 rad (0.06 mm on the ground) and heights within the tolerance.
    // Longitudes are compared as numbers: two on either side of 180 degrees differ. A NaN angle counts as agreeing, a
    // NaN height does not.
    [[nodiscard]] bool IsTheSame(const Geog& other, double heightTolerance) const;
    // With a height tolerance of 0.0001 m; not transitive.
    friend bool operator==(const Geog& a, const Geog& b) { return a.IsTheSame(b, HeightTolerance); }

    // The great-circle distance in kilometres, heights ignored, on a sphere whose radius is the mean of the semi-axes
    // of WGS 84. Up to 0.6 % from the distance on the ellipsoid. NaN from NaN.
    [[nodiscard]] double ApproxKM(const Geog& other) const;

    static constexpr double AngleTolerance = 1e-11;    // radians
    static constexpr double HeightTolerance = 0.0001;  // metres

private:
    Latitude latitude_;
    Longitude longitude_;
    double height_ = 0.0;
};

}  // namespace GNSS
