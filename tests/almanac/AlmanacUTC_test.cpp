// GPS time to UTC by the broadcast parameters, above all around a leap second.
#include "gnss/almanac/AlmanacUTC.h"

#include <limits>

#include <gtest/gtest.h>

#include "tests/almanac/Reference.h"

namespace {

using Corvane::Time;
using Corvane::TimeDate;
using GNSS::Almanac;
using GNSS::GPSTime;

// GPS time at which UTC had the leap second's end of 1 July 2015, 00:00:00 (IERS Bulletin C 49): 17 s into the day.
const GPSTime NewDay2015(1851, 3 * 86400.0 + 17.0);

TEST(AlmanacUTC, CountsThroughTheLeapSecond) {
    const Almanac::UTC utc;
    const struct {
        double seconds;  // from the new day
        const char* text;
    } rows[] = {
        {-1.0e6, "2015-06-19 10:13:21.00"},  // rule A
        {-6.0 * 3600.0 - 18.0, "2015-06-30 17:59:43.00"},
        {-6.0 * 3600.0 - 17.0, "2015-06-30 17:59:44.00"},  // six hours before the event in GPS time: rule B
        {-2.0, "2015-06-30 23:59:59.00"},
        {-1.01, "2015-06-30 23:59:59.99"},
        {-1.0, "2015-06-30 23:59:60.00"},
        {-0.5, "2015-06-30 23:59:60.50"},
        {0.0, "2015-07-01 00:00:00.00"},
        {1.25, "2015-07-01 00:00:01.25"},
        {6.0 * 3600.0 - 18.0, "2015-07-01 05:59:42.00"},
        {6.0 * 3600.0 - 17.0, "2015-07-01 05:59:43.00"},  // rule C
        {1.0e6, "2015-07-12 13:46:40.00"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(utc.CalcUTC(NewDay2015 + Time(row.seconds)).Print(2), row.text) << row.seconds;
        EXPECT_EQ(utc.CalcUTCShort(NewDay2015 + Time(row.seconds)).Print(2), row.text) << row.seconds;
    }
}

TEST(AlmanacUTC, ServesEveryKindOfEvent) {
    // The event at the end of a Saturday lies on the first second of the next week.
    Almanac::UTC utc;
    utc.WNt = utc.WNLSF = 1929;
    utc.DN = 7;
    utc.DtLS = 17;
    utc.DtLSF = 18;
    EXPECT_EQ(utc.CalcUTC(GPSTime(1930, 16.0)).Print(0), "2016-12-31 23:59:59");
    EXPECT_EQ(utc.CalcUTC(GPSTime(1930, 17.0)).Print(0), "2016-12-31 23:59:60");
    EXPECT_EQ(utc.CalcUTC(GPSTime(1930, 18.0)).Print(0), "2017-01-01 00:00:00");
    EXPECT_EQ(utc.CalcUTC(GPSTime(2363, 455900.0)).Print(0), "2025-04-25 06:38:02");

    // One second fewer, which has never happened: 23:59:58 is followed by midnight.
    utc.DtLSF = 16;
    EXPECT_EQ(utc.CalcUTC(GPSTime(1930, 15.0)).Print(0), "2016-12-31 23:59:58");
    EXPECT_EQ(utc.CalcUTC(GPSTime(1930, 16.0)).Print(0), "2017-01-01 00:00:00");
    EXPECT_EQ(utc.CalcUTC(GPSTime(1930, 30000.0)).Print(0), "2017-01-01 08:19:44");

    // No change at the event, as for most of the time.
    utc.DtLSF = utc.DtLS;
    EXPECT_EQ(utc.CalcUTC(GPSTime(1930, 16.0)).Print(0), "2016-12-31 23:59:59");
    EXPECT_EQ(utc.CalcUTC(GPSTime(1930, 17.0)).Print(0), "2017-01-01 00:00:00");
}

TEST(AlmanacUTC, AddsThePolynomialInTheLongForms) {
    Almanac::UTC utc;
    utc.A0 = 0.25;
    utc.A1 = 1e-6;  // half a million times what is broadcast, to be seen
    utc.WNt = 1850;
    utc.Tot = 100000.0;
    const GPSTime t(1851, 400000.0);  // rule C, 904800 s after the reference time
    const Time polynomial(0.25 + 0.9048);
    EXPECT_NEAR((utc.CalcUTCShort(t) - utc.CalcUTC(t)).Seconds(), polynomial.Seconds(), 1e-9);
    EXPECT_NEAR((utc.CaseAShort(t) - utc.CaseA(t)).Seconds(), polynomial.Seconds(), 1e-9);
    EXPECT_NEAR((utc.CaseBShort(t) - utc.CaseB(t)).Seconds(), polynomial.Seconds(), 1e-9);
    EXPECT_NEAR((utc.CaseA(t) - utc.CaseC(t)).Seconds(), 1.0, 1e-9);
    EXPECT_NEAR((utc.CaseAShort(t) - utc.CaseCShort(t)).Seconds(), 1.0, 1e-9);
}

TEST(AlmanacUTC, StartsWithTheBuiltInRule) {
    const Almanac::UTC utc;
    EXPECT_TRUE(utc.IsValid());
    EXPECT_EQ(utc.time, GPSTime(1826, 86400.0 + 8 * 3600.0));
    EXPECT_EQ(utc.CalcUTC(GPSTime(1870, 17.0)).Print(0), "2015-11-08 00:00:00");
}

TEST(AlmanacUTC, AnswersGarbage) {
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    constexpr int Most = std::numeric_limits<int>::max();
    constexpr int Least = std::numeric_limits<int>::min();
    for (const double bad : {NaN, Infinity, -Infinity, 1e300}) {
        for (const int number : {Most, Least, 0}) {
            Almanac::UTC utc;
            utc.A0 = utc.Tot = bad;
            utc.DtLS = utc.WNt = utc.WNLSF = utc.DN = number;
            utc.DtLSF = -(number / 2);
            for (const GPSTime& t : {GPSTime(), GPSTime(Most, 1.0), GPSTime(Least, 1.0), GPSTime(0, NaN)}) {
                // Whatever comes out, it is a date of the calendar.
                for (const TimeDate& at :
                     {utc.CalcUTC(t), utc.CaseA(t), utc.CaseB(t), utc.CaseC(t), utc.CaseBShort(t)}) {
                    EXPECT_LE(at.GetDate().Year(), 32767);
                }
            }
        }
    }
}

TEST(AlmanacUTC, ComparesAndKnowsWhenItIsDated) {
    const Almanac::UTC a;
    for (int Almanac::UTC::*field :
         {&Almanac::UTC::DtLS, &Almanac::UTC::WNt, &Almanac::UTC::WNLSF, &Almanac::UTC::DN, &Almanac::UTC::DtLSF}) {
        Almanac::UTC b;
        EXPECT_EQ(a, b);
        b.*field += 1;
        EXPECT_NE(a, b);
    }
    Almanac::UTC b;
    b.A1 = 1e-300;
    EXPECT_NE(a, b);
    b.Reset();
    b.time = GPSTime::Zero;
    EXPECT_FALSE(b.IsValid());
}

TEST(AlmanacUTC, StandsInTheFileAsLaidDown) {
    Almanac::UTC utc;
    utc.A1 = 1.5;
    tests::ExpectFileForm(utc, 2 + 3 * 8 + 4 + 8 + 4 * 4, {0x22, 7});
    tests::ExpectReadsAllOrNothing(utc);
    const Almanac::UTC read = tests::ReadBack(utc);
    EXPECT_EQ(read, utc);
}

}  // namespace
