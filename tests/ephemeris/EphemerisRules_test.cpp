// The tolerances of the histories, on both sides of each; and what keeps a data-age entry from expiring.
#include "gnss/ephemeris/EphemerisRules.h"

#include <gtest/gtest.h>

#include "gnss/ephemeris/IODEData.h"
#include "gnss/platform/Clock.h"
#include "tests/ephemeris/Records.h"

namespace {

using Corvane::Time;
using GNSS::Reception;
using GPSRules = GNSS::EphemerisRules<GNSS::GPSSystem>;
using GlonassRules = GNSS::EphemerisRules<GNSS::GlonassSystem>;

TEST(EphemerisRules, Tolerances) {
    const GNSS::GPSEphemeride newest = tests::SampleGPS();
    const struct {
        double toe, reference;  // s after the newest record's
        bool isTaken;
    } gps[] = {{0.0999, 1.0, false}, {-0.0999, 1.0, false}, {0.1001, 1.0, true},
               {-0.1001, 1.0, true}, {7200.0, -5e-8, true}, {7200.0, -2e-7, false}};
    for (const auto& c : gps) {
        GNSS::GPSEphemeride record = newest;
        record.posn.toe += c.toe;
        record.reference += Time(c.reference);
        EXPECT_EQ(GPSRules::Receive(&newest, record) == Reception::BecomesNewest, c.isTaken) << c.toe << c.reference;
    }
    Corvane::Clock::SetTo(tests::SampleTime.GetUTC());
    const GNSS::Glonass::Ephemeride before = tests::SampleGlonass();
    const struct {
        double tb, reference;
        bool isTaken;
        int sequence;
    } glonass[] = {{10799.9999, 1800.0, true, 0}, {10799.9999996, 1800.0, true, -1}, {10799.0, -5e-8, true, 0},
                   {10799.0, -2e-7, false, 4},    {0.0009, 30.0, true, 5},           {0.0011, 30.0, true, 0}};
    for (const auto& c : glonass) {
        GNSS::Glonass::Ephemeride record = before;
        record.posn.tb += c.tb;
        record.posn.frameTime += 30.0;
        record.posn.posn.SetX(record.posn.posn.GetX() + 1.0);
        record.reference += Time(c.reference);
        EXPECT_EQ(GlonassRules::Receive(&before, record) != Reception::Refused, c.isTaken) << c.tb << c.reference;
        EXPECT_EQ(record.posn.sequence, c.sequence) << c.tb;
    }
    Corvane::Clock::UseSystem();
}

TEST(DataAge, CorrectionsDoNotMakeAnEphemerisExpire) {
    const Corvane::TimeDate start = tests::SampleTime.GetUTC();
    Corvane::Clock::SetTo(start);
    GNSS::IODEData data;
    data.UpdateRTCM(1, 10);
    data.UpdateEphem(1, 10, -1);
    data.UpdateRTCM(1, 11);
    Corvane::Clock::SetTo(start + Time(1000.0));
    EXPECT_FALSE(data.Purge());
    Corvane::Clock::UseSystem();
}

}  // namespace
