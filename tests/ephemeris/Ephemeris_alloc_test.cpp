// Positions and velocities, which every epoch asks of every satellite, use no heap.
#include <cstddef>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "tests/ephemeris/Records.h"
#include "tests/support/CountingNew.h"

namespace {

using Corvane::Time;
using GNSS::GPSTime;
using tests::SampleTime;

TEST(EphemerisAllocations, None) {
    const GNSS::GPSEphemeride gps = tests::SampleGPS();
    const GNSS::Glonass::Ephemeride glonass = tests::SampleGlonass();
    GNSS::GPSEphemeride unhealthy = gps;
    unhealthy.status.SetHealth(1);
    // In the first hour of a week, where the leap-second rule is asked.
    const GPSTime sunday(1860, 100.0);
    GNSS::Glonass::Ephemeride early = glonass;
    early.posn.day = GNSS::GloTime(sunday).GetDay();
    early.posn.tb = 10800.0;

    int answered = 0;
    double sum = 0.0;
    const auto ask = [&](double seconds) {
        GNSS::GPSEphemeride::Result a;
        answered += gps.CalculatePosn(SampleTime + Time(seconds), a) ? 1 : 0;
        answered += unhealthy.CalculatePosn(SampleTime, a) ? 1 : 0;
        sum += gps.CalculateVely(SampleTime + Time(seconds)).GetX();
        GNSS::Glonass::Ephemeride::Result b;
        answered += glonass.CalculatePosn(SampleTime + Time(seconds), b, true) ? 1 : 0;
        answered += early.CalculatePosn(sunday + Time(1e-3 * seconds), b, false) ? 1 : 0;
        answered += glonass.IsPlausible() ? 1 : 0;
        sum += glonass.TbDifference(early).Seconds();
    };
    ask(0.0);  // a thread's first lock may need room
    answered = 0;
    const long before = tests::CountAllocations();
    for (double seconds = -9000.0; seconds <= 9000.0; seconds += 60.0) ask(seconds);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    // GPS answers within 7500 s of toc (it stands 33 s early), GLONASS within 2100 s of tb, the others always.
    EXPECT_EQ(answered, 250 + 71 + 3 * 301);
    EXPECT_NE(sum, 0.0);
    // The counter counts.
    const std::vector<std::byte> bytes = tests::Bytes(gps);
    EXPECT_GT(tests::CountAllocations(), before);
}

TEST(EphemerisAllocations, NoneThroughTheCalculatorsAndForRepeats) {
    GNSS::GPSEphemeris gps;
    GNSS::Glonass::Ephemeris glonass;
    EXPECT_TRUE(gps.Update(tests::SampleGPS()));
    EXPECT_TRUE(glonass.Update(tests::SampleGlonass()));
    const GNSS::GPSEphemerisCalc gpsCalc(std::make_shared<const GNSS::GPSEphemeris>(gps));
    const GNSS::Glonass::EphemerisCalc glonassCalc(std::make_shared<const GNSS::Glonass::Ephemeris>(glonass));
    GNSS::GPSEphemeride::Result a;
    GNSS::Glonass::Ephemeride::Result b;
    const long before = tests::CountAllocations();
    EXPECT_TRUE(gpsCalc.CalculateHealthyPosn(17, SampleTime, a));
    EXPECT_TRUE(glonassCalc.CalculateHealthyPosn(7, SampleTime, b));
    EXPECT_FALSE(gpsCalc.CalculateSecondPosn(17, SampleTime, a));
    EXPECT_FALSE(glonassCalc.CalculatePosn(8, SampleTime, b));
    EXPECT_FALSE(gps.Update(tests::SampleGPS()));
    EXPECT_FALSE(glonass.Update(tests::SampleGlonass()));
    EXPECT_EQ(tests::CountAllocations() - before, 0);
}

}  // namespace
