// Nothing that is computed from an almanac allocates.
#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/almanac/AlmanacGlonassOrbit.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "tests/support/CountingNew.h"

namespace {

using Corvane::Angle;
using GNSS::Almanac;
using GNSS::GPSTime;

TEST(AlmanacAllocation, ComputationsDoNotAllocate) {
    const GPSTime t(2363, 455900.0);
    Almanac::SV sv;
    sv.sqrtA = 5153.7;
    sv.e = 0.01;
    Almanac::GlonassSV glonass;
    glonass.DDrac = -2655.0;
    glonass.Eccent = 0.001;
    const Almanac::Iono iono;
    const Almanac::UTC utc;

    const long before = tests::CountAllocations();
    GNSS::ECEF posn;
    double clockOffset = 0.0;
    sv.CalculatePosn(t, posn, clockOffset);
    glonass.CalculatePosn(t, posn);
    Almanac::GlonassSV::Orbit orbit;
    orbit.Calculate(glonass, GNSS::GloTime(t));
    const double delay = iono.CalculateDelay(t, GNSS::Latitude(47.0), GNSS::Longitude(6.0), Angle(0.5), Angle(1.0));
    const Corvane::TimeDate date = utc.CalcUTC(t);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    EXPECT_GT(delay, 1.0);
    EXPECT_EQ(date.GetDate().Year(), 2025);
}

TEST(AlmanacAllocation, TheCalculatorDoesNotAllocate) {
    const GPSTime t(2363, 455900.0);
    Almanac almanac;
    Almanac::SV sv;
    sv.prn = 5;
    sv.sqrtA = 5153.7;
    ASSERT_TRUE(almanac.UpdateSV(sv));
    Almanac::GlonassSV glonass;
    glonass.slot = 7;
    glonass.time = t;
    glonass.day = GNSS::GloTime(t).GetDay();
    ASSERT_TRUE(almanac.UpdateGlonassSV(glonass));
    Almanac::Calculator calculator(almanac);

    const long before = tests::CountAllocations();
    GNSS::ECEF posn;
    double value = 0.0;
    Corvane::TimeDate utc;
    bool found = calculator.CalculatePosn(sv.prn, t, posn, value) && calculator.CalculatePosn(glonass.slot, t, posn);
    found = found && calculator.GetGlonassIonoSF(glonass.slot, value) && calculator.CalcUTC(t, utc);
    calculator.CalculateIonoDelay(t, GNSS::Latitude(47.0), GNSS::Longitude(6.0), Angle(0.5), Angle(1.0), value);
    calculator.SetAlmanac(almanac);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    EXPECT_TRUE(found);
}

}  // namespace
