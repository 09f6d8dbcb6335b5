// MSAdjust on the ranges of a real receiver whose clock is more than a millisecond off: as they are, and with whole
// milliseconds taken out and put in.
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/measurement/MSAdjust.h"
#include "tests/host/receiver/ReferenceRinex.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::ECEF;
using GNSS::GPSMeas;
using GNSS::GPSTime;
using GNSS::MeasSet;
using GNSS::MSAdjust;

constexpr double MS = MSAdjust::MSRange;

// With qualities, which the file does not have.
GPSMeas::Set MakeSet(GPSMeas::Set set) {
    for (int i = 0; i < set.NmrSV(); ++i) {
        GPSMeas& meas = *set.ChangeSV(i)->ChangeMeas(0);
        meas.SetRange({meas.GetRange(), 1.0});
        meas.SetPhase({meas.GetPhase(), 0.01});
    }
    return set;
}

TEST(MSAdjustData, ClockOfARealReceiver) {
    GNSS_REQUIRE_TEST_DATA(observations, "reference/decoded_ubx_20080526.obs.gz");
    GNSS_REQUIRE_TEST_DATA(broadcast, "reference/decoded_ubx_20080526.nav");
    // The mean of the single point positions of this log, reference/spp_ubx_20080526_gps.csv, which also has the clock:
    // -304649.5979 m at the first epoch, -330866.2514 m at the last.
    const ECEF position(-3869302.0, 3436558.5, 3717357.5);
    const Host::RinexNavigation navigation = tests::ReadNavigation(broadcast);
    std::vector<GPSMeas::Set> epochs;
    for (const auto& epoch : tests::ReadObservations(observations)) epochs.push_back(MakeSet(epoch.GetGPS()));
    ASSERT_EQ(epochs.size(), 237U);

    MSAdjust plain, modulo, jumping;
    std::size_t nmrRanges = 0;
    for (std::size_t k = 0; k < epochs.size(); ++k) {
        std::vector<MSAdjust::GPSRange> computed;
        for (const auto& record : navigation.gps) {
            const GNSS::GPSEphemeride& ephemeride = record.ephemeride;
            double range = 0.0, clock = 0.0;
            GNSS::GPSEphemeride::Result result;
            for (int i = 0; i < 3; ++i) {
                const double flight = range / GNSS::LightSpeed;
                if (!ephemeride.CalculatePosn(epochs[k].GetTime() - Corvane::Time(flight), result)) break;
                const double turn = GNSS::GPSEphemeride::EarthRate.Radians() * flight;
                const ECEF& p = result.posn;
                range = std::hypot(p.GetX() + turn * p.GetY() - position.GetX(),
                                   p.GetY() - turn * p.GetX() - position.GetY(), p.GetZ() - position.GetZ());
                clock = result.clockCorrection;
            }
            if (result.valid) computed.push_back({ephemeride.prn, range - clock * GNSS::LightSpeed});
        }
        ASSERT_GE(computed.size(), 6U);

        MeasSet set(epochs[k]);
        const MSAdjust::Report report = plain.Adjust(set, computed, {});
        ASSERT_TRUE(report.adjusted);
        EXPECT_EQ(report.common, -1);
        EXPECT_EQ(report.jump, 0);
        const double clock = report.clockOffset * GNSS::LightSpeed + report.common * MS;
        if (k == 0) {
            EXPECT_NEAR(clock, -304649.6, 30.0);
        } else if (k + 1 == epochs.size()) {
            EXPECT_NEAR(clock, -330866.3, 30.0);
        }

        // The same without the milliseconds of travel, which differ by satellite, and with a clock that jumps to and
        // fro, phases alike: both give the same ranges, the second the same phases.
        GPSMeas::Set cut = epochs[k], jumped = epochs[k];
        const int jumps = static_cast<int>(k / 50 % 2);
        for (int i = 0; i < cut.NmrSV(); ++i) {
            const GPSMeas meas = epochs[k].GetSV(i).GetMeas(0);
            cut.ChangeSV(i)->ChangeMeas(0)->SetRange({std::fmod(meas.GetRange(), MS), 1.0});
            GPSMeas& moved = *jumped.ChangeSV(i)->ChangeMeas(0);
            moved.SetRange({meas.GetRange() + jumps * MS, 1.0});
            moved.SetPhase({meas.GetPhase() + jumps * 1575420.0, 0.01});
        }
        MeasSet fromCut(cut), fromJumped(jumped);
        const MSAdjust::Report reportCut = modulo.Adjust(fromCut, computed, {});
        const MSAdjust::Report reportJumped = jumping.Adjust(fromJumped, computed, {});
        EXPECT_EQ(reportJumped.jump != 0, k != 0 && k % 50 == 0) << k;
        EXPECT_EQ(reportJumped.phaseJumped, reportJumped.jump != 0) << k;
        for (int i = 0; i < cut.NmrSV(); ++i) {
            const auto number = static_cast<std::size_t>(int{cut.GetSV(i).GetId()});
            if (!report.gps[number]) continue;
            ++nmrRanges;
            const GPSMeas& whole = set.GetGPS().GetSV(i).GetMeas(0);
            ASSERT_TRUE(reportCut.gps[number].has_value());
            EXPECT_NEAR(fromCut.GetGPS().GetSV(i).GetMeas(0).GetRange(), whole.GetRange(), 1e-6);
            EXPECT_NEAR(fromJumped.GetGPS().GetSV(i).GetMeas(0).GetRange(), whole.GetRange(), 1e-6);
            EXPECT_NEAR(fromJumped.GetGPS().GetSV(i).GetMeas(0).GetPhase(), whole.GetPhase(), 1e-6);
        }
    }
    EXPECT_GT(nmrRanges, 1500U);
}

}  // namespace
