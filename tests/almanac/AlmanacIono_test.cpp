// The broadcast ionosphere against the printed example and the algorithm as IS-GPS-200 writes it.
#include "gnss/almanac/AlmanacIono.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

#include <gtest/gtest.h>

#include "tests/almanac/Reference.h"
#include "tests/support/Random.h"

namespace {

using Corvane::Angle;
using GNSS::Almanac;
using GNSS::GPSTime;
using GNSS::Latitude;
using GNSS::Longitude;

constexpr double Pi = std::numbers::pi;

struct Question {
    double tow;               // s
    double lat, lon, el, az;  // rad
};

struct Answer {
    double phiI, local, period, amplitude, x, slant;
    double delay;  // m
};

// Figure 20-4 of IS-GPS-200, line by line.
Answer AsWritten(const Almanac::Iono& c, const Question& q) {
    const double E = q.el / Pi;
    const double psi = 0.0137 / (E + 0.11) - 0.022;
    Answer a{};
    a.phiI = q.lat / Pi + psi * std::cos(q.az);
    if (a.phiI > 0.416) a.phiI = 0.416;
    if (a.phiI < -0.416) a.phiI = -0.416;
    const double lambdaI = q.lon / Pi + psi * std::sin(q.az) / std::cos(a.phiI * Pi);
    const double phiM = a.phiI + 0.064 * std::cos((lambdaI - 1.617) * Pi);
    a.local = 4.32e4 * lambdaI + std::fmod(q.tow, 86400.0);
    if (a.local >= 86400.0) {
        a.local -= 86400.0;
    } else if (a.local < 0.0) {
        a.local += 86400.0;
    }
    a.slant = 1.0 + 16.0 * std::pow(0.53 - E, 3);
    a.period = std::max(c.beta0 + c.beta1 * phiM + c.beta2 * std::pow(phiM, 2) + c.beta3 * std::pow(phiM, 3), 72000.0);
    a.amplitude =
        std::max(c.alpha0 + c.alpha1 * phiM + c.alpha2 * std::pow(phiM, 2) + c.alpha3 * std::pow(phiM, 3), 0.0);
    a.x = 2.0 * Pi * (a.local - 50400.0) / a.period;
    const double wave = 1.0 - std::pow(a.x, 2) / 2.0 + std::pow(a.x, 4) / 24.0;
    a.delay = a.slant * (5e-9 + (std::abs(a.x) < 1.57 ? a.amplitude * wave : 0.0)) * 299792458.0;
    return a;
}

double Delay(const Almanac::Iono& iono, const Question& q) {
    return iono.CalculateDelay(GPSTime(2111, q.tow), Latitude(Angle(q.lat)), Longitude(Angle(q.lon)), Angle(q.el),
                               Angle(q.az));
}

// The coefficients of the worked example in Klobuchar's paper of 1987.
Almanac::Iono Klobuchar() {
    Almanac::Iono iono;
    iono.alpha0 = 3.82e-8;
    iono.alpha1 = 1.49e-8;
    iono.alpha2 = -1.79e-7;
    iono.alpha3 = 0.0;
    iono.beta0 = 1.43e5;
    iono.beta1 = 0.0;
    iono.beta2 = -3.28e5;
    iono.beta3 = 1.13e5;
    return iono;
}

// Station 40 N 100 W, elevation 20, azimuth 210 degrees, 20:45 of GPS time. O. Ovstedal's programs in the GPS Toolbox
// (GPS Solutions; National Geodetic Survey, gps-toolbox/ovstedal.htm) give 23.784 m for it. The paper itself (IEEE
// Transactions on Aerospace and Electronic Systems 23, pages 328 and 329) rounds each line of its longhand and ends at
// 77.6 ns, 23.3 m.
TEST(AlmanacIono, ReproducesThePublishedExample) {
    const double degree = Pi / 180.0;
    const Question q{593100.0, 40.0 * degree, -100.0 * degree, 20.0 * degree, 210.0 * degree};
    EXPECT_NEAR(Delay(Klobuchar(), q), 23.784, 5e-4);
}

TEST(AlmanacIono, FollowsTheAlgorithmAsWritten) {
    auto random = tests::MakeRandom();
    const auto draw = [&](double a, double b) { return std::uniform_real_distribution<double>(a, b)(random); };
    double worst = 0.0;
    for (int i = 0; i < 20000; ++i) {
        const Almanac::Iono iono = i % 2 == 0 ? Almanac::Iono() : Klobuchar();
        const Question q{draw(0.0, 604800.0), draw(-Pi / 2, Pi / 2), draw(-Pi, Pi), draw(0.0, Pi / 2),
                         draw(-Pi, 2 * Pi)};
        const Answer expected = AsWritten(iono, q);
        if (std::abs(std::abs(expected.x) - 1.57) < 1e-9) continue;  // either side of the step by rounding
        worst = std::max(worst, std::abs(Delay(iono, q) - expected.delay));
    }
    EXPECT_LT(worst, 1e-12);
}

// Each branch, entered on purpose.
TEST(AlmanacIono, TakesEveryBranch) {
    const double degree = Pi / 180.0;
    const Almanac::Iono builtIn;
    const auto expect = [](const Almanac::Iono& iono, const Question& q) {
        const Answer a = AsWritten(iono, q);
        EXPECT_NEAR(Delay(iono, q), a.delay, 1e-12);
        return a;
    };
    // Beyond the limit of latitude, north and south, with the satellite towards the pole.
    EXPECT_EQ(expect(builtIn, {40000.0, 85.0 * degree, 0.3, 10.0 * degree, 0.0}).phiI, 0.416);
    EXPECT_EQ(expect(builtIn, {40000.0, -85.0 * degree, 0.3, 10.0 * degree, Pi}).phiI, -0.416);
    // Local time before midnight and after it.
    EXPECT_GT(expect(builtIn, {60.0, 0.0, -1.0 * degree, 1.5, 0.0}).local, 86000.0);
    EXPECT_LT(expect(builtIn, {86399.0, 0.0, 1.0 * degree, 1.5, 0.0}).local, 400.0);

    // A period of 60000 s counts as 72000 s, an amplitude below zero as zero.
    Almanac::Iono flat;
    flat.alpha0 = 2e-8;
    flat.beta0 = 60000.0;
    flat.alpha1 = flat.alpha2 = flat.alpha3 = flat.beta1 = flat.beta2 = flat.beta3 = 0.0;
    const Question zenith{50400.0 + 10000.0, 0.0, 0.0, Pi / 2, 0.0};
    const double x = 2.0 * Pi * (AsWritten(flat, zenith).local - 50400.0) / 72000.0;
    const double wave = 1.0 - x * x / 2.0 + x * x * x * x / 24.0;
    const double slant = 1.0 + 16.0 * 0.03 * 0.03 * 0.03;
    EXPECT_NEAR(Delay(flat, zenith), slant * (5e-9 + 2e-8 * wave) * 299792458.0, 1e-12);
    flat.alpha0 = -2e-8;
    EXPECT_NEAR(Delay(flat, zenith), slant * 5e-9 * 299792458.0, 1e-12);
}

// The cosine's series stops at 1.57, not at a quarter of a turn, and at 1.57 itself it is night. Times are tried until
// there is a period that makes x exactly that number.
TEST(AlmanacIono, TurnsToNightAtTheLimit) {
    Almanac::Iono iono;
    iono.alpha0 = 1.0;
    iono.alpha1 = iono.alpha2 = iono.alpha3 = iono.beta1 = iono.beta2 = iono.beta3 = 0.0;
    Question q{50400.0 + 20000.0, 0.0, 0.0, Pi / 2, 0.0};
    for (int i = 0; i < 100 && AsWritten(iono, q).x != 1.57; ++i) {
        q.tow += 1.0;
        iono.beta0 = 2.0 * Pi * (AsWritten(iono, q).local - 50400.0) / 1.57;
    }
    ASSERT_EQ(AsWritten(iono, q).x, 1.57);
    EXPECT_NEAR(Delay(iono, q), AsWritten(iono, q).slant * 5e-9 * 299792458.0, 1e-12);
    iono.beta0 *= 1.0 + 1e-15;
    EXPECT_GT(Delay(iono, q), 1e5);
}

TEST(AlmanacIono, AnswersGarbage) {
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    const Question good{40000.0, 0.7, 0.2, 0.5, 1.0};
    Question bad = good;
    bad.el = NaN;
    EXPECT_TRUE(std::isnan(Delay(Almanac::Iono(), bad)));
    const double night = AsWritten(Almanac::Iono(), good).slant * 5e-9 * 299792458.0;
    for (double Question::*field : {&Question::lat, &Question::lon, &Question::az, &Question::tow}) {
        bad = good;
        bad.*field = NaN;
        EXPECT_DOUBLE_EQ(Delay(Almanac::Iono(), bad), night);
    }
}

TEST(AlmanacIono, ComparesAndKnowsWhenItIsDated) {
    Almanac::Iono a;
    Almanac::Iono b;
    EXPECT_TRUE(a.IsValid());
    EXPECT_EQ(a.time, GPSTime(1433, 560502.0));
    EXPECT_EQ(a.alpha0, 5.0 / 1073741824.0);
    b.time += Corvane::Time(5e-8);
    EXPECT_EQ(a, b);
    b.beta3 = std::nextafter(b.beta3, 0.0);
    EXPECT_NE(a, b);
    b.Reset();
    EXPECT_EQ(a, b);
    b.time = GPSTime(0, 5e-8);
    EXPECT_FALSE(b.IsValid());
    EXPECT_NE(a, b);
}

TEST(AlmanacIono, StandsInTheFileAsLaidDown) {
    tests::ExpectFileForm(Almanac::Iono(), 2 + 9 * 8, {0x99, 5});
    tests::ExpectReadsAllOrNothing(Klobuchar());
}

}  // namespace
