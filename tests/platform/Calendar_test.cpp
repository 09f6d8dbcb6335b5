#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"
#include "gnss/platform/TimeDate.h"

namespace {

using Corvane::Date;
using Corvane::Time;
using Corvane::TimeDate;
using Corvane::TimeOfDay;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// Day of the civil calendar from a Julian day number: Fliegel and van Flandern, "A machine algorithm for processing
// calendar dates", Communications of the ACM 11 (1968), 657.
void FliegelVanFlandern(int julianDay, int& year, int& month, int& day) {
    int l = julianDay + 68569;
    const int n = 4 * l / 146097;
    l -= (146097 * n + 3) / 4;
    const int i = 4000 * (l + 1) / 1461001;
    l -= 1461 * i / 4 - 31;
    const int j = 80 * l / 2447;
    day = l - 2447 * j / 80;
    l = j / 11;
    month = j + 2 - 12 * l;
    year = 100 * (n - 49) + i + l;
}

TEST(Date, AgreesWithAnIndependentAlgorithmEveryDayFrom1900To2200) {
    ASSERT_EQ(Date(2000, 1, 1).JulianDay(), 2451545);
    for (Date date(1900, 1, 1); date < Date(2200, 1, 1); date = date + 1) {
        int year = 0;
        int month = 0;
        int day = 0;
        FliegelVanFlandern(date.JulianDay(), year, month, day);
        ASSERT_EQ(date.Year(), year);
        ASSERT_EQ(date.Month(), month);
        ASSERT_EQ(date.Day(), day);
        ASSERT_EQ(Date(year, month, day), date);
    }
    EXPECT_EQ(Date(1980, 1, 6).GetDayOfWeek().Name(), "Sun");
    EXPECT_EQ(Date(2026, 11, 21).GetDayOfWeek().Name(), "Sat");
}

TEST(Date, EndsOfTheCalendarHoldWhatLiesBeyond) {
    const Date last(32767, 12, 31);
    EXPECT_EQ(last + 1, last);
    EXPECT_EQ(last + std::numeric_limits<std::int64_t>::max(), last);
    EXPECT_EQ(last.Year(), 32767);
    const Date first(-32767, 1, 1);
    EXPECT_EQ(first - std::numeric_limits<std::int64_t>::max(), first);
    EXPECT_EQ(last + std::numeric_limits<std::int64_t>::min(), first);
    EXPECT_EQ(first - std::numeric_limits<std::int64_t>::min(), last);
    EXPECT_EQ(first.Year(), -32767);
    EXPECT_EQ(Date(99999, 77, 1), Date(32767, 12, 1));
    EXPECT_EQ(Date(2026, 4, 31), Date(2026, 5, 1));
}

TEST(TimeOfDay, PrintsTheLeapSecondAndNeverRoundsIntoIt) {
    struct Row {
        double seconds;
        int decimals;
        const char* rounded;
        const char* truncated;
    };
    for (const Row& row : {
             Row{0.0, 0, "00:00:00", "00:00:00"},
             Row{45296.789, 2, "12:34:56.79", "12:34:56.78"},
             Row{86399.96, 1, "24:00:00.0", "23:59:59.9"},
             Row{86400.25, 2, "23:59:60.25", "23:59:60.25"},
             Row{86400.99, 1, "24:00:00.0", "23:59:60.9"},
             Row{-1.5, 1, "-1.5", "-1.5"},
             Row{NaN, 1, "nan", "nan"},
         }) {
        EXPECT_EQ(TimeOfDay(row.seconds).PrintRound(row.decimals), row.rounded);
        EXPECT_EQ(TimeOfDay(row.seconds).PrintTrunc(row.decimals), row.truncated);
    }
    const TimeOfDay leap(86400.5);
    EXPECT_EQ(leap.Hour(), 23);
    EXPECT_EQ(leap.Minute(), 59);
    EXPECT_EQ(leap.SecondOfMinute(), 60.5);
}

TEST(TimeDate, AddsAndSubtractsAcrossDays) {
    const TimeDate newYear(Date(2016, 1, 1), TimeOfDay(0.0));
    const TimeDate before = newYear - Time(0.5);
    EXPECT_EQ(before.GetDate(), Date(2015, 12, 31));
    EXPECT_EQ(before.GetTimeOfDay(), TimeOfDay(86399.5));
    EXPECT_EQ(newYear - before, Time(0.5));
    EXPECT_LT(before, newYear);
    // A span too small to move a double must not move the date either.
    EXPECT_EQ((newYear - Time(1e-20)).GetDate(), Date(2016, 1, 1));
    EXPECT_EQ((newYear + Time(366 * 86400.0)).GetDate(), Date(2017, 1, 1));
    EXPECT_EQ((newYear + Time(1e300)).GetDate(), Date(32767, 12, 31));
    EXPECT_TRUE(std::isnan((newYear + Time(NaN)).GetTimeOfDay().Seconds()));
    EXPECT_EQ(before.Print(1), "2015-12-31 23:59:59.5");
    EXPECT_EQ(before.Print(0), "2016-01-01 00:00:00");
    EXPECT_EQ(TimeDate(), TimeDate::Zero);
}

TEST(Clock, CanBeReplacedAndGivenBack) {
    const TimeDate then(Date(2010, 7, 1), TimeOfDay(12, 0, 0.25));
    Corvane::Clock::SetTo(then);
    EXPECT_EQ(Corvane::Now.GetTimeDate(), then);
    EXPECT_EQ(pt::now(), 1277985600250);  // date -u -d '2010-07-01 12:00:00.25' +%s%3N
    Corvane::Clock::SetSource([then] { return then + Time::Hour; });
    EXPECT_EQ(Corvane::Now.GetTimeDate() - then, Time::Hour);
    // Times of day beyond any clock's, and a source that fails while the time is asked for.
    Corvane::Clock::SetTo(TimeDate(Date(2010, 7, 1), TimeOfDay(1e300)));
    EXPECT_EQ(pt::now(), INT64_MAX);
    Corvane::Clock::SetTo(TimeDate(Date(1960, 7, 1), TimeOfDay(-1e300)));
    EXPECT_EQ(pt::now(), INT64_MIN);
    Corvane::Clock::SetSource([]() -> TimeDate { throw std::runtime_error("no fix"); });
    EXPECT_NO_THROW(EXPECT_GT(Corvane::Now.GetTimeDate(), then));
    Corvane::Clock::UseSystem();
    const auto system = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    EXPECT_NEAR(static_cast<double>(pt::now()) / 1000.0, system, 60.0);
}

}  // namespace
