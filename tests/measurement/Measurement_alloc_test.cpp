// Asking a set for its measurements and adjusting it use no heap.
#include <vector>

#include <gtest/gtest.h>

#include "gnss/measurement/MSAdjust.h"
#include "gnss/measurement/MeasAvail.h"
#include "tests/support/CountingNew.h"

namespace {

using GNSS::GPSFreqy;
using GNSS::GPSMeas;
using GNSS::MSAdjust;
using GNSS::PRN;

TEST(MeasurementAllocations, None) {
    GPSMeas::Set gps(GNSS::GPSTime(2000, 0.0));
    std::vector<MSAdjust::GPSRange> computed;
    for (int prn = 1; prn <= 12; ++prn) {
        for (const auto& freqy : {GPSFreqy::L1, GPSFreqy::L2}) {
            GPSMeas meas(freqy);
            meas.SetRange({2e7 + prn * MSAdjust::MSRange, 1.0});
            gps.AddMeas(PRN(prn), meas);
        }
        computed.push_back({PRN(prn), 2e7});
    }
    GNSS::MeasSet set(gps);
    gps.Reset();  // nobody shares the set now
    MSAdjust adjust;
    double sum = set.GetGPS().GetSV(99).GetMeas(99).GetRange();
    const long before = tests::CountAllocations();
    EXPECT_EQ(adjust.Adjust(set, computed, {}).nmrAgree, 12);
    GNSS::MeasAvail().Apply(set);
    Corvane::QValue delay;
    for (int i = 0; i < set.GetGPS().NmrSV(); ++i) {
        sum += set.GetGPS().GetSV(i).CalcIonoDelay(delay, false, false) ? delay.Value() : 1e9;
        sum += set.GetGPS().GetSV(i).GetMeas(1).GetRange() - 2e7;
    }
    const GNSS::MeasSet copy = set;
    EXPECT_TRUE(copy.GetGPS().SharesWith(set.GetGPS()));
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    EXPECT_NEAR(sum, 0.0, 1e-3);
    set.GetGPS().AddSV(PRN(30));
    EXPECT_GT(tests::CountAllocations(), before);
}

}  // namespace
