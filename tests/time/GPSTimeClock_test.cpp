// The clock offsets and the leap-second rule of the process.
#include <cmath>

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"
#include "gnss/platform/Registry.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GPSTimeUTCConverter.h"
#include "gnss/time/GloTime.h"

namespace {

using Corvane::Date;
using Corvane::String;
using Corvane::Time;
using Corvane::TimeDate;
using Corvane::TimeOfDay;
using GNSS::GPSTime;

constexpr const char* OffsetKey = "SOFTWARE\\The Corvane Software Company\\Halcyra\\LocalToUTC";

// What the registry holds, or "none".
String StoredOffset() {
    String text = "none";
    const Corvane::Registry::Key key(OffsetKey);
    static_cast<void>(key.ReadStringValue("Offset", text));
    return text;
}

void StoreOffset(const char* text) {
    Corvane::Registry::Key key(OffsetKey, Corvane::Registry::Key::Write);
    ASSERT_TRUE(key.WriteStringValue("Offset", text));
}

// Each test starts from the state at load, with a clock that stands and an empty registry.
class GPSTimeClock : public testing::Test {
protected:
    GPSTimeClock() { Restore(); }
    ~GPSTimeClock() override {
        Restore();
        Corvane::Clock::UseSystem();
    }

    const TimeDate noon_{Date(2015, 7, 4), TimeOfDay(12, 0, 0.0)};

private:
    void Restore() {
        GPSTime::SetOffset(Time(0.0), Time(16.0), 0);
        GPSTime::SetUTCParam(GPSTime(1851, 259200.0), 16, 17);
        Corvane::Registry::SetFile("");
        Corvane::Clock::SetTo(noon_);
    }
};

TEST_F(GPSTimeClock, TakesTheTimeFromTheClock) {
    GPSTime::SetOffset(Time(0.5), Time(16.5), 0);
    EXPECT_EQ(GPSTime(Corvane::Now), GPSTime(noon_ + Time(16.5)));
    GPSTime assigned;
    assigned = Corvane::Now;
    EXPECT_EQ(assigned, GPSTime(1851, 6 * 86400.0 + 43216.5));
    EXPECT_EQ(GPSTime::GetUTCTimeRef().Print(1), "2015-07-04 12:00:00.5");
    // With a leap count the current UTC follows GPS time and the rule in force (17 s) instead.
    GPSTime::SetOffset(Time(0.5), Time(16.5), 17);
    EXPECT_EQ(GPSTime::CalcUTC(Corvane::Now).Print(1), "2015-07-04 11:59:59.5");
    EXPECT_EQ(GPSTime::GetNmrLeap(), 17);
}

TEST_F(GPSTimeClock, FollowsTheBroadcastLeapSecond) {
    // 1 January 2017 (IERS Bulletin C 52): week 1930, day 0; the built-in rule knows one second less.
    const GPSTime newYear(1930, 18.0);
    EXPECT_EQ(newYear.GetUTC().Print(0), "2017-01-01 00:00:01");
    GPSTime::SetUTCParam(GPSTime(1930, 0.0), 17, 18);
    EXPECT_EQ(newYear.GetUTC().Print(0), "2017-01-01 00:00:00");
    EXPECT_EQ((newYear - Time(0.5)).GetUTC().Print(1), "2016-12-31 23:59:60.5");
    EXPECT_EQ(GPSTime::GetUTCConverter().GetAfter(), Time(18.0));
    EXPECT_EQ(GPSTime::LeapSecondZone(), 1);
    EXPECT_EQ(GPSTime::LeapChange(), 1.0);
    GPSTime back;
    back.SetFromUTC(newYear.GetUTC());
    EXPECT_EQ(back, newYear);
    // Moscow's New Year 2017, three hours earlier: day 367 of 2016.
    const GNSS::GloTime moscow(newYear - Time::Hour * 3.0 + Time(1.5));
    EXPECT_EQ(moscow, GNSS::GloTime(367, 2.5, 2016));
}

TEST_F(GPSTimeClock, StoresAnOffsetThatChangesByMoreThanASecond) {
    const struct {
        double from, to;
        const char* stored;
    } rows[] = {
        {0.0, 1.0, "none"},  {0.0, -1.0, "none"},   {0.0, 1.5, "1.5"},
        {1.5, 0.75, "none"}, {1.5, -0.25, "-0.25"}, {0.0, std::nan(""), "none"},
    };
    for (const auto& row : rows) {
        GPSTime::SetOffset(Time(row.from), Time(16.0), 0);
        Corvane::Registry::SetFile("");
        GPSTime::SetOffset(Time(row.to), Time(17.0), 0);
        EXPECT_EQ(StoredOffset(), row.stored) << row.from << " to " << row.to;
        GPSTime::SetOffset(Time(0.0), Time(16.0), 0);
    }
}

TEST_F(GPSTimeClock, ReadsTheStoredOffset) {
    GPSTime::SetOffset(Time(0.25), Time(18.0), 18);
    GPSTime::ReadLocalToUTC();
    EXPECT_EQ(GPSTime::GetLocalToGPS(), Time(18.0)) << "nothing stored, nothing changed";
    const struct {
        const char* text;
        double offset;
    } rows[] = {{"-3600.5", -3600.5}, {" 2.25 s", 2.25}, {"east", 0.0}, {"", 0.0}};
    for (const auto& row : rows) {
        StoreOffset(row.text);
        GPSTime::ReadLocalToUTC();
        EXPECT_EQ(GPSTime::GetLocalToUTC(), Time(row.offset)) << row.text;
        EXPECT_EQ(GPSTime::GetLocalToGPS(), Time(row.offset + 16.0)) << "always 16 s more";
        EXPECT_EQ(GPSTime::GetNmrLeap(), 0);
    }
}

TEST_F(GPSTimeClock, ResetTakesTheClockForUTC) {
    GPSTime::SetOffset(Time(-7.5), Time(8.5), 17);
    GPSTime::ResetOffset();
    EXPECT_EQ(GPSTime::GetLocalToUTC(), Time::Zero);
    EXPECT_EQ(GPSTime::GetLocalToGPS(), Time(16.0));
    EXPECT_EQ(GPSTime::GetNmrLeap(), 17);
    EXPECT_EQ(StoredOffset(), "-7.5") << "stores nothing of its own";
    GPSTime::WriteLocalToUTC();
    EXPECT_EQ(StoredOffset(), "0");
}

}  // namespace
