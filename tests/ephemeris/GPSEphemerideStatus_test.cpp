// The status words of a GPS ephemeride and the tables behind them.
#include "gnss/ephemeris/GPSEphemerideStatus.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

using Status = GNSS::GPSEphemerideStatus;

TEST(GPSEphemerideStatus, EverySetterMarksItsValue) {
    struct Row {
        void (*set)(Status&);
        int flag;
    };
    const Row rows[] = {
        {[](Status& s) { s.SetAccuracy(3); }, 1},   {[](Status& s) { s.SetHealth(63); }, 2},
        {[](Status& s) { s.SetCurveFit(6); }, 4},   {[](Status& s) { s.SetCurveFit(1, 240); }, 4},
        {[](Status& s) { s.SetL2Codes('\2'); }, 8}, {[](Status& s) { s.SetL2PData(true); }, 16},
        {[](Status& s) { s.SetASFlag(1); }, 32},    {[](Status& s) { s.SetAlert(1); }, 4},
    };
    Status all;
    EXPECT_TRUE(all.IsValid(0));
    EXPECT_EQ(all.GetURA(), 15);
    for (const Row& row : rows) {
        Status one;
        row.set(one);
        row.set(all);
        for (int bit = 1; bit < 64; bit *= 2) EXPECT_EQ(one.IsValid(bit), bit == row.flag) << row.flag << ' ' << bit;
    }
    EXPECT_TRUE(all.IsValid(63));
    EXPECT_FALSE(all.IsValid(127));
    EXPECT_FALSE(all.IsHealthy());
    EXPECT_EQ(all.GetURA(), 3);
    EXPECT_EQ(all.GetHealth(), 63);
    EXPECT_EQ(all.GetCurveFit(), 8);
    EXPECT_EQ(all.GetL2Codes(), '\2');
    EXPECT_TRUE(all.HasL2PData());
    EXPECT_EQ(all.GetASFlag(), 1);
    EXPECT_EQ(all.GetAlert(), 1);
}

TEST(GPSEphemerideStatus, FitIntervalOfTheIODC) {
    struct Row {
        int first, last, hours;
    };
    const Row rows[] = {{-1, 239, 6},   {240, 247, 8},     {248, 255, 14},    {256, 495, 6},
                        {496, 496, 14}, {497, 503, 26},    {504, 510, 50},    {511, 511, 74},
                        {512, 751, 6},  {752, 756, 74},    {757, 763, 98},    {764, 767, 122},
                        {768, 1007, 6}, {1008, 1010, 122}, {1011, 1020, 146}, {1021, 1030, 6}};
    for (const Row& row : rows) {
        for (int iodc = row.first; iodc <= row.last; ++iodc) {
            Status status;
            status.SetCurveFit(1, iodc);
            EXPECT_EQ(status.GetCurveFit(), row.hours) << iodc;
            status.SetCurveFit(0, iodc);
            EXPECT_EQ(status.GetCurveFit(), 4) << iodc;
        }
    }
}

TEST(GPSEphemerideStatus, RangeAccuracy) {
    struct Row {
        int index;
        double metres, lower, upper;
    };
    const Row rows[] = {
        {-1, 0.125, 0.0, 0.0},
        {0, 2.0, 0.0, 2.4},
        {1, 2.8, 2.4, 3.4},
        {2, 4.0, 3.4, 4.85},
        {3, 5.7, 4.85, 6.85},
        {4, 8.0, 6.85, 9.65},
        {5, 11.3, 9.65, 13.65},
        {6, 16.0, 13.65, 24.0},
        {7, 32.0, 24.0, 48.0},
        {8, 64.0, 48.0, 96.0},
        {9, 128.0, 96.0, 192.0},
        {10, 256.0, 192.0, 384.0},
        {11, 512.0, 384.0, 768.0},
        {12, 1024.0, 768.0, 1536.0},
        {13, 2048.0, 1536.0, 3072.0},
        {14, 4096.0, 3072.0, 6144.0},
        {15, 32767.0, 6144.0, 12288.0},
        {16, 16384.0, 12288.0, 12288.0},
        {std::numeric_limits<int>::min(), 0.0, 0.0, 0.0},
        {std::numeric_limits<int>::max(), std::numeric_limits<double>::infinity(), 12288.0, 12288.0},
    };
    for (const Row& row : rows) {
        Status status;
        status.SetAccuracy(row.index);
        EXPECT_EQ(status.GetURAMetres(), row.metres) << row.index;
        EXPECT_EQ(Status::GetURAMetres(row.index, false), row.lower) << row.index;
        EXPECT_EQ(Status::GetURAMetres(row.index, true), row.upper) << row.index;
    }
}

}  // namespace
