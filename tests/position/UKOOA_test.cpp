// The quality record of a fix, filled from a worked adjustment and figure by figure.
#include "gnss/position/UKOOA.h"

#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include "gnss/geodesy/GridCovar.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/position/UKOOADesc.h"
#include "gnss/position/UKOOAResid.h"
#include "gnss/position/UKOOAStation.h"

namespace {

using Corvane::LLSq;
using Corvane::Matrix;
using GNSS::PRN;
using GNSS::UKOOA;
using GNSS::Glonass::Slot;
using Desc = UKOOA::Desc;

// Where equator and Greenwich meet: earth-centred x is up, y is east and z is north.
const GNSS::LocalGrid& Origin() {
    static const GNSS::LocalGrid grid(GNSS::Geog(), GNSS::Spheroid::WGS84);
    return grid;
}

// Four GPS satellites, three of GLONASS and the height, with an error of 20 m in the first, before and after its
// rejection. In the order east, north, up, GPS clock, GLONASS clock a row is (-e, -n, -u, 1, 0) or (-e, -n, -u, 0, 1),
// and (0, 0, 1, 0, 0) for the height; standard deviations 1 m, height 0.5 m (weight 4). The satellites stand opposite
// one another, so A'PA is
//
//     3.1232  0       0       0     0       4 x 0.6 = 2.4; 2 x 0.28 + 1 = 1.56
//     0       1.28    0       0     0       2 x 0.64 + 2 x 0.9216 = 3.1232; 2 x 0.64 = 1.28
//     0       0       6.5968 -2.4  -1.56    4 x 0.36 + 2 x 0.0784 + 1 + 4 = 6.5968
//     0       0      -2.4     4     0
//     0       0      -1.56    0     3
//
// Without the clocks: up 6.5968 - 2.4 x 2.4 / 4 - 1.56 x 1.56 / 3 = 4.3456. Variances 1 / 3.1232, 1 / 1.28,
// 1 / 4.3456. Redundancy numbers: first 1 - 0.64 / 3.1232 - 1 / 4 = 0.5451; third 1 - 0.64 / 1.28 - 1 / 4 = 0.25;
// height 1 - 4 / 4.3456 = 0.0795; standard deviation of a residual s sqrt(r), minimal detectable bias
// (2.5758 + 0.8416) s / sqrt(r), first 3.4175 / 0.7383 = 4.6288. Its effect on east -0.8 / 3.1232 x 4.6288 = -1.1857,
// that of the height on up 4 / 4.3456 x 6.0591 = 5.5773. The rest, and the whole of the second adjustment, was
// computed in exact fractions by a script that knows nothing of this library: Q = (A'PA)^-1, v = l - A Q A'P l, and
// for the observation that is rejected the prediction l - A x with variance 1 + a Q a'.
struct Expected {
    std::array<double, 5> statistics;  // residual, w, its standard deviation, MDB, redundancy number
    GNSS::Grid extRel;
    LLSq::WTest wTest;
};
constexpr std::array<Expected, 8> Before{{
    {{11.0066, 14.9080, 0.7383, 4.6288, 0.5451}, {-1.1857, 0.0, 0.0}, LLSq::WFailedLargest},
    {{-1.4066, -1.9051, 0.7383, 4.6288, 0.5451}, {1.1857, 0.0, 0.0}, LLSq::WPassed},
    {{-4.8000, -9.6000, 0.5000, 6.8349, 0.2500}, {0.0, -4.2718, 0.0}, LLSq::WFailed},
    {{-4.8000, -9.6000, 0.5000, 6.8349, 0.2500}, {0.0, 4.2718, 0.0}, LLSq::WFailed},
    {{-5.2814, -8.8228, 0.5986, 5.7090, 0.3583}, {-1.7548, 0.0, 0.3153}, LLSq::WFailed},
    {{5.0629, 8.4578, 0.5986, 5.7090, 0.3583}, {1.7548, 0.0, 0.3153}, LLSq::WFailed},
    {{0.2185, 0.2789, 0.7834, 4.3626, 0.6136}, {0.0, 0.0, -0.4819}, LLSq::WPassed},
    {{0.0393, 0.2789, 0.1410, 6.0591, 0.0795}, {0.0, 0.0, 5.5773}, LLSq::WPassed},
}};
// The first, third and fifth of the second adjustment.
constexpr std::array<Expected, 3> After{{
    {{20.1925, 14.9080, 1.3545, 4.6288, 0.0000}, {0.0, 0.0, 0.0}, LLSq::WFailed},
    {{0.2481, 0.6745, 0.3679, 9.2895, 0.1353}, {-1.0913, -5.8059, 0.0}, LLSq::WPassed},
    {{-0.3160, -0.6353, 0.4974, 6.8708, 0.2474}, {-2.9059, 0.0, 0.3795}, LLSq::WPassed},
}};

void ExpectFigures(const UKOOA::Resid& resid, const Expected& expected) {
    for (std::size_t k = 0; k < 5; ++k) EXPECT_NEAR(resid.GetStatistics()[k], expected.statistics[k], 6e-5) << k;
    EXPECT_NEAR(resid.GetExtRel().GetEast(), expected.extRel.GetEast(), 6e-5);
    EXPECT_NEAR(resid.GetExtRel().GetNorth(), expected.extRel.GetNorth(), 6e-5);
    EXPECT_NEAR(resid.GetExtRel().GetHeight(), expected.extRel.GetHeight(), 6e-5);
    EXPECT_EQ(resid.GetWTest(), expected.wTest);
}

TEST(UKOOA, TakesOverAWorkedAdjustment) {
    constexpr std::array<std::array<double, 3>, 7> Sights{{{0.8, 0.0, 0.6},
                                                           {-0.8, 0.0, 0.6},
                                                           {0.0, 0.8, 0.6},
                                                           {0.0, -0.8, 0.6},
                                                           {0.96, 0.0, 0.28},
                                                           {-0.96, 0.0, 0.28},
                                                           {0.0, 0.0, 1.0}}};
    constexpr std::array Observed{20.3, -0.4, 0.2, 0.5, -0.3, 0.1, 0.4, -0.2};
    LLSq llsq(5);
    Desc::List descs;
    for (int i = 0; i < 7; ++i) {
        const auto& [e, n, u] = Sights[static_cast<std::size_t>(i)];
        const bool isGPS = i < 4;
        ASSERT_TRUE(llsq.AddObs(std::array{-u, -e, -n, isGPS ? 1.0 : 0.0, isGPS ? 0.0 : 1.0},
                                Observed[static_cast<std::size_t>(i)], 1.0));
        descs.push_back(isGPS ? Desc(i == 0 ? 7 : 9, PRN(i + 1)) : Desc(Desc::UnCorrID, Slot(i)));
    }
    ASSERT_TRUE(llsq.AddObs(std::array{1.0, 0.0, 0.0, 0.0, 0.0}, Observed[7], 0.5));
    descs.push_back(UKOOA::Height);
    UKOOA ukooa;
    ukooa.AddStation(9, "Nine", 109);
    ukooa.AddStation(7, "Seven", 107);

    ASSERT_TRUE(llsq.Solve());
    ukooa.Set(descs, llsq.GetStats(), Origin(), llsq.GetCovar(), 2);
    ASSERT_EQ(ukooa.NmrResid(), 8);
    for (int i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(ukooa.GetResid(i).GetDesc(), descs[static_cast<std::size_t>(i)]);
        ExpectFigures(ukooa.GetResid(i), Before[static_cast<std::size_t>(i)]);
    }
    EXPECT_EQ(ukooa.NmrFreedom(), 3);
    EXPECT_NEAR(ukooa.UnitVariance(), 74.26079, 6e-6);
    EXPECT_NEAR(ukooa.RMS(), 5.27705, 6e-6);
    EXPECT_TRUE(ukooa.FTestFailed());
    EXPECT_EQ(ukooa.NmrUsedStation(), 2);
    EXPECT_NEAR(ukooa.GetSD().GetEast(), 0.56585, 6e-6);  // 1 / sqrt(3.1232)
    EXPECT_NEAR(ukooa.GetSD().GetNorth(), 0.88388, 6e-6);
    EXPECT_NEAR(ukooa.GetSD().GetHeight(), 0.47971, 6e-6);
    EXPECT_EQ(ukooa.GetSD().GetPercent(), Corvane::NormPercent::OneSD);
    EXPECT_NEAR(ukooa.GetHorizEllipse().GetSemiMajor(), 0.88388, 6e-6);
    EXPECT_NEAR(ukooa.GetHorizEllipse().GetSemiMinor(), 0.56585, 6e-6);

    ASSERT_EQ(llsq.GetStats().IndexToReject(), 0);
    llsq.SetRejected(0, true);
    ASSERT_TRUE(llsq.Solve());
    ukooa.ResetUsedStations();
    ukooa.Set(descs, llsq.GetStats(), Origin(), llsq.GetCovar(), 2);
    for (int i = 0; i < 3; ++i) ExpectFigures(ukooa.GetResid(2 * i), After[static_cast<std::size_t>(i)]);
    EXPECT_TRUE(ukooa.GetResid(0).IsRejected());
    EXPECT_EQ(ukooa.NmrFreedom(), 2);
    EXPECT_NEAR(ukooa.UnitVariance(), 0.26633, 6e-6);
    EXPECT_EQ(ukooa.GetFTestResult(), LLSq::FPassed);
    EXPECT_NEAR(ukooa.GetExtRel2D().value, 5.9076, 6e-5);  // of the third or the fourth, which stand alike
    EXPECT_NEAR(ukooa.GetExtRel3D().value, 5.9076, 6e-5);
    EXPECT_TRUE(ukooa.GetExtRel2D().index == 2 || ukooa.GetExtRel2D().index == 3);
    EXPECT_NEAR(ukooa.GetIntRel(), 9.2895, 6e-5);
    EXPECT_NEAR(ukooa.GetSD().GetEast(), 0.66374, 6e-6);
    EXPECT_EQ(ukooa.NmrUsedStation(), 1);  // the one of the rejected observation is not
    EXPECT_FALSE(ukooa.FindStation(7)->IsUsed());
    EXPECT_TRUE(ukooa.FindStationByRTCM(109)->IsUsed());
}

LLSq::Resid Statistic(bool rejected, double mdb, const std::array<double, 3>& extRel) {
    return {rejected, {0.1, 0.2, 0.5, mdb, 0.5}, LLSq::WPassed, extRel};
}

TEST(UKOOA, ListsAndCovarianceThatDoNotFit) {
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    LLSq::Stats stats(LLSq::Confidence95, LLSq::Power90, 4, 1.5, LLSq::FPassed, 0.3);
    stats.AddResid(Statistic(false, 2.0, {0.0, 2.0, -6.0}));  // up, east, north
    stats.AddResid(Statistic(true, 8.0, {90.0, 90.0, 90.0}));
    stats.AddResid(Statistic(false, -1.0, {8.0, 1.0, 0.0}));
    stats.AddResid(Statistic(false, 3.0, {5.0, 6.0, 2.0}));  // no further than the first and the third
    stats.AddResid(Statistic(false, 3.0, {NaN, NaN, NaN}));
    stats.AddResid(Statistic(false, 99.0, {99.0, 99.0, 99.0}));  // has no description
    const Desc::List descs{Desc(5, PRN(1)), Desc(6, PRN(1)), Desc(5, PRN(1)), Desc(Desc::UnCorrID, Slot(1)),
                           Desc(8, Slot(1))};
    UKOOA ukooa;
    for (const int ident : {6, 5, 0, -1, 5}) ukooa.AddStation(ident, "", 10 - ident);
    // Semi-axes 3 and 1, the longer one 30 degrees east of north: 9 / 4 + 3 / 4, 27 / 4 + 1 / 4, (9 - 1) sin 30 cos 30.
    const double covariance = std::sqrt(12.0);
    const Matrix covar(3, 3, {1.0, 0.0, 0.0, 0.0, 3.0, covariance, 0.0, covariance, 7.0});
    ukooa.Set(descs, stats, Origin(), covar, 3);
    EXPECT_EQ(ukooa.NmrResid(), 5);
    EXPECT_EQ(ukooa.NmrFreedom(), 3);
    EXPECT_EQ(ukooa.GetConfidence(), LLSq::Confidence95);
    EXPECT_EQ(ukooa.GetPower(), LLSq::Power90);
    EXPECT_EQ(ukooa.RMS(), 0.3);
    EXPECT_EQ(ukooa.NmrRequestedStation(), 3);
    EXPECT_EQ(ukooa.GetExtRel2D(), (UKOOA::ExtRel{std::sqrt(40.0), 0}));
    EXPECT_EQ(ukooa.GetExtRel3D(), (UKOOA::ExtRel{std::sqrt(65.0), 2}));
    EXPECT_EQ(ukooa.GetIntRel(), 8.0);
    EXPECT_EQ(ukooa.NmrStation(), 4);
    EXPECT_EQ(ukooa.GetStation(0).GetIdent(), -1);
    EXPECT_EQ(ukooa.NmrUsedStation(), 1);  // 5 once; 6 is rejected, 8 unknown, and 0 no station
    int observations = 0;
    int rejected = 0;
    ukooa.GetPRNStatus(PRN(1), observations, rejected);
    EXPECT_EQ(std::pair(observations, rejected), std::pair(3, 1));
    ukooa.GetSlotStatus(Slot(1), observations, rejected);
    EXPECT_EQ(std::pair(observations, rejected), std::pair(2, 0));
    const Corvane::Ellipse ellipse = ukooa.GetHorizEllipse();
    EXPECT_NEAR(ellipse.GetSemiMajor(), 3.0, 1e-12);
    EXPECT_NEAR(ellipse.GetSemiMinor(), 1.0, 1e-12);
    EXPECT_NEAR(ellipse.GetOrientation().Degrees(), 30.0, 1e-9);

    // A copy has records of its own.
    const UKOOA copy = ukooa;
    ukooa.Set({descs.begin(), descs.begin() + 2},
              {LLSq::Confidence95, LLSq::Power90, INT32_MAX, 1.5, LLSq::FPassed, 0.3}, Origin(), Matrix(2, 2), 3);
    EXPECT_EQ(ukooa.NmrFreedom(), INT32_MAX);  // two more, but held
    EXPECT_EQ(ukooa.GetSD().GetEast(), 0.0);
    EXPECT_EQ(ukooa.GetHorizEllipse(), ellipse);
    EXPECT_EQ(ukooa.GetIntRel(), 0.0);
    ukooa.ResetStations();
    EXPECT_EQ(std::pair(ukooa.NmrStation(), ukooa.NmrUsedStation()), std::pair(0, 0));
    ukooa.SetPositionStats(copy.GetSD(), Corvane::Ellipse());
    EXPECT_EQ(ukooa.GetSD().GetNorth(), copy.GetSD().GetNorth());
    EXPECT_EQ(ukooa.GetHorizEllipse(), Corvane::Ellipse());
    ukooa = copy;
    ukooa.SetBasicStats(LLSq::Confidence99, LLSq::Power80, 7, 2.5, LLSq::FFailed, 0.6, 4.0, 5.0);
    EXPECT_EQ(ukooa.NmrFreedom(), 7);
    EXPECT_EQ(ukooa.GetExtRel2D(), (UKOOA::ExtRel{4.0, -1}));
    EXPECT_EQ(ukooa.GetExtRel3D(), (UKOOA::ExtRel{5.0, -1}));
    ukooa.Reset();
    EXPECT_EQ(ukooa.NmrResid() + ukooa.NmrStation(), 0);
    EXPECT_EQ(copy.NmrResid(), 5);
    EXPECT_TRUE(copy.FindStation(5)->IsUsed());
    EXPECT_EQ(copy.FindStation(4), nullptr);
    for (const int outside : {-1, 5, INT32_MAX, INT32_MIN}) {
        EXPECT_FALSE(copy.GetResid(outside).GetDesc().IsValid());
        EXPECT_EQ(copy.GetStation(outside).GetIdent(), 0);
    }
}

TEST(UKOOA, DescriptionsCompareByStationAndSatellite) {
    const Desc gps(3, PRN(5));
    const Desc glonass(3, Slot(5));
    EXPECT_TRUE(gps.IsTheSame(Desc(3, PRN(5))) && !gps.IsTheSame(glonass) && !glonass.IsTheSame(gps));
    EXPECT_FALSE(gps.IsTheSame(Desc(4, PRN(5))));
    EXPECT_TRUE(gps.IsTheSameSV(Desc(4, PRN(5))) && !gps.IsTheSameSV(Desc(Desc::HeightID, PRN(5))));
    EXPECT_TRUE(UKOOA::Height.IsTheSameSV(Desc(Desc::HeightID, PRN(5))) && !UKOOA::Height.IsTheSameSV(gps));
    EXPECT_TRUE(UKOOA::Height.IsHeight() && !UKOOA::Height.IsPRNBased() && !UKOOA::Height.IsSlotBased());

    UKOOA ukooa;
    for (const double sd : {-0.5, 0.5}) ukooa.AddResid(gps, false, 0, 0, sd, 0, 0, LLSq::WTest(3), GNSS::Grid());
    EXPECT_EQ(ukooa.GetResid(0).GetResidVar(), -1.0);
    EXPECT_EQ(ukooa.GetResid(1).GetResidVar(), 0.25);
    EXPECT_TRUE(ukooa.GetResid(0).WTestFailed());

    // Neither the height nor what is no observation counts for a satellite that is null.
    for (const Desc& desc : {UKOOA::Height, Desc()}) {
        ukooa.AddResid(desc, false, 0, 0, 0, 0, 0, LLSq::WFailedLargest, GNSS::Grid());
        EXPECT_TRUE(ukooa.GetResid(ukooa.NmrResid() - 1).WTestFailed());
    }
    int observations = -1;
    int rejected = -1;
    ukooa.GetPRNStatus(PRN(), observations, rejected);
    EXPECT_EQ(std::pair(observations, rejected), std::pair(0, 0));
    ukooa.GetSlotStatus(Slot(), observations, rejected);
    EXPECT_EQ(std::pair(observations, rejected), std::pair(0, 0));
}

}  // namespace
