#include "host/cli/TimeText.h"

#include <gtest/gtest.h>

namespace {

using GNSS::GPSTime;

TEST(TimeText, ReadsTimesAsPeopleWriteThem) {
    struct Row {
        const char* text;
        int week;
        double seconds;
    };
    for (const Row& row : {
             Row{"2010-07-01", 1590, 345600.0},
             Row{"2010-07-01T06:30", 1590, 369000.0},
             Row{"2010-07-01 06:30:15.5", 1590, 369015.5},
             Row{"2010-07-01T06:30:00Z", 1590, 369015.0},  // 15 leap seconds
             Row{"2020-06-25 00:00:00 UTC", 2111, 345618.0},
             Row{"1590:367200", 1590, 367200.0},
         }) {
        const auto time = Host::ParseTime(row.text);
        ASSERT_TRUE(time) << row.text;
        EXPECT_EQ(*time, GPSTime(row.week, row.seconds)) << row.text;
    }
    for (const char* text : {"", "noon", "2010-13-01", "2010-02-30", "2010-07-01T25:00", "2010-07-01T06", "1590:604800",
                             "-1:0", "2010-07-01X", "1590:", "2010-07-01 06:30 EST"}) {
        EXPECT_FALSE(Host::ParseTime(text)) << text;
    }
    EXPECT_EQ(Host::PrintTime(GPSTime(1590, 369015.5)), "2010-07-01 06:30:15.5");
    EXPECT_EQ(Host::PrintTime(GPSTime(1590, 345600.0)), "2010-07-01 00:00:00");
}

TEST(TimeText, ReadsSpans) {
    EXPECT_EQ(Host::ParseSpan("30"), Corvane::Time(30.0));
    EXPECT_EQ(Host::ParseSpan("15min"), Corvane::Time(900.0));
    EXPECT_EQ(Host::ParseSpan("0.5h"), Corvane::Time(1800.0));
    EXPECT_EQ(Host::ParseSpan("1d"), Corvane::Time::Day);
    for (const char* text : {"", "0", "-5s", "5 weeks", "inf", "nan"}) EXPECT_FALSE(Host::ParseSpan(text)) << text;
}

}  // namespace
