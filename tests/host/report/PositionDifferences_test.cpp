#include "host/report/PositionDifferences.h"

#include <gtest/gtest.h>

#include "tests/host/report/MadeFix.h"

namespace {

// The receiver's, at home, `seconds` after the fourth day's begin.
Host::ReceiverFix Theirs(double seconds, int type, bool valid, bool hasPlace = true) {
    Host::ReceiverFix fix;
    fix.time = GNSS::GPSTime(2111, 4 * 86400.0 + seconds);
    fix.type = type;
    fix.valid = valid;
    if (!hasPlace) return fix;
    fix.latitude = 55.5;
    fix.longitude = 8.5;
    fix.height = 60.0;
    return fix;
}

TEST(ReceiverComparison, PairsFixesOfOneTime) {
    Host::ReceiverComparison comparison;
    constexpr double Clock = -4e-3;  // s, of the receiver
    for (int i = 0; i < 100; ++i) {
        // At a quarter of the times the receiver has no fix of its own, or does not stand by the one it tells.
        comparison.Add(Theirs(i, 0, false, i % 8 != 0));
        comparison.Add(Theirs(i, i % 8 == 4 ? 2 : 3, true, i % 8 != 0));
        comparison.Add(Theirs(i, 0, false, false));
        Host::PublishedFix ours = tests::MakeFix(i + Clock, {3.0, i % 2 == 0 ? 4.0 : -4.0, -1.0});
        ours.result.clockGPS = Clock * 299792458.0;
        if (i % 2 == 1) comparison.Add(ours.result);
        // Not of this time, and one that is far from all.
        comparison.Add(Theirs(i + 0.5, 3, true));
        ours.result.valid = false;
        comparison.Add(ours.result);
    }
    comparison.Add(tests::MakeFix(1e6).result);
    comparison.Finish();
    EXPECT_EQ(comparison.NmrReceiverFixes(), 100 - 25 + 100);
    const Host::DifferenceFigures figures = comparison.Summarise();
    EXPECT_EQ(figures.count, 50);
    EXPECT_NEAR(figures.mean[0], 3.0, 1e-6);
    EXPECT_NEAR(figures.mean[1], -4.0, 1e-6);
    EXPECT_NEAR(figures.mean[2], -1.0, 1e-5);
    EXPECT_NEAR(figures.horizontalMean, 5.0, 1e-6);
    EXPECT_NEAR(figures.horizontalRms, 5.0, 1e-6);
    EXPECT_NEAR(figures.horizontal95, 5.0, 1e-5);
    EXPECT_NEAR(figures.verticalRms, 1.0, 1e-5);
}

TEST(ReceiverComparison, HasFiguresOfASpread) {
    Host::DifferenceTally tally;
    for (int i = 1; i <= 101; ++i) tally.Add({3.0 * i, 4.0 * i, i % 2 == 0 ? 1.0 * i : -1.0 * i});
    tally.Add({Host::FixFigures::None, 0.0, 0.0});
    const Host::DifferenceFigures figures = tally.Summarise();
    EXPECT_EQ(figures.count, 101);
    EXPECT_DOUBLE_EQ(figures.horizontalMean, 5.0 * 51.0);
    EXPECT_DOUBLE_EQ(figures.horizontalRms, 5.0 * figures.verticalRms);
    EXPECT_DOUBLE_EQ(figures.horizontal95, 5.0 * 96.0);
    EXPECT_DOUBLE_EQ(figures.vertical95, 96.0);
    EXPECT_EQ(Host::DifferenceTally().Summarise().count, 0);
}

}  // namespace
