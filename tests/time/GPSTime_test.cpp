// The value type GPSTime; what it knows of clocks and leap seconds is tested beside.
#include "gnss/time/GPSTime.h"

#include <cmath>
#include <limits>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Random.h"

namespace {

using Corvane::Date;
using Corvane::Time;
using Corvane::TimeDate;
using Corvane::TimeOfDay;
using GNSS::GPSTime;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

TEST(GPSTime, Normalises) {
    const struct {
        int week;
        double seconds;
        GPSTime expected;
    } rows[] = {
        {10, -1.0, {9, 604799.0}},
        {10, 604800.0, {11, 0.0}},
        {10, -604800.0, {9, 0.0}},
        {10, -604800.5, {8, 604799.5}},
        {10, 3 * 604800.0 + 2.5, {13, 2.5}},
        {10, -5e-324, {10, 0.0}},  // rounds up to the end of the week before
        {10, -1e-20, {10, 0.0}},
        {0, -1e15, {-1653439154, 339200.0}},
        // Beyond the weeks: second 0 of the first or last.
        {0, 1e300, {INT32_MAX, 0.0}},
        {0, -1e300, {INT32_MIN, 0.0}},
        {5, Infinity, {INT32_MAX, 0.0}},
        {5, -Infinity, {INT32_MIN, 0.0}},
        {INT32_MAX, 604800.0, {INT32_MAX, 0.0}},
        {INT32_MIN, -1.0, {INT32_MIN, 0.0}},
    };
    for (const auto& row : rows) {
        const GPSTime time(row.week, row.seconds);
        EXPECT_EQ(time.GetWeek(), row.expected.GetWeek()) << row.week << " " << row.seconds;
        EXPECT_EQ(time.GetSeconds(), row.expected.GetSeconds()) << row.week << " " << row.seconds;
    }
    const GPSTime unknown(5, NaN);
    EXPECT_EQ(unknown.GetWeek(), 5);
    EXPECT_TRUE(std::isnan(unknown.GetSeconds()));
    EXPECT_EQ(unknown.GetDate(), Date(1980, 2, 10));
}

TEST(GPSTime, StaysInTheWeekForAnySeconds) {
    auto random = tests::MakeRandom();
    std::uniform_real_distribution<double> exponent(-20.0, 15.0);
    std::uniform_int_distribution<int> sign(0, 1);
    for (int i = 0; i < 20000; ++i) {
        // Half of them a hair off a whole number of weeks, where a rounded quotient would betray itself.
        double seconds = std::pow(10.0, exponent(random)) * (sign(random) == 0 ? -1.0 : 1.0);
        if (i % 2 == 0) seconds = std::nextafter(std::round(seconds / 604800.0) * 604800.0, seconds);
        const GPSTime time(0, seconds);
        ASSERT_GE(time.GetSeconds(), 0.0) << seconds;
        ASSERT_LT(time.GetSeconds(), 604800.0) << seconds;
        ASSERT_NEAR(time.GetWeek() * 604800.0 + time.GetSeconds(), seconds, std::abs(seconds) * 3e-16 + 1e-10);
    }
}

TEST(GPSTime, ConvertsEveryDayOfTheCalendar) {
    // Against the calendar of the standard library, which counts its own days.
    using namespace std::chrono;
    const sys_days start = 1980y / January / 6;
    for (sys_days day = start; day <= sys_days(2100y / December / 31); day += days(1)) {
        const year_month_day calendar(day);
        const Date date(int{calendar.year()}, static_cast<int>(unsigned{calendar.month()}),
                        static_cast<int>(unsigned{calendar.day()}));
        const GPSTime time(TimeDate(date, TimeOfDay(43200.25)));
        const auto sinceStart = (day - start).count();
        ASSERT_EQ(time.GetWeek(), sinceStart / 7);
        ASSERT_EQ(time.GetSeconds(), static_cast<double>(sinceStart % 7) * 86400.0 + 43200.25);
        ASSERT_EQ(time.GetDay(), static_cast<int>(weekday(day).c_encoding()));
        ASSERT_EQ(time.GetTimeDate().GetDate(), date);
        ASSERT_EQ(time.GetTimeOfDay(), TimeOfDay(43200.25));
    }
}

TEST(GPSTime, ComparesWithinTheWeekByToleranceAndAcrossByWeek) {
    const GPSTime time(100, 5000.0);
    EXPECT_EQ(time, GPSTime(100, 5000.0 + 0.99e-7));
    EXPECT_LT(time, GPSTime(100, 5000.0 + 1.1e-7));
    EXPECT_LE(time, GPSTime(100, 5000.0 - 0.99e-7));
    EXPECT_EQ(time.Compare(GPSTime(100, 5002.0), 2.0), 0);
    EXPECT_EQ(time.Compare(GPSTime(103, 5000.0), 1e9), -3) << "the difference in weeks, whatever the tolerance";
    EXPECT_EQ(GPSTime(5, 604799.99999999).Compare(GPSTime(6, 0.0), 1e-7), -1);
    EXPECT_EQ(GPSTime(INT32_MIN, 0.0).Compare(GPSTime(INT32_MAX, 0.0), 0.0), INT32_MIN);
    EXPECT_EQ(time, GPSTime(100, NaN));
    EXPECT_EQ((GPSTime(101, 1.0) - GPSTime(100, 604799.0)).Seconds(), 2.0);
    EXPECT_EQ((GPSTime(100, 604799.0) + Time(3.0)).Compare(GPSTime(101, 2.0), 0.0), 0);
    EXPECT_EQ((GPSTime(101, 2.0) - Time(3.0)).Compare(GPSTime(100, 604799.0), 0.0), 0);
}

TEST(GPSTime, RoundsAndPrints) {
    GPSTime time(100, 604799.96);
    time.Truncate(1);
    EXPECT_EQ(time.GetSeconds(), 604799.9);
    time.Round(0);
    EXPECT_TRUE(time.GetWeek() == 101 && time.GetSeconds() == 0.0);

    const struct {
        GPSTime time;
        int decimals;
        const char* rounded;
        const char* truncated;
    } rows[] = {
        {{100, 604799.6}, 0, " 101 Sun 00:00:00", " 100 Sat 23:59:59"},
        {{1851, 259217.25}, 2, "1851 Wed 00:00:17.25", "1851 Wed 00:00:17.25"},
        {{1851, 259199.96}, 1, "1851 Wed 00:00:00.0", "1851 Tue 23:59:59.9"},
        {{INT32_MAX, 604799.6}, 0, "2147483648 Sun 00:00:00", "2147483647 Sat 23:59:59"},
        {{7, NaN}, 1, "   7 Sun nan", "   7 Sun nan"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.time.PrintRound(row.decimals), row.rounded);
        EXPECT_EQ(row.time.PrintTrunc(row.decimals), row.truncated);
    }
}

TEST(GPSTime, ResolvesPartialTimes) {
    const struct {
        double from, t, period, expected;
        const char* why;
    } rows[] = {
        {43200.0, 0.0, 86400.0, 86400.0, "a tie resolves forwards"},
        {43199.0, 0.0, 86400.0, 0.0, "back to the same midnight"},
        {43201.0, 0.0, 86400.0, 86400.0, "on to the next"},
        {604790.0, 5.0, 3600.0, 604805.0, "into the next week"},
        {5.0, 3599.0, 3600.0, -1.0, "into the week before"},
        {123.0, -1.0, 3600.0, 123.0, "negative"},
        {123.0, 5.0, -1.0, 123.0, "negative period"},
        {123.0, 5.0, 0.0, 123.0, "no period"},
        {123.0, NaN, 60.0, 123.0, "not a number"},
    };
    for (const auto& row : rows) {
        const GPSTime resolved = GPSTime(500, row.from).ResolveTo(Time(row.t), Time(row.period));
        EXPECT_EQ((resolved - GPSTime(500, 0.0)).Seconds(), row.expected) << row.why;
    }
    EXPECT_EQ(GPSTime(7, 500000.0).GetClosest(0.0), GPSTime(8, 0.0));
    EXPECT_EQ(GPSTime(7, 302400.0).GetClosest(0.0), GPSTime(7, 0.0)) << "exactly half a week stays";
    EXPECT_EQ(GPSTime(7, 302401.0).GetClosest(0.0), GPSTime(8, 0.0));
    EXPECT_EQ(GPSTime(7, 100.0).GetClosest(604700.0), GPSTime(6, 604700.0));
    EXPECT_EQ(GPSTime(INT32_MAX, 500000.0).GetClosest(0.0), GPSTime(INT32_MAX, 0.0)) << "no week after the last";
}

TEST(GPSTime, BeforeTheStartCountsTowardsZero) {
    const GPSTime dayBefore(TimeDate(Date(1980, 1, 5), TimeOfDay(0.0)));
    EXPECT_EQ(dayBefore.GetWeek(), 0);
    EXPECT_EQ(dayBefore.GetSeconds(), -86400.0);
    const GPSTime leapSecond(TimeDate(Date(1980, 1, 12), TimeOfDay(86400.5)));
    EXPECT_EQ(leapSecond.GetWeek(), 0);
    EXPECT_EQ(leapSecond.GetSeconds(), 604800.5);
}

TEST(GPSTime, StoresAsItStands) {
    // A week of 32 bits and a double, little-endian; the bytes are the file form, written out by hand.
    const GPSTime written(TimeDate(Date(1980, 1, 5), TimeOfDay(0.0)));  // seconds -86400 = -0x1.518p16
    Corvane::Stream::MemoryOutput output;
    EXPECT_TRUE(written.Write(output));
    const std::vector<std::byte> expected = {
        {}, {}, {}, {}, {}, {}, {}, {}, {}, std::byte{0x18}, std::byte{0xf5}, std::byte{0xc0}};
    EXPECT_EQ(output.Bytes(), expected);

    GPSTime read(1, 1.0);
    Corvane::Stream::MemoryInput input(output.Bytes());
    EXPECT_TRUE(read.Read(input));
    EXPECT_TRUE(read.GetWeek() == 0 && read.GetSeconds() == -86400.0) << "not normalised";

    GPSTime untouched(1, 1.0);
    Corvane::Stream::MemoryInput cut(std::span<const std::byte>(expected).first(11));
    EXPECT_THROW(untouched.Read(cut), Corvane::Stream::Error);
    EXPECT_EQ(untouched, GPSTime(1, 1.0));
}

}  // namespace
