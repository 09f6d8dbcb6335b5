// The GLONASS ephemeride: validity, the leap-second rule, plausibility and comparisons.
#include "gnss/ephemeris/GlonassEphemeride.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"
#include "gnss/platform/Event.h"
#include "tests/ephemeris/Records.h"

namespace {

using Corvane::Time;
using GNSS::ECEF;
using GNSS::GloTime;
using GNSS::GPSTime;
using GNSS::Glonass::Ephemeride;
using GNSS::Glonass::Orbit;
using tests::SampleGlonass;
using tests::SampleTime;
using Result = Ephemeride::Result;
using Status = Ephemeride::Status;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

Result Calculate(const Ephemeride& record, const GPSTime& t, bool extended = false) {
    Result result;
    EXPECT_TRUE(record.CalculatePosn(t, result, extended));
    return result;
}

double Apart(const Result& a, const Result& b) {
    return (a.posn - b.posn).Magnitude();
}

TEST(GlonassEphemeride, IsValidUpToBothLimitsAboutTb) {
    struct Row {
        double age;
        bool extended, valid;
    };
    for (const Row& row :
         {Row{0.0, false, true}, Row{1200.0, false, true}, Row{1200.5, false, false}, Row{1200.5, true, true},
          Row{2100.0, true, true}, Row{2100.001, true, false}, Row{604800.0, true, false}}) {
        for (const double side : {-1.0, 1.0}) {
            const Ephemeride record = SampleGlonass();
            const GPSTime t = SampleTime + Time(side * row.age);
            Result result;
            EXPECT_EQ(record.IsTooOld(t, row.extended), !row.valid) << side * row.age;
            EXPECT_EQ(record.CalculatePosn(t, result, row.extended), row.valid) << side * row.age;
            EXPECT_EQ(result.valid, row.valid);
            EXPECT_EQ(result.healthy, row.valid);
        }
    }
}

TEST(GlonassEphemeride, AtTbTheBroadcastStateComesBackInMetres) {
    const Ephemeride record = SampleGlonass();
    const Result result = Calculate(record, SampleTime);
    EXPECT_EQ(result.posn.GetX(), record.posn.posn.GetX() * 1000.0);
    EXPECT_EQ(result.posn.GetY(), record.posn.posn.GetY() * 1000.0);
    EXPECT_EQ(result.posn.GetZ(), record.posn.posn.GetZ() * 1000.0);
    EXPECT_EQ(result.vely.GetX(), record.posn.vely.GetX() * 1000.0);
    EXPECT_EQ(result.vely.GetY(), record.posn.vely.GetY() * 1000.0);
    EXPECT_EQ(result.vely.GetZ(), record.posn.vely.GetZ() * 1000.0);
    EXPECT_EQ(result.clockCorrection, -3.6e-5);
    EXPECT_EQ(result.clockDrift, -9.1e-13);
    EXPECT_EQ(result.tb, 54000);
    EXPECT_EQ(result.sequence, 4);

    // Elsewhere it is the state after so many seconds in steps of a minute, and the clock's straight line.
    Orbit start;
    start.InitStraight(record.posn.posn, record.posn.vely);
    for (const double dt : {150.0, -150.0, 899.75, -1200.0}) {
        const Orbit end = start.IntegrateRotating(dt, 60.0, record.posn.accel);
        const Result moved = Calculate(record, SampleTime + Time(dt));
        EXPECT_EQ((moved.posn - ECEF(end.x * 1000.0, end.y * 1000.0, end.z * 1000.0)).Magnitude(), 0.0) << dt;
        EXPECT_EQ((moved.vely - ECEF(end.vx * 1000.0, end.vy * 1000.0, end.vz * 1000.0)).Magnitude(), 0.0) << dt;
        EXPECT_DOUBLE_EQ(moved.clockCorrection, -3.6e-5 - dt * 9.1e-13);
        const ECEF::Delta slope = (Calculate(record, SampleTime + Time(dt + 0.25), true).posn -
                                   Calculate(record, SampleTime + Time(dt - 0.25), true).posn) /
                                  0.5;
        EXPECT_LT((slope - (moved.vely - ECEF())).Magnitude(), 1e-5) << dt;
    }
}

TEST(GlonassEphemeride, StatusWords) {
    for (int word = Status::Health; word <= Status::P4; ++word) {
        Status status;
        status.Set(static_cast<Status::Word>(word), word == Status::Health ? 3 : 4);
        EXPECT_EQ(status.Get(Status::Present), 1 << (word - 1));
        EXPECT_TRUE(status.IsHealthy()) << word;
    }
    Ephemeride record = SampleGlonass();
    record.status.SetUnhealthy(true);
    EXPECT_EQ(record.status.Get(Status::Health), 4);
    for (const double age : {0.0, 5000.0}) {
        const Result result = Calculate(record, SampleTime + Time(age));
        EXPECT_FALSE(result.valid || result.healthy);
        EXPECT_EQ(result.posn.Radius(), 0.0);
        EXPECT_EQ(result.sequence, -1);
    }
    record.status.SetUnhealthy(false);
    EXPECT_TRUE(Calculate(record, SampleTime).healthy);
}

// The last day of a four-year interval is followed by the first of the next; the record knows neither.
TEST(GlonassEphemeride, AcrossTheEndOfTheInterval) {
    GPSTime newYear;
    newYear.SetFromUTC({Corvane::Date(2015, 12, 31), Corvane::TimeOfDay(21, 0, 0.0)});
    Ephemeride before = SampleGlonass();
    before.posn.day = 1461;
    before.posn.tb = 85500.0;
    Ephemeride after = SampleGlonass();
    after.posn.day = 1;
    after.posn.tb = 900.0;
    EXPECT_EQ(Apart(Calculate(before, newYear), Calculate(SampleGlonass(), SampleTime + Time(900.0))), 0.0);
    EXPECT_EQ(Apart(Calculate(after, newYear), Calculate(SampleGlonass(), SampleTime - Time(900.0))), 0.0);
    EXPECT_TRUE(before.IsTooOld(newYear + Time(301.0), false));

    for (const int today : {1, 60, 700}) {
        Corvane::Clock::SetTo({Corvane::Date(2014, 3, 1) + today, Corvane::TimeOfDay(1, 0, 0.0)});
        EXPECT_EQ(after.TbDifference(before).Seconds(), 1800.0) << today;
        EXPECT_EQ(before.TbDifference(after).Seconds(), -1800.0) << today;
    }
    Corvane::Clock::UseSystem();
}

// Around a leap at the end of a GPS week tb stands on the old count. Without knowledge of when the leap was, the rule
// takes any week for that one, and the satellite is a second away from where it is.
TEST(GlonassEphemeride, LeapSecondRuleInTheFirstHourOfAWeek) {
    struct Row {
        double seconds, tb;
        bool moves;
    };
    const Row rows[] = {{1.0, 10800.0, false},      {1.001, 10800.0, true},     {100.0, 9900.0, true},
                        {100.0, 10800.0, true},     {100.0, 11699.0, true},     {100.0, 11700.0, false},
                        {2900.0, 11699.0, true},    {604700.0, 10800.0, false}, {87000.0, 10800.0, false},
                        {604799.999, 9900.0, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.seconds << " s, tb " << row.tb);
        const GPSTime t(1860, row.seconds);
        Ephemeride record = SampleGlonass();
        record.posn.day = GloTime(t).GetDay();
        record.posn.tb = row.tb;
        GPSTime::SetUTCParam(GPSTime(1851, 259200.0), 16, 17);
        const Result builtIn = Calculate(record, t, true);
        GPSTime::SetUTCParam(GPSTime(1851, 259200.0), 17, 17);
        const Result broadcast = Calculate(record, t, true);
        const Result second = Calculate(record, t + Time(row.moves ? 1.0 : 0.0), true);
        GPSTime::SetUTCParam(GPSTime(1851, 259200.0), 16, 17);
        EXPECT_LT(Apart(builtIn, second), 1e-5);
        EXPECT_NEAR(builtIn.clockCorrection, second.clockCorrection, 1e-19);
        EXPECT_NEAR(Apart(builtIn, broadcast), row.moves ? 3200.0 : 0.0, row.moves ? 600.0 : 0.0);
    }
}

TEST(GlonassEphemeride, ImplausibleRecordsAreRefusedWithAnEvent) {
    struct Row {
        void (*spoil)(Ephemeride&);
        const char* event;  // without the beginning that all have; null when the record is plausible
    };
    const Row rows[] = {
        {[](Ephemeride&) {}, nullptr},
        {[](Ephemeride& r) { r.reference += Time(604800.0); }, nullptr},
        {[](Ephemeride& r) { r.reference -= Time(604800.0); }, nullptr},
        {[](Ephemeride& r) { r.reference += Time(604800.001); }, "inconsistent day number 1341."},
        {[](Ephemeride& r) { r.reference -= Time(604800.001); }, "inconsistent day number 1341."},
        {[](Ephemeride& r) { r.posn.day = -20; }, "inconsistent day number -20."},
        {[](Ephemeride& r) {
             r.posn.posn = {0.0, 25971.0, 0.0};
         },
         nullptr},
        {[](Ephemeride& r) {
             r.posn.posn = {0.0, 0.0, -24971.0};
         },
         nullptr},
        {[](Ephemeride& r) {
             r.posn.posn = {0.0, 25971.1, -0.6};
         },
         "invalid position (0, 25971, -1)."},
        {[](Ephemeride& r) {
             r.posn.posn = {-24970.9, 0.0, 0.0};
         },
         "invalid position (-24971, 0, 0)."},
        {[](Ephemeride& r) { r.posn.posn.SetX(NaN); }, "invalid position (nan, -12207, 21281)."},
        {[](Ephemeride& r) {
             r.posn.vely = {2.875, 0.0, 0.0};
         },
         nullptr},
        {[](Ephemeride& r) {
             r.posn.vely = {0.0, -3.875, 0.0};
         },
         nullptr},
        {[](Ephemeride& r) {
             r.posn.vely = {2.8749, 0.0, 0.0};
         },
         "invalid velocity (2.875, 0.000, 0.000)."},
        {[](Ephemeride& r) {
             r.posn.vely = {0.0, 0.0, -3.8751};
         },
         "invalid velocity (0.000, 0.000, -3.875)."},
        // The first test that fails speaks alone.
        {[](Ephemeride& r) { r.posn = {}; }, "inconsistent day number 0."},
        {[](Ephemeride& r) { r.posn.posn = r.posn.vely = ECEF(); }, "invalid position (0, 0, 0)."},
    };
    for (const Row& row : rows) {
        Ephemeride record = SampleGlonass();
        row.spoil(record);
        SCOPED_TRACE(row.event != nullptr ? row.event : "plausible");
        Corvane::Event::Clear();
        EXPECT_EQ(record.IsPlausible(), row.event == nullptr);
        const std::vector<Corvane::Event> events = Corvane::Event::GetKept();
        ASSERT_EQ(events.size(), row.event != nullptr ? 1U : 0U);
        if (row.event == nullptr) continue;
        EXPECT_EQ(events[0].GetSource(), "Glonass Ephemeris");
        EXPECT_EQ(events[0].GetText().str(),
                  std::string("Glonass Ephemeride update for Slot 07 is rejected due to an ") + row.event);
    }
    Corvane::Event::Clear();
}

TEST(GlonassEphemeride, Comparisons) {
    struct Row {
        const char* what;
        void (*change)(Ephemeride&);
        bool same, sameBody;
    };
    const Row rows[] = {
        {"nothing", [](Ephemeride&) {}, true, true},
        {"another slot", [](Ephemeride& r) { r.slot = 8; }, true, true},
        {"the day", [](Ephemeride& r) { ++r.posn.day; }, false, false},
        {"frame time within", [](Ephemeride& r) { r.posn.frameTime += 0.00099; }, true, true},
        {"frame time beyond", [](Ephemeride& r) { r.posn.frameTime -= 0.00101; }, false, true},
        {"tb within", [](Ephemeride& r) { r.posn.tb -= 0.00099; }, true, true},
        {"tb beyond", [](Ephemeride& r) { r.posn.tb += 0.00101; }, false, false},
        {"position within",
         [](Ephemeride& r) {
             r.posn.posn += {0.00099, -0.00099, 0.00099};
         },
         true, true},
        {"x beyond",
         [](Ephemeride& r) {
             r.posn.posn += {0.00101, 0.0, 0.0};
         },
         true, false},
        {"z beyond",
         [](Ephemeride& r) {
             r.posn.posn -= {0.0, 0.0, 0.00101};
         },
         true, false},
        {"velocity within",
         [](Ephemeride& r) {
             r.posn.vely += {0.99e-6, 0.99e-6, -0.99e-6};
         },
         true, true},
        {"vy beyond",
         [](Ephemeride& r) {
             r.posn.vely += {0.0, 1.01e-6, 0.0};
         },
         true, false},
        {"acceleration within",
         [](Ephemeride& r) {
             r.posn.accel += {0.99e-9, -0.99e-9, 0.0};
         },
         true, true},
        {"az beyond",
         [](Ephemeride& r) {
             r.posn.accel -= {0.0, 0.0, 1.01e-9};
         },
         true, false},
        {"clock and status",
         [](Ephemeride& r) {
             r.clock.tau = 0.0;
             r.status.SetUnhealthy(true);
         },
         true, true},
    };
    for (const Row& row : rows) {
        const Ephemeride a = SampleGlonass();
        Ephemeride b = a;
        row.change(b);
        EXPECT_EQ(a.IsTheSame(b), row.same) << row.what;
        EXPECT_EQ(a == b, row.same) << row.what;
        EXPECT_EQ(b != a, !row.same) << row.what;
        EXPECT_EQ(a.HasTheSameBody(b), row.sameBody) << row.what;
        EXPECT_EQ(b.HasTheSameBody(a), row.sameBody) << row.what;
    }
}

TEST(GlonassEphemeride, CanCalcWithItsTbAndOddness) {
    struct Row {
        int sequence;
        bool even, odd;
    };
    for (const Row& row : {Row{-1, true, true}, Row{-2, true, true}, Row{0, true, false}, Row{1, false, true},
                           Row{4, true, false}, Row{7, false, true}}) {
        Ephemeride record = SampleGlonass();
        record.posn.sequence = row.sequence;
        EXPECT_EQ(record.CanCalcWith(54000, false), row.even) << row.sequence;
        EXPECT_EQ(record.CanCalcWith(54000, true), row.odd) << row.sequence;
        for (const bool odd : {false, true}) {
            EXPECT_FALSE(record.CanCalcWith(53999, odd));
            Ephemeride broken = record;
            broken.posn.tb += 0.0005;
            EXPECT_FALSE(broken.CanCalcWith(54000, odd));
            broken = record;
            broken.status.SetUnhealthy(true);
            EXPECT_FALSE(broken.CanCalcWith(54000, odd));
        }
    }
}

// Days and numbers that no satellite sends: an answer or a refusal, and never a finite position of garbage.
TEST(GlonassEphemeride, SurvivesAnyFields) {
    for (const int day : {std::numeric_limits<int>::min(), -1, 0, 1462, std::numeric_limits<int>::max()}) {
        Ephemeride record = SampleGlonass();
        record.posn.day = day;
        Result result;
        EXPECT_FALSE(record.CalculatePosn(SampleTime, result, true)) << day;
        static_cast<void>(record.TbDifference(SampleGlonass()));
        // Below the first day of the interval, with the leap-second rule in play and the year not known.
        record.posn.tb = 10800.0;
        record.CalculatePosn(GPSTime(1860, 100.0), result, true);
    }
    for (const double bad : {NaN, Infinity, -Infinity, 1e308, -1e308}) {
        for (int field = 0; field < 10; ++field) {
            SCOPED_TRACE(testing::Message() << "field " << field << " = " << bad);
            Ephemeride record = SampleGlonass();
            ECEF* vectors[] = {&record.posn.posn, &record.posn.vely, &record.posn.accel};
            if (field == 9) {
                record.posn.tb = bad;
            } else {
                ECEF& v = *vectors[field / 3];
                field % 3 == 0 ? v.SetX(bad) : field % 3 == 1 ? v.SetY(bad) : v.SetZ(bad);
            }
            Result result;
            const GPSTime t = SampleTime + Time(1000.0);
            if (record.CalculatePosn(t, result, false)) {
                EXPECT_FALSE(std::isfinite(result.posn.Radius()));
                EXPECT_FALSE(std::isfinite((result.vely - ECEF()).Magnitude()));
            }
            static_cast<void>(record.HasTheSameBody(SampleGlonass()));
            static_cast<void>(record.CanCalcWith(54000, false));
            static_cast<void>(record.TbDifference(SampleGlonass()));
            EXPECT_EQ(record.IsPlausible(), 6 <= field && field < 9);
        }
        Result result;
        const bool answered = SampleGlonass().CalculatePosn(GPSTime(1860, bad), result, true);
        EXPECT_FALSE(answered && std::isfinite(result.posn.Radius())) << bad;
    }
    Corvane::Event::Clear();
}

}  // namespace
