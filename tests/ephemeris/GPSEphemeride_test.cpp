// The GPS ephemeride: validity, streams, and the orbit against the user algorithm written out step by step.
#include "gnss/ephemeris/GPSEphemeride.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/geodesy/Kepler.h"
#include "tests/ephemeris/Records.h"
#include "tests/support/Random.h"

namespace {

using Corvane::Angle;
using Corvane::Time;
using GNSS::ECEF;
using GNSS::GPSEphemeride;
using GNSS::GPSPi;
using GNSS::GPSTime;
using GNSS::KeplerStop;
using tests::SampleGPS;
using tests::SampleTime;
using Status = GPSEphemeride::Status;
using Result = GPSEphemeride::Result;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

TEST(GPSEphemeride, IsValidUpToBothLimitsAboutToc) {
    struct Row {
        const char* what;
        void (*set)(Status&);
        double limit;
    };
    const Row rows[] = {
        {"no interval", [](Status&) {}, 7500.0},
        {"4 h", [](Status& s) { s.SetCurveFit(0, 5); }, 7500.0},
        {"6 h", [](Status& s) { s.SetCurveFit(1, 5); }, 11100.0},
        {"8 h", [](Status& s) { s.SetCurveFit(8); }, 14700.0},
        {"14 h", [](Status& s) { s.SetCurveFit(14); }, 25500.0},
        {"146 h", [](Status& s) { s.SetCurveFit(146); }, 263100.0},
        {"7 h, half of it cut", [](Status& s) { s.SetCurveFit(7); }, 11100.0},
        {"alert only", [](Status& s) { s.SetAlert(0); }, 300.0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        GPSEphemeride record = SampleGPS();
        record.posn.toe += 3600.0;
        record.clock.toc = 304200.0;
        row.set(record.status);
        for (const double side : {-1.0, 1.0}) {
            for (const double beyond : {-1.0, 0.0, 0.001}) {
                const GPSTime t = record.GetTOC() + Time(side * (row.limit + beyond));
                Result result;
                EXPECT_EQ(record.IsTooOld(t), beyond > 0.0) << side << ' ' << beyond;
                EXPECT_EQ(record.CalculatePosn(t, result), beyond <= 0.0) << side << ' ' << beyond;
                EXPECT_EQ(result.valid, beyond <= 0.0);
                EXPECT_TRUE(result.healthy);
                EXPECT_EQ(result.IODE, beyond <= 0.0 ? 83 : -1);
            }
        }
    }
}

TEST(GPSEphemeride, AnUnhealthySatelliteIsAnAnswerWithoutPosition) {
    GPSEphemeride record = SampleGPS();
    Result result;
    ASSERT_TRUE(record.CalculatePosn(SampleTime, result));
    EXPECT_TRUE(result.IsOK(83));
    EXPECT_FALSE(result.IsOK(82));
    EXPECT_EQ(result.groupDelay, -1.024e-8);
    Result doubtful = result;
    doubtful.healthy = false;
    EXPECT_FALSE(doubtful.IsOK(83));

    record.status.SetHealth(1);
    for (const GPSTime& t : {SampleTime, SampleTime + Time(1e5)}) {
        ASSERT_TRUE(record.CalculatePosn(t, result));
        EXPECT_FALSE(result.valid || result.healthy);
        EXPECT_EQ(result.IODE, -1);
        EXPECT_EQ(result.posn.Radius(), 0.0);
        EXPECT_EQ(result.clockCorrection, 0.0);
        EXPECT_EQ(result.groupDelay, 0.0);
        EXPECT_FALSE(result.IsOK(83) || result.IsOK(-1));
    }
}

TEST(GPSEphemeride, PlacesToeAndTocInTheWeekNearestToTheReference) {
    struct Row {
        int week;
        double seconds, reference;
        int expected;
    };
    const Row rows[] = {{1860, 604000.0, 0.0, 1861},     {1860, 100.0, 604784.0, 1859}, {1860, 302400.0, 0.0, 1860},
                        {1860, 302400.5, 0.0, 1861},     {1860, 302416.0, 16.0, 1860},  {0, 100.0, 604784.0, -1},
                        {1860, 302399.5, 604799.5, 1860}};
    for (const Row& row : rows) {
        GPSEphemeride record = SampleGPS();
        record.reference = GPSTime(row.week, row.seconds);
        record.posn.toe = record.clock.toc = row.reference;
        for (const GPSTime& placed : {record.GetTOC(), record.GetTOE()}) {
            EXPECT_EQ(placed.GetWeek(), row.expected) << row.seconds << ' ' << row.reference;
            EXPECT_EQ(placed.GetSeconds(), row.reference);
        }
        // Wherever the reference stands, the satellite is where toe says.
        GPSEphemeride same = record;
        same.reference = record.GetTOE();
        Result a, b;
        ASSERT_TRUE(record.CalculatePosn(same.reference + Time(-600.0), a));
        ASSERT_TRUE(same.CalculatePosn(same.reference + Time(-600.0), b));
        EXPECT_EQ((a.posn - b.posn).Magnitude(), 0.0);
        EXPECT_EQ(a.clockCorrection, b.clockCorrection);
    }
}

TEST(GPSEphemeride, LiftsANegativeMeanAnomalyOnce) {
    struct Row {
        double m0, n, tk, expected;
    };
    const Row rows[] = {{0.1, 1e-4, -2000.0, -0.1 + 2.0 * GPSPi},
                        {0.0, 1e-4, 0.0, 0.0},
                        {3.0, 1e-3, 11000.0, 14.0},
                        {-13.0, 0.0, 1.0, -13.0 + 2.0 * GPSPi},
                        {0.25, 0.0, 5.0, 0.25}};
    for (const Row& row : rows) {
        GPSEphemeride record;
        record.posn.M0 = Angle(row.m0);
        EXPECT_NEAR(record.MeanAnomaly(Time(row.tk), Angle(row.n)).Radians(), row.expected, 1e-15) << row.m0;
    }
}

// Newton's iteration as it is told, with the library's sine and cosine at every step.
double NewtonOnKepler(double M, double e, KeplerStop stop) {
    double E = GPSPi;
    for (int step = 0; step < 10; ++step) {
        const double residual = M - (E - e * std::sin(E));
        E = E + residual / (1.0 - e * std::cos(E));
        if (stop == KeplerStop::Below ? std::abs(residual) < 1e-15 : std::abs(residual) <= 1e-15) break;
    }
    return E;
}

TEST(Kepler, AgreesWithTheIterationAsTold) {
    auto random = tests::MakeRandom();
    std::uniform_real_distribution<double> anomaly(-7.0, 14.0), eccentricity(0.0, 0.9);
    for (int i = 0; i < 20000; ++i) {
        const double M = anomaly(random);
        const double e = eccentricity(random);
        for (const KeplerStop stop : {KeplerStop::Below, KeplerStop::AtOrBelow}) {
            const GNSS::EccentricAnomalyResult got = GNSS::SolveKepler(M, e, stop);
            EXPECT_NEAR(got.sinE, std::sin(got.E), 6e-15) << M << ' ' << e;
            EXPECT_NEAR(got.cosE, std::cos(got.E), 6e-15) << M << ' ' << e;
            const double expected = NewtonOnKepler(M, e, stop);
            // Near perigee of a long orbit some roundings of M make more than that.
            const double roundings = 1e-15 * std::max(1.0, std::abs(expected)) / (1.0 - e * std::cos(expected));
            ASSERT_NEAR(got.E, expected, std::max(1e-14, roundings)) << M << ' ' << e;
            // What GPS makes of it, M within a turn or two and small e, has converged.
            if (e < 0.1) {
                EXPECT_NEAR(M, got.E - e * got.sinE, 4e-15 * std::max(1.0, std::abs(M)));
            }
        }
    }
}

TEST(Kepler, CircularOrbits) {
    GPSEphemeride record;
    for (double M = -7.0; M < 14.0; M += 0.125) {
        EXPECT_EQ(GNSS::SolveKepler(M, 0.0, KeplerStop::Below).E, M);
        EXPECT_NEAR(record.EccentricAnomaly(Angle(M)).Radians(), M < 0.0 ? M + 2.0 * GPSPi : M, 2e-15);
    }
}

// The user algorithm, one line a step, with the true anomaly through the arctangent.
Result ByTheBook(const GPSEphemeride& record, const GPSTime& t) {
    const GPSEphemeride::Posn& p = record.posn;
    const auto elapsed = [&](double reference) {
        const GPSTime placed = record.reference.GetClosest(reference);
        return (t.GetWeek() - placed.GetWeek()) * 604800.0 + (t.GetSeconds() - placed.GetSeconds());
    };
    const double dt = elapsed(record.clock.toc);
    const double tk = elapsed(p.toe);
    const double A = p.sqrtA * p.sqrtA;
    const double n = std::sqrt(3.986004418e14 / (A * A * A)) + p.deltaN.Radians();
    double M = p.M0.Radians() + n * tk;
    if (M < 0.0) M += 2.0 * 3.1415926535898;
    double E = NewtonOnKepler(M, p.e, KeplerStop::Below);
    if (E < 0.0) E += 2.0 * 3.1415926535898;
    const double v = std::atan2(std::sqrt(1.0 - p.e * p.e) * std::sin(E), std::cos(E) - p.e);
    const double phi = v + p.omega.Radians();
    const double s2 = std::sin(2.0 * phi);
    const double c2 = std::cos(2.0 * phi);
    const double u = phi + p.Cuc.Radians() * c2 + p.Cus.Radians() * s2;
    const double radius = A * (1.0 - p.e * std::cos(E)) + p.Crc * c2 + p.Crs * s2;
    const double i = p.i0.Radians() + p.Cic.Radians() * c2 + p.Cis.Radians() * s2 + p.IDOT.Radians() * tk;
    const double x = radius * std::cos(u);
    const double y = radius * std::sin(u);
    const double node = p.Omega0.Radians() + (p.OmegaDot.Radians() - 7.2921151467e-5) * tk - 7.2921151467e-5 * p.toe;
    Result result;
    result.posn = {x * std::cos(node) - y * std::cos(i) * std::sin(node),
                   x * std::sin(node) + y * std::cos(i) * std::cos(node), y * std::sin(i)};
    const GPSEphemeride::Clock& c = record.clock;
    result.clockCorrection = (c.af2 * dt + c.af1) * dt + c.af0 + -4.442807633e-10 * p.e * p.sqrtA * std::sin(E);
    return result;
}

// Any orbit with fields as large as the message can hold them, or nearly, and a time within its validity.
GPSEphemeride RandomRecord(std::mt19937_64& random, GPSTime& t) {
    const auto draw = [&random](double most) { return std::uniform_real_distribution<double>(-most, most)(random); };
    const auto angle = [&draw](double most) { return Angle(draw(most)); };
    constexpr double Pi = std::numbers::pi;
    GPSEphemeride record = SampleGPS();
    GPSEphemeride::Posn& p = record.posn;
    p.toe = 16.0 * std::uniform_int_distribution<int>(0, 37799)(random);
    p.sqrtA = 5153.0 + draw(300.0);
    p.e = std::abs(draw(0.5));
    for (Angle* a : {&p.M0, &p.Omega0, &p.i0, &p.omega}) *a = angle(Pi);
    p.deltaN = angle(1.2e-8);
    p.OmegaDot = angle(3e-6);
    p.IDOT = angle(3e-9);
    p.Crc = draw(1024.0);
    p.Crs = draw(1024.0);
    for (Angle* a : {&p.Cuc, &p.Cus, &p.Cic, &p.Cis}) *a = angle(6.1e-5);
    record.clock = {1, p.toe, draw(1e-8), draw(1e-14), draw(1e-9), draw(1e-3)};
    record.reference = GPSTime(1860, p.toe + std::round(draw(2e5)));
    t = record.GetTOE() + Time(std::round(draw(7400.0)));
    return record;
}

TEST(GPSEphemeride, PositionsAreThoseOfTheUserAlgorithm) {
    auto random = tests::MakeRandom();
    double most = 0.0;
    for (int i = 0; i < 5000; ++i) {
        GPSTime t;
        const GPSEphemeride record = RandomRecord(random, t);
        Result got;
        ASSERT_TRUE(record.CalculatePosn(t, got));
        const Result expected = ByTheBook(record, t);
        most = std::max(most, (got.posn - expected.posn).Magnitude());
        ASSERT_LT((got.posn - expected.posn).Magnitude(), 1e-7) << record.posn.e << ' ' << record.posn.toe;
        ASSERT_NEAR(got.clockCorrection, expected.clockCorrection, 1e-18);
    }
    std::cout << "largest difference " << most << " m\n";
}

TEST(GPSEphemeride, VelocitiesAreTheSlopeOfThePositions) {
    auto random = tests::MakeRandom();
    double most = 0.0;
    for (int i = 0; i < 2000; ++i) {
        GPSTime t;
        const GPSEphemeride record = RandomRecord(random, t);
        const auto at = [&](double seconds) {
            Result result;
            EXPECT_TRUE(record.CalculatePosn(t + Time(seconds), result));
            return result.posn;
        };
        const ECEF::Delta slope = ((at(4.0) - at(-4.0)) * 8.0 - (at(8.0) - at(-8.0))) / 48.0;
        const double difference = (record.CalculateVely(t) - slope).Magnitude();
        most = std::max(most, difference);
        ASSERT_LT(difference, 1e-6) << record.posn.e;
    }
    std::cout << "largest difference " << most << " m/s\n";
}

TEST(GPSEphemeride, FieldsThatAreNoNumbersGiveNoPosition) {
    using Posn = GPSEphemeride::Posn;
    for (const double bad : {NaN, Infinity, -Infinity}) {
        const auto expectNone = [bad](const GPSEphemeride& record, int field) {
            SCOPED_TRACE(testing::Message() << "field " << field << " = " << bad);
            Result result;
            if (!record.CalculatePosn(SampleTime, result)) return;
            EXPECT_FALSE(std::isfinite(result.posn.Radius()));
            EXPECT_FALSE(std::isfinite(record.CalculateVely(SampleTime).Magnitude()));
        };
        int field = 0;
        for (double Posn::*member : {&Posn::toe, &Posn::sqrtA, &Posn::e, &Posn::Crc, &Posn::Crs}) {
            GPSEphemeride record = SampleGPS();
            record.posn.*member = bad;
            expectNone(record, ++field);
        }
        for (Angle Posn::*member : {&Posn::M0, &Posn::Omega0, &Posn::i0, &Posn::omega, &Posn::deltaN, &Posn::OmegaDot,
                                    &Posn::IDOT, &Posn::Cuc, &Posn::Cus, &Posn::Cic, &Posn::Cis}) {
            GPSEphemeride record = SampleGPS();
            record.posn.*member = Angle(bad);
            expectNone(record, ++field);
        }
        GPSEphemeride record = SampleGPS();
        record.clock.toc = bad;
        Result result;
        EXPECT_TRUE(!record.CalculatePosn(SampleTime, result) || std::isnan(result.clockCorrection)) << bad;
        EXPECT_TRUE(std::isnan(GNSS::SolveKepler(bad, 0.1, KeplerStop::Below).E));
        EXPECT_TRUE(std::isnan(GNSS::SolveKepler(1.0, bad, KeplerStop::AtOrBelow).E));
        EXPECT_FALSE(SampleGPS().CalculatePosn(GPSTime(1860, bad), result) && std::isfinite(result.posn.Radius()));
    }
}

TEST(GPSEphemeride, StreamForms) {
    GPSEphemeride record = SampleGPS();
    record.status.SetCurveFit(6);
    record.status.SetL2PData(true);
    record.status.SetASFlag(1);
    GPSEphemeride other = SampleGPS();
    other.prn = 3;
    other.reference = GPSTime(1861, 7.0);
    other.posn.IODE = 84;
    other.clock.IODC = 596;
    tests::ExpectStreams(record, other, 214);
    tests::ExpectStreams(record.posn, other.posn, 132);
    tests::ExpectStreams(record.clock, other.clock, 44);
    tests::ExpectStreams(record.status, other.status, 26);

    // The result of a record that was read is that of the one that was written.
    GPSEphemeride read;
    const std::vector<std::byte> bytes = tests::Bytes(record);
    Corvane::Stream::MemoryInput input(bytes);
    ASSERT_TRUE(read.Read(input));
    EXPECT_EQ(read.prn, 17);
    EXPECT_EQ(read.reference, record.reference);
    EXPECT_TRUE(read.status.IsValid(1 + 2 + 4 + 8 + 16 + 32));
    Result a, b;
    ASSERT_TRUE(record.CalculatePosn(SampleTime, a) && read.CalculatePosn(SampleTime, b));
    EXPECT_EQ((a.posn - b.posn).Magnitude(), 0.0);
    EXPECT_EQ(a.clockCorrection, b.clockCorrection);

    // A stored 0 is PRN 32, as everywhere, and a week beyond 16 bits is not cut.
    record.Reset();
    EXPECT_TRUE(record.prn.IsNull());
    const std::vector<std::byte> empty = tests::Bytes(record);
    Corvane::Stream::MemoryInput emptyInput(empty);
    ASSERT_TRUE(read.Read(emptyInput));
    EXPECT_EQ(read.prn, 32);
    record.reference = GPSTime(32768, 0.0);
    Corvane::Stream::MemoryOutput output;
    EXPECT_FALSE(record.Write(output));
}

}  // namespace
