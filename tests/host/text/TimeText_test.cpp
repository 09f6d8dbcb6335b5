#include "host/text/TimeText.h"

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
             Row{"2010-07-01 06:30 GPS", 1590, 369000.0},
             Row{"1590:0.000001", 1590, 0.000001},
             Row{"2016-12-31T23:59:60Z", 1930, 17.0},  // the leap second
             Row{"2016-12-31T23:59:60.5Z", 1930, 17.5},
             Row{"2017-01-01T00:00:00Z", 1930, 18.0},
         }) {
        const auto time = Host::ParseTime(row.text);
        ASSERT_TRUE(time) << row.text;
        EXPECT_EQ(*time, GPSTime(row.week, row.seconds)) << row.text;
    }
    for (const char* text : {"",
                             "noon",
                             "2010-13-01",
                             "2010-02-30",
                             "2010-07-01T25:00",
                             "2010-07-01T06",
                             "1590:604800",
                             "-1:0",
                             "2010-07-01X",
                             "1590:",
                             "2010-07-01 06:30 EST",
                             "2010-07-01T",
                             "2010-07-01 ",
                             "2010-07-01T06:30 ",
                             "2010-07-01TUTC",
                             "2010-07-01T-0:30",
                             "2016-12-31T23:59:60",   // GPS time has no leap seconds
                             "2016-12-30T23:59:60Z",  // nor has that day of UTC
                             "2016-12-31T23:58:60Z",
                             "2010-07-01T06:30:00.0000001",
                             "1590:0.0000005",
                             "1980-01-05"}) {
        EXPECT_FALSE(Host::ParseTime(text)) << text;
    }
    EXPECT_EQ(Host::PrintTime(GPSTime(1590, 345600.000001)), "2010-07-01 00:00:00.000001");
    EXPECT_EQ(Host::PrintTime(GPSTime(1590, 345600.0002)), "2010-07-01 00:00:00.0002");
    EXPECT_EQ(Host::PrintTime(GPSTime(1590, 345599.9999999)), "2010-07-01 00:00:00");
    EXPECT_EQ(Host::PrintTime(GPSTime(1590, 369015.5)), "2010-07-01 06:30:15.5");
    EXPECT_EQ(Host::PrintTime(GPSTime(1590, 345600.0)), "2010-07-01 00:00:00");
}

TEST(TimeText, ReadsSpans) {
    EXPECT_EQ(Host::ParseSpan("30"), Corvane::Time(30.0));
    EXPECT_EQ(Host::ParseSpan("15min"), Corvane::Time(900.0));
    EXPECT_EQ(Host::ParseSpan("0.5h"), Corvane::Time(1800.0));
    EXPECT_EQ(Host::ParseSpan("0.000001s"), Corvane::Time(1e-6));
    EXPECT_EQ(Host::ParseSpan("1d"), Corvane::Time::Day);
    for (const char* text : {"", "0", "-5s", "5 weeks", "inf", "nan", "1e3", "0.0000001", "0.0000015s"})
        EXPECT_FALSE(Host::ParseSpan(text)) << text;
}

}  // namespace
