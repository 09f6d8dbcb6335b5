// Grid and its differences, polar directions, covariances and standard deviations.
#include "gnss/geodesy/Grid.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "gnss/geodesy/GridCovar.h"
#include "gnss/geodesy/GridSD.h"

using Corvane::Matrix;
using Corvane::NormPercent;
using GNSS::Grid;

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

Grid::Covar MakeCovar() {
    return Grid::Covar(Matrix(3, 3, {4.0, 1.2, -0.5, 1.2, 9.0, 0.3, -0.5, 0.3, 16.0}));
}

}  // namespace

TEST(Grid, PolarDirections) {
    struct Case {
        Grid::Delta delta;
        double elevation;  // degrees
        double azimuth;    // degrees
        double range;
    };
    const Case cases[] = {
        {{0.0, 2.0, 0.0}, 0.0, 0.0, 2.0},
        {{2.0, 0.0, 0.0}, 0.0, 90.0, 2.0},
        {{0.0, -2.0, 0.0}, 0.0, 180.0, 2.0},
        {{-2.0, 0.0, 0.0}, 0.0, 270.0, 2.0},
        {{-1.0, 1.0, std::sqrt(2.0)}, 45.0, 315.0, 2.0},
        {{0.0, 0.0, 5.0}, 90.0, 0.0, 5.0},
        {{-0.0, -0.0, -5.0}, -90.0, 0.0, 5.0},
        {{0.0, 0.0, 0.0}, 0.0, 0.0, 0.0},
        {{-1e-300, 1.0, 0.0}, 0.0, 0.0, 1.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.delta.GetEast() << ' ' << c.delta.GetNorth() << ' '
                                        << c.delta.GetHeight());
        const Grid::Polar polar(c.delta);
        EXPECT_NEAR(polar.GetElevation().Degrees(), c.elevation, 1e-12);
        EXPECT_NEAR(polar.GetAzimuth().Degrees(), c.azimuth, 1e-12);
        EXPECT_NEAR(polar.GetRange(), c.range, 1e-15);
        EXPECT_NEAR((Grid::Delta(polar) - c.delta).Magnitude(), 0.0, 1e-14);
    }
}

TEST(GridCovar, MapsItsSixValues) {
    Grid::Covar covar;
    EXPECT_EQ(covar.GetMatrix(), Matrix::Identity(3));
    covar = MakeCovar();
    EXPECT_EQ(covar.GetCovarEastNorth(), 1.2);
    EXPECT_EQ(covar.GetCovarEastHeight(), -0.5);
    EXPECT_EQ(covar.GetCovarNorthHeight(), 0.3);
    EXPECT_EQ(covar.GetVarianceHeight(), 16.0);
    EXPECT_EQ(covar.GetMatrixUpperValue(0, 1), 1.2);
    for (const auto& [row, column] : {std::pair(1, 0), {2, 1}, {2, 0}, {-1, 0}, {0, 3}, {3, 3}}) {
        covar.SetMatrixUpperValue(row, column, 99.0);
        EXPECT_EQ(covar.GetMatrixUpperValue(row, column), 0.0);
    }
    EXPECT_EQ(covar.GetMatrix(), MakeCovar().GetMatrix());
    covar = Matrix(2, 2, {7.0, 7.0, 7.0, 7.0});
    EXPECT_EQ(covar.GetMatrix(), MakeCovar().GetMatrix()) << "a matrix that is too small changed it";
    covar.Reset();
    EXPECT_EQ(covar.GetMatrix(), Matrix::Identity(3));
}

TEST(GridCovar, FromDilutionsAndRanges) {
    const Grid::Covar two(2.0, 3.0);
    EXPECT_DOUBLE_EQ(two.GetVarianceEast(), 18.0);
    EXPECT_DOUBLE_EQ(two.GetVarianceNorth(), 18.0);
    EXPECT_DOUBLE_EQ(two.GetVarianceHeight(), 36.0 * 0.7071067811865476);
    const Grid::Covar three(2.0, 3.0, 5.0);
    EXPECT_DOUBLE_EQ(three.GetVarianceEast(), 100.0 * 0.7071067811865476);
    EXPECT_DOUBLE_EQ(three.GetVarianceNorth(), 100.0 * 0.7071067811865476);
    EXPECT_DOUBLE_EQ(three.GetVarianceHeight(), 225.0);
    EXPECT_EQ(three.GetCovarEastNorth(), 0.0);
}

TEST(GridSD, HoldsTheCovarianceAtALevel) {
    // Two-sided normal quantile of 95 %, from any table: 1.959964.
    const Grid::SD sd(MakeCovar(), NormPercent::Percent95);
    EXPECT_NEAR(sd.GetEast(), 2.0 * 1.959964, 1e-6);
    EXPECT_NEAR(sd.GetNorth(), 3.0 * 1.959964, 2e-6);
    EXPECT_NEAR(sd.GetHeight(), 4.0 * 1.959964, 2e-6);
    EXPECT_DOUBLE_EQ(sd.GetCorrelationEastNorth(), 1.2 / 6.0);
    EXPECT_DOUBLE_EQ(sd.GetCorrelationEastHeight(), -0.5 / 8.0);
    EXPECT_DOUBLE_EQ(sd.GetCorrelationNorthHeight(), 0.3 / 12.0);
    const Grid::Covar back(sd);
    for (int row = 0; row < 3; ++row) {
        for (int column = row; column < 3; ++column) {
            EXPECT_NEAR(back.GetMatrixUpperValue(row, column), MakeCovar().GetMatrixUpperValue(row, column), 1e-12);
        }
    }
    Grid::SD other = sd;
    other.SetPercent(NormPercent::Percent50);
    EXPECT_NEAR(other.GetEast(), 2.0 * 0.674490, 2e-6);
    other.SetPercent(NormPercent::OneSD);
    EXPECT_NEAR(other.GetEast(), 2.0, 1e-14);
}

TEST(GridSD, OddCovariances) {
    Grid::Covar covar = MakeCovar();
    covar.SetVariances(4.0, 9.0, -1e-12);
    EXPECT_TRUE(covar.IsInvalid());
    Grid::SD sd(MakeCovar(), NormPercent::OneSD);
    EXPECT_FALSE(sd.SetFrom(covar, NormPercent::Percent95));
    EXPECT_EQ(sd.GetHeight(), 4.0);
    EXPECT_EQ(sd.GetPercent(), NormPercent::OneSD);

    covar.SetVariances(0.0, 0.0, 0.0);
    EXPECT_TRUE(sd.SetFrom(covar, NormPercent::Percent95));
    EXPECT_EQ(sd.GetEast(), 0.0);
    EXPECT_TRUE(std::isinf(sd.GetCorrelationEastNorth()));
    covar.SetCovariances(0.0, 0.0, 0.0);
    EXPECT_TRUE(sd.SetFrom(covar, NormPercent::Percent95));
    EXPECT_TRUE(std::isnan(sd.GetCorrelationEastNorth()));

    covar.SetVariances(NaN, 1.0, 1.0);
    EXPECT_FALSE(covar.IsInvalid());
    EXPECT_TRUE(sd.SetFrom(covar, NormPercent::OneSD));
    EXPECT_TRUE(std::isnan(sd.GetEast()));
    sd.SetPercent(static_cast<NormPercent>(99));
    EXPECT_TRUE(std::isnan(sd.GetNorth()));
}
