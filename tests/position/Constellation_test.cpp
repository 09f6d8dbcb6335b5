#include "gnss/position/Constellation.h"

#include <gtest/gtest.h>

namespace {

using Corvane::Angle;
using GNSS::Constellation;
using GNSS::PRN;
using GNSS::Glonass::Slot;

TEST(Constellation, KeepsEntriesInTheirOrderAndCountsTheirStates) {
    Constellation constellation;
    constellation.Add(PRN(9), Angle(0.1), Angle(0.2), 3, true);
    constellation.Add(PRN(4), Angle(0.3), Angle(0.4), 1, false);
    constellation.Add(PRN(9), Angle(0.5), Angle(0.6), 3, false);  // replaces nothing
    constellation.Add(Slot(4), Angle(0.7), Angle(0.8), 3);

    ASSERT_EQ(constellation.NmrSV(), 3);
    ASSERT_EQ(constellation.NmrGlonassSV(), 1);
    EXPECT_EQ(constellation.GetSV(0).GetPRN(), PRN(9));
    EXPECT_EQ(constellation.GetSV(0).GetElevation(), Angle(0.1));
    EXPECT_EQ(constellation.GetSV(0).GetAzimuth(), Angle(0.2));
    EXPECT_TRUE(constellation.GetSV(0).IsExtra());
    EXPECT_FALSE(constellation.GetSV(2).IsExtra());
    EXPECT_EQ(constellation.GetGlonassSV(0).GetSlot(), Slot(4));
    EXPECT_TRUE(constellation.GetSV(3).GetPRN().IsNull());
    EXPECT_TRUE(constellation.GetGlonassSV(-1).GetSlot().IsNull());

    EXPECT_EQ(constellation.Find(PRN(9)), 0);
    EXPECT_EQ(constellation.Find(PRN(4)), 1);
    EXPECT_EQ(constellation.Find(PRN(5)), -1);
    EXPECT_EQ(constellation.Find(Slot(4)), 0);
    EXPECT_EQ(constellation.Find(Slot(9)), -1);

    EXPECT_EQ(constellation.NmrState(3, false), 2);
    EXPECT_EQ(constellation.NmrState(3, true), 3);
    EXPECT_EQ(constellation.NmrState(0, true), 0);

    constellation.ClearGPS();
    EXPECT_EQ(constellation.NmrState(3, true), 1);
    constellation.Reset();
    EXPECT_EQ(constellation.NmrSV() + constellation.NmrGlonassSV(), 0);
}

}  // namespace
