// The equations of motion and their integration against the formulas written out.
#include "gnss/ephemeris/GlonassOrbit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/ephemeris/Records.h"
#include "tests/support/Random.h"

namespace {

using Corvane::Angle;
using GNSS::ECEF;
using GNSS::Glonass::Orbit;

// The largest difference of the elements; NaN when one of them is.
double Difference(const Orbit& a, const Orbit& b) {
    double most = 0.0;
    for (const double d : {a.x - b.x, a.y - b.y, a.z - b.z, a.vx - b.vx, a.vy - b.vy, a.vz - b.vz}) {
        if (!(std::abs(d) <= most)) most = std::abs(d);
    }
    return most;
}

Orbit Sample() {
    const GNSS::Glonass::Ephemeride record = tests::SampleGlonass();
    Orbit orbit;
    orbit.InitStraight(record.posn.posn, record.posn.vely);
    return orbit;
}

const ECEF LuniSolar = tests::SampleGlonass().posn.accel;

// The equations as the interface control document writes them.
Orbit RotatingByTheBook(const Orbit& s, const ECEF& a) {
    const double w = 7.292115e-5;
    const double r = std::sqrt(s.x * s.x + s.y * s.y + s.z * s.z);
    const double mu = 398600.44 / (r * r);
    const double rho = 6378.136 / r;
    const double zbar = s.z / r;
    const double k = 1.5 * -0.00108263 * mu * rho * rho;
    const double f = (1.0 - 5.0 * zbar * zbar) * k - mu;
    return {s.vx,
            s.vy,
            s.vz,
            w * w * s.x + 2.0 * w * s.vy + s.x / r * f + a.GetX(),
            w * w * s.y - 2.0 * w * s.vx + s.y / r * f + a.GetY(),
            ((3.0 - 5.0 * zbar * zbar) * k - mu) * zbar + a.GetZ()};
}

Orbit StepByTheBook(const Orbit& y, double h, const ECEF& a) {
    const Orbit k1 = RotatingByTheBook(y, a);
    const Orbit k2 = RotatingByTheBook(y + k1 * (h / 2.0), a);
    const Orbit k3 = RotatingByTheBook(y + k2 * (h / 2.0), a);
    const Orbit k4 = RotatingByTheBook(y + k3 * h, a);
    return y + (k1 + k2 * 2.0 + k3 * 2.0 + k4) * (h / 6.0);
}

TEST(GlonassOrbit, DerivativeOfRandomStates) {
    auto random = tests::MakeRandom();
    std::uniform_real_distribution<double> place(-20000.0, 20000.0), speed(-5.0, 5.0), pull(-5e-9, 5e-9);
    for (int i = 0; i < 5000; ++i) {
        const Orbit s{place(random), place(random), place(random), speed(random), speed(random), speed(random)};
        const ECEF a(pull(random), pull(random), pull(random));
        const double squared = s.x * s.x + s.y * s.y + s.z * s.z;
        if (squared < 6378.0 * 6378.0) continue;
        const Orbit got = Orbit::Rotating(s, a);
        EXPECT_TRUE(got.x == s.vx && got.y == s.vy && got.z == s.vz);
        // Of the pull of the earth or that of its rotation, whichever is larger.
        const double size = std::max(Orbit::Gravity / squared, 1e-3);
        ASSERT_LT(Difference(got, RotatingByTheBook(s, a)), 4e-15 * size) << s.x << ' ' << s.y << ' ' << s.z;
    }
}

// Steps so long that their lengths and order show: a step of 600 s is off by metres.
TEST(GlonassOrbit, WholeStepsFirstAndTheRestLast) {
    struct Row {
        double interval, step;
        std::vector<double> steps;
    };
    const Row rows[] = {
        {0.0, 60.0, {}},
        {150.0, 60.0, {60.0, 60.0, 30.0}},
        {-150.0, 60.0, {-60.0, -60.0, -30.0}},
        {60.0, 60.0, {60.0}},
        {-60.0, 60.0, {-60.0}},
        {0.25, 60.0, {0.25}},
        {1500.0, 600.0, {600.0, 600.0, 300.0}},
        {-1500.0, 600.0, {-600.0, -600.0, -300.0}},
        {1800.0, 600.0, {600.0, 600.0, 600.0}},
        {-3000.0, 1800.0, {-1800.0, -1200.0}},
    };
    for (const Row& row : rows) {
        Orbit expected = Sample();
        Orbit single = Sample();
        for (const double h : row.steps) {
            expected = StepByTheBook(expected, h, LuniSolar);
            single = single.Integrate(h, LuniSolar, Orbit::Rotating);
        }
        Orbit got;
        Sample().Integrate(row.interval, row.step, LuniSolar, got, Orbit::Rotating);
        const double tolerance = row.steps.empty() ? 0.0 : 1e-10;  // km
        EXPECT_LE(Difference(got, expected), tolerance) << row.interval;
        EXPECT_LE(Difference(got, single), tolerance) << row.interval;
        EXPECT_LE(Difference(got, Sample().IntegrateRotating(row.interval, row.step, LuniSolar)), tolerance);
        if (row.step < 600.0 || row.steps.size() < 2) continue;
        Orbit reversed = Sample();
        for (auto h = row.steps.rbegin(); h != row.steps.rend(); ++h) reversed = StepByTheBook(reversed, *h, LuniSolar);
        if (row.steps.front() != row.steps.back()) {
            EXPECT_GT(Difference(got, reversed), 1e-8) << row.interval;
        }
    }
}

TEST(GlonassOrbit, IntervalsThatCannotBeIntegratedGiveNaN) {
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    struct Row {
        double interval, step;
    };
    for (const Row& row : {Row{NaN, 60.0}, Row{Infinity, 60.0}, Row{-Infinity, 60.0}, Row{6.1e7, 60.0}, Row{600.0, 0.0},
                           Row{-600.0, -60.0}, Row{600.0, NaN}, Row{1.0, 1e-300}}) {
        Orbit got;
        Sample().Integrate(row.interval, row.step, LuniSolar, got, Orbit::Rotating);
        for (const double element : {got.x, got.y, got.z, got.vx, got.vy, got.vz}) {
            EXPECT_TRUE(std::isnan(element)) << row.interval << ' ' << row.step;
        }
    }
}

ECEF Turned(const ECEF& v, double angle) {
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    return {v.GetX() * c - v.GetY() * s, v.GetX() * s + v.GetY() * c, v.GetZ()};
}

// The same motion in both frames: the acceleration, which the rotating frame holds, turns with the earth in the other.
TEST(GlonassOrbit, RotatingAndInertialFramesAgree) {
    const GNSS::Glonass::Ephemeride::Posn posn = tests::SampleGlonass().posn;
    constexpr double Start = 1.2;  // rad, of the earth-fixed axes at first
    for (const double step : {60.0, -60.0}) {
        Orbit inertial;
        inertial.Init(posn.posn, posn.vely, Angle(Start));
        double turn = Start;
        for (int i = 0; i < 20; ++i) {
            const double half = 0.5 * step * Orbit::EarthRate;
            inertial = inertial.Integrate(step, Turned(posn.accel, turn + half), Orbit::Absolute);
            turn += 2.0 * half;
        }
        Orbit expected;
        const Orbit rotating = Sample().IntegrateRotating(20.0 * step, 60.0, posn.accel);
        expected.Init({rotating.x, rotating.y, rotating.z}, {rotating.vx, rotating.vy, rotating.vz}, Angle(turn));
        EXPECT_LT(std::hypot(inertial.x - expected.x, inertial.y - expected.y, inertial.z - expected.z), 1e-6);
        EXPECT_LT(std::hypot(inertial.vx - expected.vx, inertial.vy - expected.vy, inertial.vz - expected.vz), 1e-9);
    }
    // A point that turns with the earth, seen at rest.
    Orbit still;
    still.Init({6378.0, 0.0, 100.0}, ECEF(), Angle(Start));
    EXPECT_LT(Difference(still, {6378.0 * std::cos(Start), 6378.0 * std::sin(Start), 100.0,
                                 -6378.0 * Orbit::EarthRate * std::sin(Start),
                                 6378.0 * Orbit::EarthRate * std::cos(Start), 0.0}),
              1e-11);
}

}  // namespace
