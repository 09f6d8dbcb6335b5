// Spheroid against GeographicLib (C. Karney, LGPL/MIT), an independent implementation with its own algorithm.
// With GNSS_PRINT_ACCURACY set in the environment the test prints the table that docs/accuracy.md holds.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

#include <GeographicLib/Geocentric.hpp>
#include <GeographicLib/Geodesic.hpp>
#include <gtest/gtest.h>

#include "gnss/geodesy/Spheroid.h"
#include "tests/support/Random.h"

using GNSS::ECEF;
using GNSS::Geog;
using GNSS::Latitude;
using GNSS::Longitude;
using GNSS::Spheroid;

namespace {

constexpr double ToRadians = std::numbers::pi / 180.0;

// Heights from `bottom` to `top`, and the largest errors allowed there, rounded up from what was measured.
struct Band {
    double bottom;  // km
    double top;     // km
    double height;  // m
    double angle;   // rad
    double across;  // m: the angle at the position's distance
};

struct Errors {
    double height = 0.0;
    double angle = 0.0;
    double across = 0.0;
    double longitude = 0.0;  // rad
    double there = 0.0;      // m: from geographic to earth-centred
};

void Add(const Spheroid& spheroid, const GeographicLib::Geocentric& reference, double latitude, double longitude,
         double height, Errors& errors) {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    reference.Forward(latitude, longitude, height, x, y, z);
    ECEF there;
    spheroid.GeogToECEF(Geog(Latitude(latitude), Longitude(longitude), height), there);
    errors.there = std::max(errors.there, (there - ECEF(x, y, z)).Magnitude());

    double trueLatitude = 0.0;
    double trueLongitude = 0.0;
    double trueHeight = 0.0;
    reference.Reverse(x, y, z, trueLatitude, trueLongitude, trueHeight);
    Geog geog;
    spheroid.ECEFToGeog(ECEF(x, y, z), geog);
    const double angle = std::abs(geog.GetPhi().Radians() - trueLatitude * ToRadians);
    const double turn = std::remainder(geog.GetLambda().Radians() - trueLongitude * ToRadians, 2.0 * std::numbers::pi);
    errors.height = std::max(errors.height, std::abs(geog.GetHeight() - trueHeight));
    errors.angle = std::max(errors.angle, angle);
    errors.across = std::max(errors.across, angle * std::sqrt(x * x + y * y + z * z));
    errors.longitude = std::max(errors.longitude, std::abs(turn));
}

}  // namespace

TEST(SpheroidAccuracy, AgreesWithGeographicLibByHeight) {
    const Spheroid& spheroid = Spheroid::WGS84;
    const GeographicLib::Geocentric reference(spheroid.GetSemiMajorAxis(), spheroid.GetFlattening());
    const Band bands[] = {
        {-5, 0, 5e-7, 6e-14, 4e-7},          {0, 10, 1.3e-6, 1.6e-13, 1.1e-6},    {10, 100, 1.1e-4, 1.4e-11, 9e-5},
        {100, 1000, 0.0083, 9.5e-10, 0.007}, {1000, 2000, 0.026, 2.6e-9, 0.022},  {2000, 5000, 0.086, 6.5e-9, 0.073},
        {5000, 10000, 0.17, 8.6e-9, 0.14},   {10000, 15000, 0.22, 8.7e-9, 0.19},  {15000, 19000, 0.245, 8.5e-9, 0.21},
        {19000, 20500, 0.255, 8.2e-9, 0.22}, {20500, 25000, 0.275, 8.0e-9, 0.24}, {25000, 30000, 0.295, 7.5e-9, 0.26},
    };
    const bool print = std::getenv("GNSS_PRINT_ACCURACY") != nullptr;
    if (print) std::printf("| height, km | height, m | latitude, rad | across, m | longitude, rad | there, m |\n");
    for (const Band& band : bands) {
        Errors errors;
        constexpr int Steps = 10;
        for (int step = 0; step <= Steps; ++step) {
            const double height = 1000.0 * (band.bottom + (band.top - band.bottom) * step / Steps);
            // Every half degree, and close to the poles; on the axis itself the height is not defined.
            for (int half = -179; half <= 179; ++half) {
                for (const double longitude : {-180.0, -90.0, -0.1, 0.0, 37.7, 90.0, 123.4, 179.9}) {
                    Add(spheroid, reference, half * 0.5, longitude, height, errors);
                }
            }
            for (const double latitude : {-90.0 + 1e-9, -89.9999, 89.9, 89.99, 89.9999, 90.0 - 1e-6, 90.0 - 1e-9}) {
                Add(spheroid, reference, latitude, 37.7, height, errors);
            }
        }
        if (print) {
            std::printf("| %.0f to %.0f | %.2g | %.2g | %.2g | %.2g | %.2g |\n", band.bottom, band.top, errors.height,
                        errors.angle, errors.across, errors.longitude, errors.there);
        }
        SCOPED_TRACE(band.top);
        EXPECT_LT(errors.height, band.height);
        EXPECT_LT(errors.angle, band.angle);
        EXPECT_LT(errors.across, band.across);
        EXPECT_LT(errors.longitude, 1e-15);
        EXPECT_LT(errors.there, 2e-8);
    }
}

TEST(SpheroidAccuracy, ApproximateDistanceIsWithinItsBound) {
    const GeographicLib::Geodesic reference(Spheroid::WGS84.GetSemiMajorAxis(), Spheroid::WGS84.GetFlattening());
    std::mt19937_64 random = tests::MakeRandom();
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int i = 0; i < 1000; ++i) {
        const double latitude = 90.0 * unit(random);
        const double longitude = 180.0 * unit(random);
        // From metres to the other side of the earth.
        const double far = std::pow(10.0, -4.0 * (unit(random) + 1.0) / 2.0);
        const double otherLatitude = std::clamp(latitude + 180.0 * far * unit(random), -90.0, 90.0);
        const double otherLongitude = longitude + 180.0 * far * unit(random);
        double metres = 0.0;
        reference.Inverse(latitude, longitude, otherLatitude, otherLongitude, metres);
        const Geog a(Latitude(latitude), Longitude(longitude), 0.0);
        const Geog b(Latitude(otherLatitude), Longitude(otherLongitude), 1000.0);
        EXPECT_NEAR(a.ApproxKM(b), metres / 1000.0, 0.006 * metres / 1000.0)
            << latitude << ' ' << longitude << ' ' << otherLatitude << ' ' << otherLongitude;
    }
}
