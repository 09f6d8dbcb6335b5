// GLONASS time: day numbers, intervals, differences and sidereal time.
#include "gnss/time/GloTime.h"

#include <algorithm>
#include <cmath>
#include <erfa.h>
#include <limits>
#include <numbers>
#include <ostream>

#include <gtest/gtest.h>

#include "tests/support/Random.h"

namespace {

using Corvane::Date;
using Corvane::Time;
using Corvane::TimeDate;
using Corvane::TimeOfDay;
using GNSS::GloTime;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

struct Parts {
    int day;
    double seconds;
    int leapYear;
    friend bool operator==(const Parts&, const Parts&) = default;
    friend std::ostream& operator<<(std::ostream& os, const Parts& p) {
        return os << p.day << " d " << p.seconds << " s of " << p.leapYear;
    }
};

Parts PartsOf(const GloTime& time) {
    return {time.GetDay(), time.GetSeconds(), time.GetLeapYear()};
}

// The carrying of seconds and days as it is defined: one step after the other.
Parts CarryStepByStep(int day, double seconds, int leapYear) {
    for (; seconds < 0; --day) seconds += 86400;
    for (; seconds >= 86400; ++day) seconds -= 86400;
    for (; day < 1; day += 1461) leapYear -= leapYear != -1 ? 4 : 0;
    for (; day > 1461; day -= 1461) leapYear += leapYear != -1 ? 4 : 0;
    return {day, seconds, leapYear};
}

TEST(GloTime, CarriesSecondsAndDays) {
    const struct {
        Parts given, expected;
    } rows[] = {
        {{1, -1.0, 2012}, {1461, 86399.0, 2008}},
        {{1, -1.0, -1}, {1461, 86399.0, -1}},
        {{1461, 86400.0, 2012}, {1, 0.0, 2016}},
        {{5, -1e-20, 2012}, {5, 0.0, 2012}},
        {{5, -5e-324, 2012}, {5, 0.0, 2012}},
        {{0, 0.0, 2012}, {1461, 0.0, 2008}},
        // Day numbers and leap years out of range, and seconds that no loop would get to the end of.
        {{INT32_MAX, 0.0, 2012}, {655, 0.0, 5881500}},
        {{INT32_MIN, 0.0, -1}, {805, 0.0, -1}},
        {{INT32_MAX, 0.0, INT32_MAX - 1}, {655, 0.0, INT32_MAX}},
        {{INT32_MIN, 0.0, INT32_MIN + 1}, {805, 0.0, INT32_MIN}},
        {{1, 1e300, 2012}, PartsOf(GloTime(1, 1e15, 2012))},
        {{1, -Infinity, 2012}, PartsOf(GloTime(1, -1e15, 2012))},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(PartsOf(GloTime(row.given.day, row.given.seconds, row.given.leapYear)), row.expected) << row.given;
    }
    // 1e15 s are 11574074074 days and 6400 s.
    const GloTime far(1, 1e15, -1);
    EXPECT_EQ(far.GetSeconds(), 6400.0);
    EXPECT_EQ(far.GetDay(), 1 + 11574074074 % 1461);
    const GloTime unknown(1462, NaN, 2012);
    EXPECT_TRUE(unknown.GetDay() == 1 && unknown.GetLeapYear() == 2016 && std::isnan(unknown.GetSeconds()));
    EXPECT_FALSE(unknown == unknown || unknown < unknown || unknown > unknown);
}

TEST(GloTime, CarriesAsStepByStep) {
    auto random = tests::MakeRandom();
    std::uniform_int_distribution<int> day(-20000, 20000);
    std::uniform_int_distribution<int> interval(-1, 600);
    std::uniform_real_distribution<double> anySeconds(-1e8, 1e8);
    for (int i = 0; i < 5000; ++i) {
        const int leapYear = interval(random) * 4;
        // Half of them a hair off a whole number of days, where a rounded quotient would betray itself.
        double seconds = anySeconds(random);
        if (i % 2 == 0) seconds = std::nextafter(std::round(seconds / 86400.0) * 86400.0, seconds);
        const Parts given{day(random), seconds, leapYear < 0 ? -1 : leapYear};
        ASSERT_EQ(PartsOf(GloTime(given.day, given.seconds, given.leapYear)),
                  CarryStepByStep(given.day, given.seconds, given.leapYear))
            << given;
    }
}

TEST(GloTime, NumbersEveryDay) {
    // Every day from 1980 to 2100 against the calendar of the standard library; 2100 begins an interval without being a
    // leap year.
    using namespace std::chrono;
    for (sys_days day = 1980y / January / 1; day <= sys_days(2100y / December / 31); day += days(1)) {
        const int year{year_month_day(day).year()};
        const int leapYear = year / 4 * 4;
        const auto number = static_cast<int>((day - sys_days(std::chrono::year(leapYear) / January / 1)).count()) + 1;
        const Date date = Date(1980, 1, 1) + (day - sys_days(1980y / January / 1)).count();

        GloTime time;
        // 20:59:59.5 and 21:00:00 UTC lie on either side of midnight in Moscow.
        time.SetFromUTC(TimeDate(date, TimeOfDay(20, 59, 59.5)));
        ASSERT_EQ(PartsOf(time), (Parts{number, 86399.5, leapYear})) << date.JulianDay();
        ASSERT_EQ(time.GetDate(), date);
        time.SetFromUTC(TimeDate(date - 1, TimeOfDay(21, 0, 0.0)));
        ASSERT_EQ(PartsOf(time), (Parts{number, 0.0, leapYear})) << date.JulianDay();

        GloTime resolved(number, 0.0, -1);
        resolved.ResolveLeapYear(date);
        ASSERT_EQ(PartsOf(resolved), PartsOf(time));
    }
}

TEST(GloTime, ResolvesEveryDayNumberFrom731DaysBackTo729Ahead) {
    for (const Date date : {Date(2016, 1, 1), Date(2017, 6, 15), Date(2019, 12, 31)}) {
        int earliest = 0;
        int latest = 0;
        for (int day = 1; day <= 1461; ++day) {
            GloTime time(day, 0.0, -1);
            time.ResolveLeapYear(date);
            ASSERT_EQ(time.GetDay(), day);
            earliest = std::min(earliest, time.GetDate() - date);
            latest = std::max(latest, time.GetDate() - date);
        }
        EXPECT_EQ(earliest, -731);
        EXPECT_EQ(latest, 729);
    }
    GloTime known(730, 0.0, 2012);
    known.ResolveLeapYear(Date(2025, 1, 1));
    EXPECT_EQ(known.GetLeapYear(), 2024) << "a known year is replaced";
    GloTime early(1, 0.0, 2012);
    early.ResolveLeapYear(Date(-40000, 1, 1));
    EXPECT_TRUE(early.GetDay() >= 1 && early.GetDay() <= 1461);
}

TEST(GloTime, ResolvesAroundItself) {
    const GloTime time(10, 100.0, 2016);
    EXPECT_EQ(PartsOf(time.Resolve(740, 5.0)), (Parts{740, 5.0, 2016}));
    EXPECT_EQ(PartsOf(time.Resolve(741, 5.0)), (Parts{741, 5.0, 2012}));
    EXPECT_EQ(PartsOf(GloTime(1000, 0.0, 2016).Resolve(270, 0.0)), (Parts{270, 0.0, 2016}));
    EXPECT_EQ(PartsOf(GloTime(1000, 0.0, 2016).Resolve(269, 0.0)), (Parts{269, 0.0, 2020}));
    EXPECT_EQ(PartsOf(GloTime(10, 0.0, -1).Resolve(1400, 0.0)), (Parts{1400, 0.0, -1}));
    EXPECT_EQ(GloTime(1, 0.0, INT32_MAX).Resolve(INT32_MIN, 0.0).GetLeapYear(), INT32_MAX - 4 * 1469873)
        << "as far back as the days reach";
}

TEST(GloTime, SubtractsAcrossIntervals) {
    const struct {
        GloTime a, b;
        double expected;
        const char* why;
    } rows[] = {
        {{1, 0.0, 2016}, {1461, 0.0, 2012}, 86400.0, "both known"},
        {{1, 0.0, -1}, {1461, 0.0, -1}, 86400.0, "both unknown: the smallest difference"},
        {{1, 5.0, 2016}, {1461, 0.0, -1}, 86405.0, "known minus unknown"},
        {{1461, 0.0, -1}, {1, 5.0, 2016}, -86405.0, "unknown minus known"},
        {{731, 0.0, -1}, {1, 0.0, -1}, 730 * 86400.0, "the most that stays"},
        {{732, 0.0, -1}, {1, 0.0, -1}, -730 * 86400.0, "the least that turns round"},
        {{1, 0.0, 2104}, {1, 0.0, 2100}, 1461 * 86400.0, "across 2100 too"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.a - row.b, row.expected) << row.why;
    EXPECT_TRUE(GloTime(1, 0.0, -1) > GloTime(1461, 0.0, 2012) && GloTime(1, 0.0, 2016) >= GloTime(1, 0.0, -1));
    EXPECT_NE(GloTime(1, 0.0, 2016), GloTime(1, 1e-9, 2016)) << "no tolerance";
    EXPECT_EQ(PartsOf(GloTime(1461, 86000.0, 2012) + Time(500.0)), (Parts{1, 100.0, 2016}));
    EXPECT_EQ(PartsOf(GloTime(1, 100.0, 2016) - Time(500.0)), (Parts{1461, 86000.0, 2012}));
    EXPECT_TRUE(std::isfinite(GloTime(1, 0.0, INT32_MIN) - GloTime(1461, 0.0, INT32_MAX)));
}

TEST(GloTime, SiderealTimeOfEveryDay) {
    // ERFA's eraGmst82 (Debian liberfa-dev), an independent form of the same IAU 1982 expression. Ours takes the
    // centuries from midnight, so it exceeds the true value by the half day's 118.28 s, and equals ERFA's of noon less
    // the half day itself.
    constexpr double SecondsPerTurn = 86400.0;
    constexpr double toSeconds = SecondsPerTurn / (2.0 * std::numbers::pi);
    for (Date date(1980, 1, 1); date <= Date(2100, 12, 31); date = date + 1) {
        const double seconds = GloTime::CalcSiderealTime(date);
        ASSERT_TRUE(seconds >= 0.0 && seconds < SecondsPerTurn);
        const double midnight = eraGmst82(date.JulianDay() - 0.5, 0.0) * toSeconds;
        ASSERT_NEAR(std::remainder(seconds - midnight - 118.28, SecondsPerTurn), 0.0, 0.005) << date.JulianDay();
        const double noon = eraGmst82(date.JulianDay(), 0.0) * toSeconds;
        ASSERT_NEAR(std::remainder(seconds - (noon - 43200.0), SecondsPerTurn), 0.0, 1e-7) << date.JulianDay();
    }
}

}  // namespace
