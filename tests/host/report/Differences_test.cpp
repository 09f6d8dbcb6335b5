#include "host/report/Differences.h"

#include <cmath>

#include <gtest/gtest.h>

#include "host/cli/Inputs.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::ECEF;

TEST(OrbitDifference, IsResolvedAlongTheInertialVelocity) {
    // A satellite over the equator that stands still over the earth moves eastwards in inertial space.
    const ECEF precise(42164e3, 0.0, 0.0);
    const auto d = Host::Resolve(precise + ECEF::Delta(1.0, 2.0, 3.0), precise, ECEF::Delta());
    EXPECT_NEAR(d.radial, 1.0, 1e-12);
    EXPECT_NEAR(d.along, 2.0, 1e-12);
    EXPECT_NEAR(d.cross, 3.0, 1e-12);
    EXPECT_NEAR(d.Length(), std::sqrt(14.0), 1e-12);
}

TEST(Figures, OfAFewNumbers) {
    const Host::Figures figures = Host::MakeFigures({3.0, -1.0, 2.0, -4.0});
    EXPECT_EQ(figures.count, 4U);
    EXPECT_DOUBLE_EQ(figures.mean, 0.0);
    EXPECT_DOUBLE_EQ(figures.rms, std::sqrt(7.5));
    EXPECT_DOUBLE_EQ(figures.median, 2.5);  // of the sizes
    EXPECT_DOUBLE_EQ(figures.percentile95, 3.85);
    EXPECT_DOUBLE_EQ(figures.max, 4.0);
    EXPECT_EQ(Host::MakeFigures({}).count, 0U);
}

// The figures of the reference README, section 1, made by independent programs with the selection rule that it tells.
TEST(Comparison, ReproducesTheIndependentFiguresOfGlonass2009) {
    GNSS_REQUIRE_TEST_DATA(file, "data/brdc0910.09g");
    GNSS_REQUIRE_TEST_DATA(orbits, "data/igl15253.sp3");
    Host::EphemerisSet set;
    Host::LeapRule leaps;
    ASSERT_TRUE(Host::ReadNavigation({file}, false, set, leaps));
    std::vector<Host::Sp3> precise(1);
    Host::FileError error;
    ASSERT_TRUE(precise[0].Read(orbits, error)) << error.Print();
    leaps.SetFor(precise[0].GetTime(0));
    Host::ComparisonOptions options;
    options.rule = Host::Selection::Nearest;
    options.glonassMaxAge = 900.0;
    const auto all = Host::Compare(set, precise, options);
    std::vector<double> length;
    std::vector<double> radial;
    std::vector<double> along;
    std::vector<double> cross;
    std::size_t unhealthy = 0;
    std::size_t tooOld = 0;
    for (const Host::Comparison& c : all) {
        unhealthy += c.state.standing == Host::Standing::Unhealthy ? 1U : 0U;
        tooOld += c.state.standing == Host::Standing::TooOld ? 1U : 0U;
        if (!c.isCompared) continue;
        length.push_back(c.orbit.Length());
        radial.push_back(c.orbit.radial);
        along.push_back(c.orbit.along);
        cross.push_back(c.orbit.cross);
    }
    EXPECT_EQ(length.size(), 1706U);
    EXPECT_EQ(length.size() + unhealthy + tooOld, all.size());  // nobody is left out silently
    EXPECT_NEAR(Host::MakeFigures(length).rms, 6.39, 0.005);
    EXPECT_NEAR(Host::MakeFigures(length).percentile95, 14.23, 0.005);
    EXPECT_NEAR(Host::MakeFigures(radial).rms, 2.27, 0.005);
    EXPECT_NEAR(Host::MakeFigures(radial).mean, -2.20, 0.005);
    EXPECT_NEAR(Host::MakeFigures(along).rms, 5.72, 0.005);
    EXPECT_NEAR(Host::MakeFigures(cross).rms, 1.73, 0.005);
}

// A record of the 2010 file is filed under PRN 1 and is another satellite's.
TEST(EphemerisSet, SeesARecordUnderTheWrongSatellite) {
    GNSS_REQUIRE_TEST_DATA(file, "data/brdc1820.10n");
    Host::EphemerisSet set;
    Host::LeapRule leaps;
    ASSERT_TRUE(Host::ReadNavigation({file}, false, set, leaps));
    const auto doubts = set.GetDoubts();
    ASSERT_EQ(doubts.size(), 1U);
    EXPECT_NE(doubts[0].find("brdc1820.10n:937: the record filed under G01"), std::string::npos) << doubts[0];
    // It is not the answer at its own reference time, though it lies nearest.
    const auto state = set.Calculate('G', 1, GNSS::GPSTime(1590, 367200.0), Host::Selection::Nearest);
    EXPECT_NE(state.issue, 90);
    EXPECT_EQ(state.standing, Host::Standing::Unhealthy);
    EXPECT_EQ(state.health, 63);
}

TEST(EphemerisSet, AnswersByTheChosenRule) {
    Host::RinexNavigation navigation;
    for (const double toe : {7200.0, 14400.0}) {
        auto& record = navigation.gps.emplace_back();
        record.ephemeride.prn = GNSS::PRN(7);
        record.ephemeride.reference.SetTo(2000, toe);
        record.ephemeride.posn.toe = toe;
        record.ephemeride.clock.toc = toe;
        record.ephemeride.posn.IODE = static_cast<int>(toe / 7200.0);
        record.ephemeride.posn.sqrtA = 5153.7;
        record.ephemeride.status.SetHealth(0);
        record.transmission = GNSS::GPSTime(2000, toe - 3600.0);
    }
    Host::EphemerisSet set;
    set.Add(navigation, "made");
    set.Complete();
    struct Row {
        double t;
        int nearest;
        int received;
        const char* why;
    };
    for (const Row& row : {
             Row{10799.0, 1, 1, "nearer to the first; the second has not been sent"},
             Row{10800.0, 2, 2, "a tie goes to the later; the second is sent now"},
             Row{9000.0, 1, 1, "between"},
             Row{14400.0, 2, 2, "at the second"},
         }) {
        const GNSS::GPSTime t(2000, row.t);
        EXPECT_EQ(set.Calculate('G', 7, t, Host::Selection::Nearest).issue, row.nearest) << row.why;
        EXPECT_EQ(set.Calculate('G', 7, t, Host::Selection::Received).issue, row.received) << row.why;
    }
    EXPECT_EQ(set.Calculate('G', 7, GNSS::GPSTime(2000, 3599.0), Host::Selection::Received).standing,
              Host::Standing::None);
    EXPECT_EQ(set.Calculate('G', 7, GNSS::GPSTime(2000, 22000.0), Host::Selection::Received).standing,
              Host::Standing::TooOld);
    EXPECT_EQ(set.Calculate('G', 8, GNSS::GPSTime(2000, 9000.0), Host::Selection::Nearest).standing,
              Host::Standing::None);
    EXPECT_EQ(set.Calculate('E', 8, GNSS::GPSTime(2000, 9000.0), Host::Selection::Nearest).standing,
              Host::Standing::None);
}

}  // namespace
