// Nothing that is computed from an almanac allocates.
#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/almanac/AlmanacGlonassOrbit.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacSV.h"
#include "tests/support/CountingNew.h"

namespace {

using Corvane::Angle;
using GNSS::Almanac;
using GNSS::GPSTime;

TEST(AlmanacAllocation, ComputationsDoNotAllocate) {
    const GPSTime t(2363, 455900.0);
    Almanac almanac;
    Almanac::SV sv;
    sv.prn = 5;
    sv.sqrtA = 5153.7;
    Almanac::GlonassSV glonass;
    glonass.slot = 7;
    glonass.time = t;
    glonass.day = GNSS::GloTime(t).GetDay();
    ASSERT_TRUE(almanac.UpdateSV(sv) && almanac.UpdateGlonassSV(glonass));
    Almanac::Calculator calculator(almanac);

    const long before = tests::CountAllocations();
    GNSS::ECEF posn;
    double value = 0.0;
    Corvane::TimeDate utc;
    Almanac::GlonassSV::Orbit orbit;
    const bool isAll =
        calculator.CalculatePosn(sv.prn, t, posn, value) && calculator.CalculatePosn(glonass.slot, t, posn) &&
        orbit.Calculate(glonass, GNSS::GloTime(t)) && calculator.GetGlonassIonoSF(glonass.slot, value) &&
        calculator.CalcUTC(t, utc) &&
        calculator.CalculateIonoDelay(t, GNSS::Latitude(47.0), GNSS::Longitude(6.0), Angle(0.5), Angle(1.0), value);
    calculator.SetAlmanac(almanac);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    EXPECT_TRUE(isAll);
}

}  // namespace
