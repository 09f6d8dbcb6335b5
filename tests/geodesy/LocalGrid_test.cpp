#include "gnss/geodesy/LocalGrid.h"

#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>

#include <GeographicLib/LocalCartesian.hpp>
#include <gtest/gtest.h>

#include "gnss/geodesy/GridCovar.h"
#include "tests/support/Random.h"

using Corvane::Angle;
using Corvane::Matrix;
using GNSS::ECEF;
using GNSS::Geog;
using GNSS::Grid;
using GNSS::Latitude;
using GNSS::LocalGrid;
using GNSS::Longitude;
using GNSS::Spheroid;

static_assert(!std::is_constructible_v<LocalGrid, Geog, Spheroid>, "a spheroid that is gone at once");

TEST(LocalGrid, AgreesWithGeographicLib) {
    std::mt19937_64 random = tests::MakeRandom();
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    const GeographicLib::Geocentric earth(Spheroid::WGS84.GetSemiMajorAxis(), Spheroid::WGS84.GetFlattening());
    for (int i = 0; i < 200; ++i) {
        const double latitude = 90.0 * unit(random);
        const double longitude = 180.0 * unit(random);
        const double height = 1e4 * unit(random);
        const GeographicLib::LocalCartesian reference(latitude, longitude, height, earth);
        const Geog origin(Latitude(latitude), Longitude(longitude), height);
        const LocalGrid fromGeog(origin, Spheroid::WGS84);
        const LocalGrid fromECEF(fromGeog.GetOriginECEF(), Spheroid::WGS84);
        const double otherLatitude = 90.0 * unit(random);
        const double otherLongitude = 180.0 * unit(random);
        double east = 0.0;
        double north = 0.0;
        double up = 0.0;
        reference.Forward(otherLatitude, otherLongitude, 2e7, east, north, up);
        const Geog other(Latitude(otherLatitude), Longitude(otherLongitude), 2e7);
        for (const LocalGrid& grid : {fromGeog, fromECEF}) {
            const Grid::Delta expected(east, north, up);
            EXPECT_NEAR((grid.GetGrid(other) - Grid(east, north, up)).Magnitude(), 0.0, 5e-5);
            EXPECT_NEAR((grid.GetGridDelta(other) - expected).Magnitude(), 0.0, 5e-5);
            EXPECT_NEAR((Grid::Delta(grid.GetGridPolar(other)) - expected).Magnitude(), 0.0, 5e-5);
            EXPECT_NEAR((grid.GetECEFDelta(expected) - grid.GetECEFDelta(other)).Magnitude(), 0.0, 5e-5);
        }
        EXPECT_NEAR((fromGeog.GetGrid(other) - Grid(east, north, up)).Magnitude(), 0.0, 1e-7);
    }
}

TEST(LocalGrid, AxesAtLatitudeAndLongitudeZero) {
    const LocalGrid grid(Geog(), Spheroid::WGS84);
    EXPECT_EQ(grid.GetRotation(), Matrix(3, 3, {0, 1, 0, 0, 0, 1, 1, 0, 0}));
    const Grid position = grid.GetGrid(ECEF::Delta(1.0, 2.0, 3.0));
    EXPECT_EQ(position.GetEast(), 2.0);
    EXPECT_EQ(position.GetNorth(), 3.0);
    EXPECT_EQ(position.GetHeight(), 1.0);
    EXPECT_EQ(grid.GetSpheriod(), &Spheroid::WGS84);
}

TEST(LocalGrid, CopiesHaveABodyOfTheirOwn) {
    auto first = std::make_unique<LocalGrid>(Geog(), Spheroid::WGS84);
    const LocalGrid copy(*first);
    LocalGrid assigned;
    assigned = *first;
    const Matrix axes = first->GetRotation();
    first->Set(Geog(Angle(0.5), Angle(0.5), 0.0), Spheroid::WGS84);
    EXPECT_FALSE(first->GetRotation() == axes);
    // A body's clone stays with the grid; those of the copies stay with the copies.
    const LocalGrid::TransBody body(*first);
    const auto clone = body.Clone();
    first->Set(Geog(), Spheroid::PZ90);
    EXPECT_EQ(Matrix(*clone), axes);
    EXPECT_EQ(clone->GetValue(0, 3), 0.0);
    EXPECT_EQ(clone->GetValue(-1, 1), 0.0);
    EXPECT_EQ(clone->GetValue(3, 1), 0.0);
    first.reset();
    EXPECT_EQ(copy.GetRotation(), axes);
    EXPECT_EQ(assigned.GetRotation(), axes);
}

TEST(LocalGrid, TurnsCovariances) {
    const LocalGrid grid(Geog(Latitude(30.0), Longitude(40.0), 0.0), Spheroid::WGS84);
    // An error of 3 m up alone, in earth-centred axes and with a fourth unknown beside it, comes out as one of height.
    const double up[] = {grid.GetUp().GetX(), grid.GetUp().GetY(), grid.GetUp().GetZ()};
    Matrix ecef(4, 4);
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) ecef.SetValue(row, column, 9.0 * up[row] * up[column]);
    }
    ecef.SetValue(3, 3, 1e6);
    Grid::Covar covar;
    ASSERT_TRUE(grid.GetGridCovarFromECEF(ecef, covar));
    EXPECT_NEAR(covar.GetVarianceHeight(), 9.0, 1e-12);
    for (const double rest : {covar.GetVarianceEast(), covar.GetVarianceNorth(), covar.GetCovarEastNorth(),
                              covar.GetCovarEastHeight(), covar.GetCovarNorthHeight()}) {
        EXPECT_NEAR(rest, 0.0, 1e-12);
    }
    ecef.SetValue(0, 0, std::numeric_limits<double>::quiet_NaN());
    EXPECT_FALSE(grid.GetGridCovarFromECEF(ecef, covar));
    EXPECT_FALSE(grid.GetGridCovarFromECEF(Matrix::Identity(2), covar));
    EXPECT_NEAR(covar.GetVarianceHeight(), 9.0, 1e-12) << "a refused matrix changed the covariance";
}

TEST(LocalGrid, DefaultGridGivesZeros) {
    const LocalGrid grid;
    EXPECT_EQ(grid.GetSpheriod(), nullptr);
    EXPECT_EQ(grid.GetECEF(Geog(Angle(1.0), Angle(1.0), 1.0)), ECEF());
    EXPECT_EQ(grid.GetGeog(ECEF(1e7, 1e7, 1e7)), Geog());
    EXPECT_EQ(grid.GetGridDelta(ECEF(1e7, 1e7, 1e7)).Magnitude(), 0.0);
}
