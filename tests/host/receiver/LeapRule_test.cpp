#include "host/receiver/LeapRule.h"

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"
#include "tests/host/receiver/RinexText.h"

namespace {

using Corvane::Time;
using GNSS::GPSTime;

// The leap of 1 January 2017: GPS time was 18 s ahead from this instant on, a Sunday.
constexpr GPSTime Leap(1930, 18.0);

class LeapRuleTest : public ::testing::Test {
protected:
    ~LeapRuleTest() override { Corvane::Clock::UseSystem(); }
};

TEST_F(LeapRuleTest, FollowsTheTimesOverALeap) {
    struct Row {
        const char* what;
        GPSTime t;
        int count;
        double change;
    };
    Host::LeapRule rule;
    for (const Row& row : {
             Row{"a week before, first hour of the week", Leap - Time(604800.0 - 600.0), 17, 0.0},
             Row{"the last second", Leap - Time(2.0), 17, 0.0},
             Row{"the leap second", Leap - Time(0.5), 17, 0.0},
             Row{"the leap", Leap, 18, 1.0},
             Row{"the hour after it", Leap + Time(3599.0), 18, 1.0},
             Row{"later", Leap + Time(3601.0), 18, 0.0},
             Row{"a week later, first hour of the week", Leap + Time(604800.0 + 600.0), 18, 0.0},
             Row{"back before it", Leap - Time(600.0), 17, 0.0},
         }) {
        rule.SetFor(row.t);
        EXPECT_EQ(rule.Count(row.t), row.count) << row.what;
        EXPECT_EQ(GPSTime::LeapChange(), row.change) << row.what;
        EXPECT_NEAR((GPSTime(row.t.GetUTC()) - row.t).Seconds(), -row.count, 1e-6) << row.what;
        EXPECT_NEAR((row.t - GPSTime(Corvane::Clock::Now())).Seconds(), row.count, 1e-6) << row.what;
    }
    EXPECT_EQ(rule.Print(Leap, Leap + Time::Day), "leap seconds: 18");
    EXPECT_EQ(rule.Print(Leap - Time::Day, Leap), "leap seconds: 17 at the first time, 18 at the last");
}

TEST_F(LeapRuleTest, BelievesHeadersThatContradictTheTable) {
    const auto file = [](const std::string& leaps, const std::string& records) {
        return rinex::Parsed(rinex::Mixed + (leaps.empty() ? "" : rinex::Labelled(leaps, "LEAP SECONDS")) + rinex::End +
                             records);
    };
    const GPSTime t(2147, 368118.0);  // of the record
    {
        Host::LeapRule rule;
        EXPECT_EQ(rule.Add(file("    18", rinex::R05), "right.rnx"), "");
        EXPECT_EQ(rule.Count(t), 18);
    }
    {
        Host::LeapRule rule;
        EXPECT_EQ(rule.Add(file("    19", rinex::R05), "other.rnx"),
                  "other.rnx: the header tells 19 leap seconds, the table 18 on 2021-03-04");
        EXPECT_EQ(rule.Count(t), 19);
        rule.SetFor(t);
        EXPECT_NEAR((GPSTime(t.GetUTC()) - t).Seconds(), -19.0, 1e-6);
        EXPECT_EQ(rule.Count(t - Time::Day), 18);  // about other days it says nothing
        EXPECT_EQ(rule.Count(t + Time::Day), 18);
        // A second file that says otherwise, or nothing, leaves the table.
        EXPECT_EQ(rule.Add(file("", rinex::R05), "silent.rnx"), "");
        EXPECT_EQ(rule.Count(t), 18);
    }
    {
        // Without GLONASS records nothing was read with the header's count.
        Host::LeapRule rule;
        EXPECT_NE(rule.Add(file("    17", rinex::G07), "gps.rnx"), "");
        EXPECT_EQ(rule.Count(t), 18);
    }
    {
        // A header from before a leap that comes during the file.
        Host::LeapRule rule;
        const std::string before = rinex::Replaced(rinex::R05, "2021 03 04 06 15", "2016 12 31 23 45");
        const std::string after = rinex::Replaced(rinex::R05, "2021 03 04 06 15", "2017 01 01 00 15");
        EXPECT_EQ(rule.Add(file("    17", before + after), "over.rnx"), "");
        EXPECT_EQ(rule.Count(Leap), 18);
    }
}

// A leap that no table knows, told by a stream from the start of the second that is inserted or from its end.
TEST_F(LeapRuleTest, LearnsALeapFromTheStream) {
    constexpr GPSTime Unknown(2373, 172819.0);  // 1 July 2025, 0 h of UTC
    for (const double first : {-0.75, 0.0, 0.25, 1.0}) {
        Host::LeapRule rule;
        rule.SetFor(Unknown - Time(2.0), 18);
        rule.SetFor(Unknown + Time(first), 19);
        EXPECT_EQ(rule.Count(Unknown - Time(2.0)), 18) << first;
        EXPECT_EQ(rule.Count(Unknown), 19) << first;
        EXPECT_EQ(GPSTime::LeapChange(), 1.0) << first;
    }
}

}  // namespace
