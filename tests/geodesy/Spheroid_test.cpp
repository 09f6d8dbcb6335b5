// Spheroid, ECEF, Geog and HelmertShift.
#include "gnss/geodesy/Spheroid.h"

#include <cmath>
#include <limits>
#include <numbers>

#include <gtest/gtest.h>

#include "gnss/geodesy/HelmertShift.h"

using Corvane::Angle;
using GNSS::ECEF;
using GNSS::Geog;
using GNSS::HelmertShift;
using GNSS::Latitude;
using GNSS::Longitude;
using GNSS::Spheroid;

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr double RightAngle = std::numbers::pi / 2.0;

// Class constants are of use in the static initialisers of whatever is linked to the library.
const double AxisAtLoad = Spheroid::WGS84.GetSemiMajorAxis() + Spheroid::PZ90.GetSemiMinorAxis();
static_assert(GNSS::Glonass::PE90_to_WGS84.GetShift().GetZ() == 1.0);

Geog ToGeog(const ECEF& ecef) {
    Geog geog;
    Spheroid::WGS84.ECEFToGeog(ecef, geog);
    return geog;
}

ECEF ToECEF(const Geog& geog) {
    ECEF ecef;
    Spheroid::WGS84.GeogToECEF(geog, ecef);
    return ecef;
}

}  // namespace

TEST(Spheroid, BuiltInOnesHaveTheirPublishedParameters) {
    EXPECT_NEAR(AxisAtLoad, 6378137.0 + 6356751.362, 0.001);
    // NIMA TR8350.2, third edition, tables 3.1 and 3.3; the semi-minor axis is given to 0.1 mm.
    EXPECT_EQ(Spheroid::WGS84.GetName(), "WGS 84");
    EXPECT_EQ(Spheroid::WGS84.GetDefinedBy(), Spheroid::SemiMinorAxis);
    EXPECT_EQ(Spheroid::WGS84.GetSemiMinorAxis(), 6356752.3142);
    EXPECT_NEAR(Spheroid::WGS84.GetInverseFlattening(), 298.257223563, 1e-6);
    EXPECT_NEAR(Spheroid::WGS84.GetEccentricitySquared(), 6.69437999014e-3, 2e-11);
    EXPECT_NEAR(Spheroid::WGS84.GetEccentricity(), 8.1819190842622e-2, 1e-10);
    // GLONASS interface control document, edition 5.1, table 3.2 with a = 6378.136 km, alpha = 1 / 298.257839303.
    EXPECT_EQ(Spheroid::PZ90.GetName(), "PZ 90");
    EXPECT_DOUBLE_EQ(Spheroid::PZ90.GetInverseFlattening(), 298.257839303);
    EXPECT_NEAR(Spheroid::PZ90.GetSemiMinorAxis(), 6356751.3618, 0.0001);
}

TEST(Spheroid, IsTheSameByWhicheverParameter) {
    const Spheroid& wgs84 = Spheroid::WGS84;
    struct Case {
        Spheroid::DefinedBy how;
        double second;
    };
    const Case cases[] = {{Spheroid::SemiMinorAxis, wgs84.GetSemiMinorAxis()},
                          {Spheroid::Flattening, wgs84.GetFlattening()},
                          {Spheroid::InverseFlattening, wgs84.GetInverseFlattening()},
                          {Spheroid::Eccentricity, wgs84.GetEccentricity()},
                          {Spheroid::EccentricitySquared, wgs84.GetEccentricitySquared()}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.how);
        const Spheroid spheroid(6378137.0, c.second, c.how, "copy");
        EXPECT_EQ(spheroid.GetDefinedBy(), c.how);
        EXPECT_NEAR(spheroid.GetSemiMinorAxis(), wgs84.GetSemiMinorAxis(), 1e-8);
        EXPECT_NEAR(spheroid.GetFlattening(), wgs84.GetFlattening(), 1e-15);
        EXPECT_NEAR(spheroid.GetInverseFlattening(), wgs84.GetInverseFlattening(), 1e-10);
        EXPECT_NEAR(spheroid.GetEccentricity(), wgs84.GetEccentricity(), 1e-15);
        EXPECT_NEAR(spheroid.GetEccentricitySquared(), wgs84.GetEccentricitySquared(), 1e-16);
    }
}

TEST(Spheroid, UnknownSecondParameterDerivesNothing) {
    Spheroid spheroid = Spheroid::WGS84;
    const auto unknown = static_cast<Spheroid::DefinedBy>(5);
    spheroid.Set(7e6, 300.0, unknown, "odd");
    EXPECT_EQ(spheroid.GetSemiMajorAxis(), 7e6);
    EXPECT_EQ(spheroid.GetName(), "odd");
    EXPECT_EQ(spheroid.GetDefinedBy(), unknown);
    EXPECT_EQ(spheroid.GetSemiMinorAxis(), Spheroid::WGS84.GetSemiMinorAxis());
    EXPECT_EQ(spheroid.GetEccentricity(), Spheroid::WGS84.GetEccentricity());
}

TEST(Spheroid, LatitudeOnTheAxisHasTheSignOfZ) {
    for (const double z : {6356752.3142, 1.0, 2.6e7}) {
        EXPECT_EQ(ToGeog(ECEF(0.0, 0.0, z)).GetPhi().Radians(), RightAngle);
        EXPECT_EQ(ToGeog(ECEF(0.0, 0.0, -z)).GetPhi().Radians(), -RightAngle);
        EXPECT_EQ(ToGeog(ECEF(0.0, 0.0, z)).GetLambda().Radians(), 0.0);
        EXPECT_TRUE(std::isnan(ToGeog(ECEF(0.0, 0.0, z)).GetHeight()));
    }
    // A hair beside it, the height is as good as elsewhere.
    EXPECT_NEAR(ToGeog(ECEF(1e-9, 0.0, 6356762.3142)).GetHeight(), 10.0, 1e-6);
    EXPECT_NEAR(ToGeog(ToECEF(Geog(Angle::Right, Angle(1.0), 10.0))).GetHeight(), 10.0, 1e-6);
}

TEST(Spheroid, BadPositionsGiveNaN) {
    const Geog centre = ToGeog(ECEF());
    EXPECT_TRUE(std::isnan(centre.GetPhi().Radians()));
    EXPECT_TRUE(std::isnan(centre.GetHeight()));
    EXPECT_EQ(centre.GetLambda().Radians(), 0.0);
    for (const double bad : {NaN, Infinity, -Infinity, 1e300}) {
        for (const ECEF& ecef : {ECEF(bad, 1.0, 1.0), ECEF(1.0, bad, 1.0), ECEF(1.0, 1.0, bad), ECEF(bad, bad, bad)}) {
            EXPECT_FALSE(std::isfinite(ToGeog(ecef).GetHeight())) << bad;
        }
        if (bad == 1e300) continue;
        EXPECT_TRUE(std::isnan(ToECEF(Geog(Angle(bad), Angle(0.0), 0.0)).Radius()));
        EXPECT_TRUE(std::isnan(ToECEF(Geog(Angle(0.0), Angle(bad), 0.0)).Radius()));
        EXPECT_FALSE(std::isfinite(ToECEF(Geog(Angle(0.5), Angle(0.5), bad)).Radius()));
    }
    Geog geog;
    Spheroid().ECEFToGeog(ECEF(6378137.0, 0.0, 0.0), geog);
    EXPECT_TRUE(std::isnan(geog.GetHeight()));
}

TEST(ECEF, DifferencesAndDirections) {
    const ECEF a(1.0, 2.0, 3.0);
    const ECEF b(4.0, 6.0, 15.0);
    ECEF::Delta d = b - a;
    EXPECT_EQ(d.Magnitude(), 13.0);
    EXPECT_EQ(a + d, b);
    EXPECT_EQ(b - d, a);
    EXPECT_EQ(d.Dot(ECEF::Delta(1.0, 10.0, 100.0)), 3.0 + 40.0 + 1200.0);
    EXPECT_EQ((2.0 * d - d / 2.0 + -d).GetZ(), 6.0);
    d.Times(2.0).Add(ECEF::Delta(1.0, 1.0, 1.0));
    EXPECT_EQ(d.GetX(), 7.0);
    EXPECT_EQ(d.GetY(), 9.0);
    double magnitude = 0.0;
    EXPECT_TRUE(d.Normalise(magnitude));
    EXPECT_DOUBLE_EQ(magnitude, std::sqrt(7.0 * 7.0 + 9.0 * 9.0 + 25.0 * 25.0));
    EXPECT_DOUBLE_EQ(d.GetZ(), 25.0 / magnitude);
    d.Reset();
    EXPECT_FALSE(d.Normalise(magnitude));
    EXPECT_EQ(magnitude, 0.0);
    EXPECT_EQ(ECEF(2.0, 3.0, 6.0).Radius(), 7.0);
}

TEST(ECEF, IsTheSameWithinATenthOfAMillimetre) {
    EXPECT_EQ(ECEF(), ECEF(0.0001, -0.0001, 0.0001));
    EXPECT_NE(ECEF(), ECEF(0.00011, 0.0, 0.0));
    EXPECT_NE(ECEF(), ECEF(0.0, -0.00011, 0.0));
    EXPECT_NE(ECEF(), ECEF(0.0, 0.0, 0.00011));
}

TEST(Geog, IsTheSameWithinItsTolerances) {
    const Geog geog(Angle(0.5), Angle(-1.0), 100.0);
    EXPECT_EQ(geog, Geog(Angle(0.5 + 9e-12), Angle(-1.0 - 9e-12), 100.00009));
    EXPECT_NE(geog, Geog(Angle(0.5 + 2e-11), Angle(-1.0), 100.0));
    EXPECT_NE(geog, Geog(Angle(0.5), Angle(-1.0 - 2e-11), 100.0));
    EXPECT_NE(geog, Geog(Angle(0.5), Angle(-1.0), 100.00011));
    EXPECT_TRUE(geog.IsTheSame(Geog(Angle(0.5), Angle(-1.0), 98.0), 2.0));
    EXPECT_FALSE(geog.IsTheSame(Geog(Angle(0.5), Angle(-1.0), NaN), 2.0));
}

TEST(Geog, ApproximateDistance) {
    const double radius = (6378137.0 + 6356752.3142) / 2000.0;
    const Geog pole(Latitude(90.0), Longitude(0.0), 0.0);
    EXPECT_DOUBLE_EQ(pole.ApproxKM(Geog(Latitude(-90.0), Longitude(77.0), 0.0)), std::numbers::pi * radius);
    const Geog equator(Latitude(0.0), Longitude(179.0), 5000.0);
    EXPECT_NEAR(equator.ApproxKM(Geog(Latitude(0.0), Longitude(-179.0), 0.0)), radius * std::numbers::pi / 90.0, 1e-9);
    // Exactly 0 at the same place, and digits for near ones: 1e-9 rad are 6.4 mm.
    for (int step = -128; step <= 128; ++step) {
        const double degrees = 0.7 * step;
        const Geog geog(Latitude(degrees), Longitude(2.0 * degrees), 0.0);
        EXPECT_EQ(geog.ApproxKM(geog), 0.0);
        const Geog north(Angle(geog.GetPhi().Radians() - 1e-9), geog.GetLongitude(), 0.0);
        EXPECT_NEAR(geog.ApproxKM(north), radius * 1e-9, 5e-12);
    }
    EXPECT_TRUE(std::isnan(pole.ApproxKM(Geog(Angle(NaN), Angle(0.0), 0.0))));
}

TEST(HelmertShift, BuiltInShifts) {
    ECEF out;
    GNSS::Glonass::PE90_to_WGS84.Forward(ECEF(), out);
    EXPECT_EQ(out, ECEF(0.0, 0.0, 1.0));
    GNSS::Glonass::PE90_to_WGS84.Forward(ECEF(6378136.0, 0.0, 0.0), out);
    EXPECT_EQ(out, ECEF(6378136.0, 6378136.0 * 0.20626 / 3600.0 * std::numbers::pi / 180.0, 1.0));
    GNSS::Glonass::NovatelShift.Forward(ECEF(0.0, 1e7, 0.0), out);
    EXPECT_EQ(out, ECEF(-1e7 * 0.39190313 / 3600.0 * std::numbers::pi / 180.0, 1e7 + 2.5, 0.0));
    GNSS::Glonass::ZeroShift.Forward(ECEF(1.0, 2.0, 3.0), out);
    EXPECT_EQ(out, ECEF(1.0, 2.0, 3.0));
}

TEST(HelmertShift, EachRotationTurnsItsOwnPlane) {
    // 100 arc-seconds, a shift of (1, 2, 3) m and 5 ppm; the columns of the matrix, one axis at a time.
    const double r = 100.0 / 3600.0 * std::numbers::pi / 180.0;
    const HelmertShift shift(1.0, 2.0, 3.0, 100.0, -200.0, 300.0, 5.0);
    ECEF out;
    shift.Forward(ECEF(1e7, 0.0, 0.0), out);
    EXPECT_EQ(out, ECEF(1.0 + 1e7 + 50.0, 2.0 - 3.0 * r * 1e7, 3.0 - 2.0 * r * 1e7));
    shift.Forward(ECEF(0.0, 1e7, 0.0), out);
    EXPECT_EQ(out, ECEF(1.0 + 3.0 * r * 1e7, 2.0 + 1e7 + 50.0, 3.0 - r * 1e7));
    shift.Forward(ECEF(0.0, 0.0, 1e7), out);
    EXPECT_EQ(out, ECEF(1.0 + 2.0 * r * 1e7, 2.0 + r * 1e7, 3.0 + 1e7 + 50.0));
}

TEST(HelmertShift, ReverseUndoesForwardToFirstOrder) {
    const HelmertShift shift(10.0, -20.0, 30.0, 1.0, -1.0, 1.0, 1.0);
    const ECEF position(1.5e7, -1.6e7, 1.3e7);
    ECEF there;
    ECEF back;
    shift.Forward(position, there);
    shift.Reverse(there, back);
    EXPECT_GT((there - position).Magnitude(), 50.0);
    EXPECT_NEAR((back - position).Magnitude(), 0.0, 2e-3);
    EXPECT_GT((back - position).Magnitude(), 1e-5);  // it is no exact inverse
    // By scale alone: 1 - s of 100 ppm leaves s^2 of the position, where 1 / s would leave nothing.
    const HelmertShift scale(0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 100.0);
    ECEF scaled;
    scale.Forward(position, scaled);
    scale.Reverse(scaled, scaled);
    EXPECT_NEAR((scaled - position).Magnitude(), position.Radius() * 1e-8, 1e-6);
    ECEF inPlace = position;
    shift.Forward(inPlace, inPlace);
    EXPECT_EQ(inPlace, there);
    shift.Reverse(inPlace, inPlace);
    EXPECT_EQ(inPlace, back);
}
