// Time conversions and identifiers use no heap.
#include <gtest/gtest.h>

#include "gnss/time/GPSTime.h"
#include "gnss/time/GloTime.h"
#include "gnss/time/GlonassFrequency.h"
#include "gnss/time/PRN.h"
#include "tests/support/CountingNew.h"

namespace {

using GNSS::GloTime;
using GNSS::GPSTime;

TEST(TimeAllocations, None) {
    double sum = 0.0;
    const auto convert = [&](int week) {
        const GPSTime time(week, 259217.0);
        const Corvane::TimeDate utc = time.GetUTC();
        GPSTime back;
        back.SetFromUTC(utc);
        const GloTime glonass(back + Corvane::Time(1.0));
        GloTime resolved(glonass.GetDay(), glonass.GetSeconds(), GloTime::UnknownYear);
        resolved.ResolveLeapYear(utc.GetDate());
        sum += (resolved - glonass) + GloTime::CalcSiderealTime(glonass.GetDate());
        sum += GPSTime(Corvane::Now).GetClosest(1.0).GetSeconds() + GPSTime::LeapSecondZone();
        sum += GNSS::PRN(week % 33).Next();
        sum += static_cast<double>(GNSS::Glonass::Frequency::L1.GetName().Length());
    };
    convert(1850);  // a thread's first lock may need room
    const long before = tests::CountAllocations();
    for (int week = 1800; week < 2300; ++week) convert(week);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    // The counter counts.
    const auto* allocated = new GNSS::PRN::List;
    EXPECT_GT(tests::CountAllocations(), before);
    delete allocated;
    EXPECT_NE(sum, 0.0);
}

}  // namespace
