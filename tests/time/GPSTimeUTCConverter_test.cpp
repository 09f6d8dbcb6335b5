// The leap-second rule: GPS time to UTC and back.
#include "gnss/time/GPSTimeUTCConverter.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace {

using Corvane::Date;
using Corvane::Time;
using Corvane::TimeDate;
using Corvane::TimeOfDay;
using GNSS::GPSTime;

// 1 July 2015: 16 leap seconds before, 17 after (IERS Bulletin C 49).
const GPSTime::UTCConverter July2015(GPSTime(1851, 259200.0), 16, 17);

TEST(UTCConverter, PrintsTheInsertedSecond) {
    const struct {
        double seconds;
        const char* utc;
    } rows[] = {
        {259215.0, "2015-06-30 23:59:59.00"},  {259215.99, "2015-06-30 23:59:59.99"},
        {259216.0, "2015-06-30 23:59:60.00"},  {259216.5, "2015-06-30 23:59:60.50"},
        {259216.99, "2015-06-30 23:59:60.99"}, {259217.0, "2015-07-01 00:00:00.00"},
        {259218.0, "2015-07-01 00:00:01.00"},
    };
    for (const auto& row : rows) EXPECT_EQ(July2015.Convert(GPSTime(1851, row.seconds)).Print(2), row.utc);
}

TEST(UTCConverter, ReversesOutsideTheInsertedSecond) {
    for (const double fromLeap : {-1e9, -90000.0, -1.001, 0.0, 1e-3, 86400.0, 1e9}) {
        const GPSTime gps = July2015.GetLeapTime() + Time(fromLeap);
        EXPECT_NEAR((July2015.Reverse(July2015.Convert(gps)) - gps).Seconds(), 0.0, 1e-6) << fromLeap;
    }
    // Inside it too, since its day is still the old one.
    const GPSTime inside(1851, 259216.5);
    EXPECT_EQ(July2015.Reverse(July2015.Convert(inside)), inside);
    // The count is chosen by the whole calendar day of the leap's GPS instant.
    const TimeDate firstSecond(Date(2015, 7, 1), TimeOfDay(0.0));
    EXPECT_EQ(July2015.Reverse(firstSecond), GPSTime(1851, 259217.0));
}

TEST(UTCConverter, TakesAnyRule) {
    // A removed second: 23:59:58 is followed by 00:00:00.
    const GPSTime::UTCConverter removed(GPSTime(3000, 0.0), 19, 18);
    EXPECT_EQ(removed.LeapChange(), -1.0);
    EXPECT_EQ(removed.Convert(GPSTime(3000, 17.5)).Print(1), "2037-07-04 23:59:58.5");
    EXPECT_EQ(removed.Convert(GPSTime(3000, 18.0)).Print(1), "2037-07-05 00:00:00.0");

    const GPSTime::UTCConverter extreme(GPSTime(INT32_MAX, 604799.0), INT32_MIN, INT32_MAX);
    for (const int week : {INT32_MIN, 0, 2000, INT32_MAX}) {
        const TimeDate utc = extreme.Convert(GPSTime(week, 1.0));
        EXPECT_GE(utc.GetTimeOfDay().Seconds(), 0.0) << week;
        EXPECT_TRUE(std::isfinite(extreme.Reverse(utc).GetSeconds())) << week;
    }
    const TimeDate unknown = July2015.Convert(GPSTime(1900, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(std::isnan(unknown.GetTimeOfDay().Seconds()));
}

TEST(UTCConverter, LeapSecondZoneHoldsForEveryTimeThatIsOne) {
    const TimeDate leap(Date(2015, 7, 1), TimeOfDay(0.0));
    for (const double seconds : {-1e9, -1201.0, -1200.0, 0.0, 1200.0, 1201.0, 1e9}) {
        EXPECT_EQ(July2015.LeapSecondZone(leap + Time(seconds)), 1) << seconds;
    }
    EXPECT_EQ(July2015.LeapSecondZone(TimeDate(Date(2015, 7, 1), TimeOfDay(std::nan("")))), 0);
    EXPECT_EQ(GPSTime::UTCConverter(GPSTime(1851, 259200.0), 17, 17).LeapSecondZone(leap), 0) << "no change at all";
}

}  // namespace
