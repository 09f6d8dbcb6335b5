// Distributions against tabulated values, and error ellipses.
#include "gnss/platform/Statistics.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "gnss/platform/Ellipse.h"

namespace {

using Corvane::Angle;
using Corvane::Ellipse;
using Corvane::NormPercent;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

TEST(Statistics, NumbersOfStandardDeviations) {
    const struct {
        NormPercent level;
        double one, two;
    } rows[] = {{NormPercent::OneSD, 1.0, 1.0},
                {NormPercent::Percent50, 0.674489750196, 1.177410022515},
                {NormPercent::Percent90, 1.644853626951, 2.145966026289},
                {NormPercent::Percent95, 1.959963984540, 2.447746830681},
                {NormPercent::Percent99, 2.575829303549, 3.034854258770},
                {NormPercent::Percent99_9, 3.290526731492, 3.716922188849}};
    for (const auto& row : rows) {
        EXPECT_NEAR(Corvane::NormalSDs(row.level, true), row.one, 1e-11);
        EXPECT_NEAR(Corvane::NormalSDs(row.level, false), row.two, 1e-11);
    }
    EXPECT_EQ(static_cast<int>(NormPercent::OneSD), 0);
    EXPECT_TRUE(std::isnan(Corvane::NormalSDs(static_cast<NormPercent>(77), true)));
    EXPECT_NEAR(Corvane::NormalRadius(0.95, 3), 2.7955, 5e-5);
    // What the one-dimensional factor holds on the axes of an ellipse.
    EXPECT_NEAR(Corvane::ChiSquareCDF(1.96 * 1.96, 2), 0.8535, 5e-5);
}

// Values as the usual tables of these distributions print them, and closed forms.
TEST(Statistics, TabulatedQuantiles) {
    const struct {
        double quantile, printed, tolerance;
    } rows[] = {
        {Corvane::NormalQuantile(0.8), 0.84162, 5e-6},
        {Corvane::ChiSquareQuantile(0.95, 10), 18.3070, 5e-5},
        {Corvane::ChiSquareQuantile(0.01, 5), 0.554, 5e-4},
        {Corvane::FQuantile(0.95, 4, 10), 3.48, 5e-3},
        {Corvane::FQuantile(0.99, 10, 4), 14.55, 5e-3},
        {Corvane::StudentTQuantile(0.975, 10), 2.228, 5e-4},
        {Corvane::StudentTQuantile(0.75, 1), 1.0, 1e-12},
        {Corvane::ChiSquareQuantile(0.5, 2), 2.0 * std::log(2.0), 1e-12},
        // A shifted normal error, squared, is below x when the error lies between the two roots.
        {Corvane::NonCentralChiSquareCDF(4.0, 1, 9.0), Corvane::NormalCDF(-1.0) - Corvane::NormalCDF(-5.0), 1e-12},
        {Corvane::NonCentralChiSquareQuantile(0.3, 3, 0.0), Corvane::ChiSquareQuantile(0.3, 3), 1e-9},
    };
    for (const auto& row : rows) EXPECT_NEAR(row.quantile, row.printed, row.tolerance) << row.printed;
}

TEST(Statistics, QuantilesInvertTheDistributions) {
    for (const double p : {1e-6, 0.01, 0.2, 0.5, 0.8, 0.999}) {
        for (const double freedom : {1.0, 2.0, 7.5, 60.0}) {
            EXPECT_NEAR(Corvane::ChiSquareCDF(Corvane::ChiSquareQuantile(p, freedom), freedom), p, 1e-12);
            EXPECT_NEAR(Corvane::FCDF(Corvane::FQuantile(p, freedom, 9), freedom, 9), p, 1e-12);
            EXPECT_NEAR(Corvane::StudentTCDF(Corvane::StudentTQuantile(p, freedom), freedom), p, 1e-12);
            const double x = Corvane::NonCentralChiSquareQuantile(p, freedom, 11.679);
            EXPECT_NEAR(Corvane::NonCentralChiSquareCDF(x, freedom, 11.679), p, 1e-9);
        }
        EXPECT_NEAR(Corvane::NormalCDF(Corvane::NormalQuantile(p)), p, 1e-14);
    }
}

TEST(Statistics, BadInputGivesNaN) {
    for (const double bad : {NaN, -0.1, 1.1, Infinity}) {
        EXPECT_TRUE(std::isnan(Corvane::NormalQuantile(bad))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::ChiSquareQuantile(bad, 3))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::FQuantile(bad, 3, 3))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::StudentTQuantile(bad, 3))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::NonCentralChiSquareQuantile(bad, 3, 1))) << bad;
    }
    for (const double bad : {NaN, -1.0, 0.0, 1e300, Infinity}) {
        EXPECT_TRUE(std::isnan(Corvane::ChiSquareCDF(1, bad))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::ChiSquareQuantile(0.5, bad))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::FCDF(1, 3, bad))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::FQuantile(0.5, bad, 3))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::StudentTCDF(1, bad))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::NonCentralChiSquareCDF(1, bad, 1))) << bad;
        EXPECT_TRUE(std::isnan(Corvane::NonCentralChiSquareCDF(1, 3, bad == 0.0 ? NaN : bad))) << bad;
    }
    EXPECT_TRUE(std::isnan(Corvane::NormalCDF(NaN)));
    EXPECT_TRUE(std::isnan(Corvane::NormalRadius(0.5, 0)));
    EXPECT_EQ(Corvane::NormalQuantile(0), -Infinity);
    EXPECT_EQ(Corvane::ChiSquareQuantile(1, 3), Infinity);
    EXPECT_EQ(Corvane::ChiSquareCDF(-3, 3), 0.0);
    EXPECT_EQ(Corvane::NormalCDF(Infinity), 1.0);
    EXPECT_EQ(Corvane::NonCentralChiSquareCDF(Infinity, 3, 1), 1.0);
}

TEST(Ellipse, AxesAndDirection) {
    const struct {
        double east, north, covariance, major, minor, degrees;
    } rows[] = {
        {4, 9, 0, 3, 2, 0},                // north
        {9, 4, 0, 3, 2, 90},               // east
        {2.5, 2.5, 1.5, 2, 1, 45},         // north-east
        {2.5, 2.5, -1.5, 2, 1, 135},       // south-east
        {1, 1, 0, 1, 1, 0},                // circle
        {0, 0, 0, 0, 0, 0},                // point
        {1, 3, std::sqrt(3.0), 2, 0, 30},  // a line: correlation 1
        {4, 9, -1e-17, 3, 2, 0},           // just west of north is 180 degrees, which is 0
        {1e300, 1e300, 1e300, std::sqrt(2.0) * 1e150, 0, 45},
    };
    for (const auto& row : rows) {
        Ellipse ellipse;
        ASSERT_TRUE(ellipse.SetFrom(row.east, row.north, row.covariance)) << row.degrees;
        EXPECT_NEAR(ellipse.GetSemiMajor(), row.major, 1e-12 * (1 + row.major));
        EXPECT_NEAR(ellipse.GetSemiMinor(), row.minor, 1e-7 * (1 + row.minor));
        const double off = std::abs(ellipse.GetOrientation().Degrees() - row.degrees);
        EXPECT_LT(std::min(off, 180.0 - off), 1e-9) << row.degrees;
        EXPECT_GE(ellipse.GetOrientation().Radians(), 0.0);
        EXPECT_LT(ellipse.GetOrientation().Radians(), Angle::Straight.Radians());
    }
}

TEST(Ellipse, BadVariancesChangeNothing) {
    const Ellipse before(2, 1, Angle::FromDegrees(200));
    EXPECT_NEAR(before.GetOrientation().Degrees(), 20, 1e-12);
    Ellipse ellipse = before;
    for (const double bad : {NaN, -1e-300, Infinity}) {
        EXPECT_FALSE(ellipse.SetFrom(bad, 1, 0)) << bad;
        EXPECT_FALSE(ellipse.SetFrom(1, bad, 0)) << bad;
        EXPECT_FALSE(ellipse.SetFrom(1, 1, bad == -1e-300 ? 1.01 : bad)) << bad;
    }
    EXPECT_FALSE(ellipse.SetFrom(1e308, 1e308, 1e308));  // its major axis overflows
    EXPECT_EQ(ellipse, before);
    EXPECT_EQ(Ellipse(NaN, 1, Angle()), Ellipse());
    EXPECT_EQ(before.ScaledBy(-1), Ellipse());
    EXPECT_NEAR(before.ScaledTo(NormPercent::Percent95).GetSemiMajor(), 4.89549, 1e-5);
    EXPECT_EQ(before.ScaledTo(NormPercent::OneSD), before);
    EXPECT_NEAR(Ellipse(1, 2, Angle()).GetOrientation().Degrees(), 90, 1e-12);
}

}  // namespace
