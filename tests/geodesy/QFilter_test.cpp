// QGrid and QGeog.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/QGeog.h"
#include "gnss/geodesy/QGrid.h"

using Corvane::Angle;
using Corvane::Matrix;
using GNSS::Geog;
using GNSS::Grid;
using GNSS::Latitude;
using GNSS::LocalGrid;
using GNSS::Longitude;
using GNSS::QGeog;
using GNSS::QGrid;
using GNSS::Spheroid;

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

const Grid::Covar Equal(Matrix(3, 3, {4.0, 0.0, 0.0, 0.0, 4.0, 0.0, 0.0, 0.0, 9.0}));

void ExpectNear(const Matrix& a, const Matrix& b, double tolerance) {
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            EXPECT_NEAR(a(row, column), b(row, column), tolerance) << row << ' ' << column;
        }
    }
}

// How far apart two places are, in metres.
double Distance(const Geog& a, const Geog& b) {
    return LocalGrid(a, Spheroid::WGS84).GetGridDelta(b).Magnitude();
}

}  // namespace

TEST(QGrid, MeansEqualMeasurements) {
    QGrid filtered;
    EXPECT_FALSE(filtered.IsValid());
    const double easts[] = {10.0, 14.0, 12.0, 20.0};
    double sum = 0.0;
    for (int n = 1; n <= 4; ++n) {
        sum += easts[n - 1];
        filtered.Add(Grid(easts[n - 1], -easts[n - 1], 5.0), Equal, n == 3 ? -1.0 : 0.0);
        EXPECT_TRUE(filtered.IsValid());
        EXPECT_NEAR(filtered.GetGrid().GetEast(), sum / n, 1e-13);
        EXPECT_NEAR(filtered.GetGrid().GetNorth(), -sum / n, 1e-13);
        EXPECT_NEAR(filtered.GetGrid().GetHeight(), 5.0, 1e-13);
        EXPECT_NEAR(filtered.GetCovar().GetVarianceNorth(), 4.0 / n, 1e-13);
        EXPECT_NEAR(filtered.GetCovar().GetVarianceHeight(), 9.0 / n, 1e-13);
    }
}

TEST(QGrid, WeighsByWholeCovariances) {
    const Grid::Covar p(Matrix(3, 3, {4.0, 1.0, 0.5, 1.0, 3.0, -0.7, 0.5, -0.7, 6.0}));
    const Grid::Covar r(Matrix(3, 3, {2.0, -0.8, 0.1, -0.8, 5.0, 1.5, 0.1, 1.5, 9.0}));
    QGrid filtered;
    filtered.SetQSD(0.5);
    filtered.Add(Grid(1.0, 2.0, 3.0), p, 0.0);
    filtered.Add(Grid(4.0, -2.0, 5.0), r, 3.0);
    // The same in terms of information: weights are the inverse covariances, the first with (0.5 x 3)^2 added.
    const Matrix first = (p.GetMatrix() + Matrix::Identity(3) * 2.25).Inverse();
    const Matrix second = r.GetMatrix().Inverse();
    const Matrix covar = (first + second).Inverse();
    const Matrix mean = covar * (first * Matrix(3, 1, {1.0, 2.0, 3.0}) + second * Matrix(3, 1, {4.0, -2.0, 5.0}));
    ExpectNear(filtered.GetCovar().GetMatrix(), covar, 1e-12);
    EXPECT_NEAR(filtered.GetGrid().GetEast(), mean(0, 0), 1e-12);
    EXPECT_NEAR(filtered.GetGrid().GetNorth(), mean(1, 0), 1e-12);
    EXPECT_NEAR(filtered.GetGrid().GetHeight(), mean(2, 0), 1e-12);
}

TEST(QGrid, StartsAfreshAfterResetAndAfterAnAge) {
    QGrid filtered;
    filtered.Add(Grid(1.0, 2.0, 3.0), Equal, 0.0);
    filtered.Reset();
    EXPECT_FALSE(filtered.IsValid());
    EXPECT_EQ(filtered.GetGrid().GetEast(), 1.0);
    filtered.Add(Grid(10.0, 2.0, 3.0), Equal, 0.0);
    EXPECT_EQ(filtered.GetGrid().GetEast(), 10.0);
    // The longer the pause, the more the new measurement is all there is; its covariance must not drown in rounding.
    for (const double dt : {1e8, 1e12, 1e300, Infinity}) {
        filtered.Add(Grid(dt > 1e10 ? -7.0 : 7.0, 0.0, 0.0), Equal, dt);
        EXPECT_NEAR(std::abs(filtered.GetGrid().GetEast()), 7.0, 1e-9) << dt;
        ExpectNear(filtered.GetCovar().GetMatrix(), Equal.GetMatrix(), 1e-9);
    }
}

TEST(QGrid, BadMeasurementsMoveNothing) {
    Grid::Covar bad = Equal;
    bad.SetVariances(1.0, NaN, 1.0);
    QGrid filtered;
    filtered.Add(Grid(NaN, 0.0, 0.0), Equal, 0.0);
    filtered.Add(Grid(), bad, 0.0);
    EXPECT_FALSE(filtered.IsValid());
    filtered.Add(Grid(1.0, 2.0, 3.0), Equal, 0.0);
    filtered.Add(Grid(0.0, Infinity, 0.0), Equal, 0.0);
    filtered.Add(Grid(5.0, 5.0, 5.0), bad, 0.0);
    filtered.Add(Grid(NaN, 5.0, 5.0), Equal, NaN);
    EXPECT_EQ(filtered.GetGrid().GetEast(), 1.0);
    EXPECT_EQ(filtered.GetGrid().GetNorth(), 2.0);
    EXPECT_EQ(filtered.GetCovar().GetMatrix(), Equal.GetMatrix());
    // Two positions without any error cannot be weighed.
    Grid::Covar none;
    none.SetVariances(0.0, 0.0, 0.0);
    filtered.Reset();
    filtered.Add(Grid(1.0, 2.0, 3.0), none, 0.0);
    filtered.Add(Grid(5.0, 2.0, 3.0), none, 0.0);
    EXPECT_EQ(filtered.GetGrid().GetEast(), 1.0);
}

TEST(QGeog, FiltersInMetresAnywhereOnEarth) {
    const Geog starts[] = {Geog(Latitude(52.0), Longitude(4.0), 30.0), Geog(Latitude(-17.0), Longitude(180.0), -20.0),
                           Geog(Latitude(90.0), Longitude(0.0), 100.0), Geog(Latitude(-89.9999), Longitude(-90.0), 0.0),
                           Geog()};
    for (const Geog& start : starts) {
        SCOPED_TRACE(start.GetPhi().Degrees());
        const LocalGrid grid(start, Spheroid::WGS84);
        const Geog other = grid.GetGeog(grid.GetOriginECEF() + grid.GetECEFDelta(Grid::Delta(30.0, -60.0, 12.0)));
        QGeog filtered;
        filtered.Add(start, Equal, 0.0);
        EXPECT_EQ(filtered.GetGeog(), start);
        filtered.Add(other, Equal, 0.0);
        const Grid half = grid.GetGrid(filtered.GetGeog());
        EXPECT_NEAR(half.GetEast(), 15.0, 1e-5);
        EXPECT_NEAR(half.GetNorth(), -30.0, 1e-5);
        EXPECT_NEAR(half.GetHeight(), 6.0, 1e-5);
        EXPECT_NEAR(filtered.GetCovar().GetVarianceHeight(), 4.5, 1e-12);
        // After a long pause a measurement far away is taken nearly whole, along no detour.
        const Geog far(Latitude(10.0), Longitude(-100.0), 50.0);
        filtered.Add(far, Equal, 1e12);
        EXPECT_NEAR(Distance(filtered.GetGeog(), far), 0.0, 1e-5);
        filtered.Add(Geog(Angle(NaN), Angle(0.0), 0.0), Equal, 0.0);
        EXPECT_NEAR(Distance(filtered.GetGeog(), far), 0.0, 1e-5);
    }
}
