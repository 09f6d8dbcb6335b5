// The data-age records of both systems: candidates, expiry, and what disagrees or lacks.
#include "gnss/ephemeris/DataAge.h"

#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/IODEData.h"
#include "gnss/ephemeris/TbData.h"
#include "gnss/platform/Clock.h"
#include "tests/ephemeris/Records.h"

namespace {

using Corvane::Time;
using GNSS::IODEData;
using GNSS::PRN;
using GNSS::TbData;
using GNSS::Glonass::Slot;
using tests::SampleTime;

TEST(DataAge, AcceptsACandidateAtItsTenthSightingInARow) {
    struct Case {
        int iode;
        int times;
        int changes;  // how many of the sightings answered true
        int current, previous, candidate, count;
    };
    const Case cases[] = {
        {7, 9, 1, -1, -1, 7, 9},                           // nothing is known at first
        {7, 1, 1, 7, -1, -1, 0},                           // the tenth
        {8, 9, 1, 7, -1, 8, 9},  {7, 20, 0, 7, -1, 8, 9},  // the current one neither counts nor resets
        {9, 1, 1, 7, -1, 9, 1},                            // another one starts anew
        {8, 9, 1, 7, -1, 8, 9},  {8, 1, 1, 8, 7, -1, 0},  {7, 10, 2, 7, 8, -1, 0},  // back again
        {9, 4, 1, 7, 8, 9, 4},
    };
    IODEData data("RTCM");
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.times << " times " << c.iode);
        int changes = 0;
        for (int i = 0; i < c.times; ++i) changes += data.UpdateRTCM(5, c.iode) ? 1 : 0;
        const IODEData::SV& sv = data[data.FindPRN(5)];
        EXPECT_EQ(changes, c.changes);
        EXPECT_EQ(sv.GetCurrent(), c.current);
        EXPECT_EQ(sv.GetPrevious(), c.previous);
        EXPECT_EQ(sv.GetCandidate(), c.candidate);
        EXPECT_EQ(sv.GetCandidateCount(), c.count);
    }
    // A change by the ephemeris drops the candidate.
    EXPECT_TRUE(data.UpdateEphem(5, 3, 7));
    EXPECT_EQ(data[0].GetCandidate(), -1);
    EXPECT_FALSE(data.UpdateEphem(5, 3, 7));
    EXPECT_TRUE(data.UpdateEphem(5, 3, IODEData::Unknown));
    EXPECT_EQ(data[0].GetPrevious(), -1);
    EXPECT_FALSE(data.UpdateEphem(PRN::Null, 3, 7) || data.UpdateRTCM(PRN::Null, 3));
    EXPECT_TRUE(data.NmrSV() == 1 && data[1].GetId().IsNull());
}

TEST(DataAge, TellsATbToAMillisecond) {
    TbData data;
    EXPECT_TRUE(data.UpdateEphem(3, 54900.0, 53100.0));
    EXPECT_FALSE(data.UpdateEphem(3, 54900.0005, 53099.9995));
    EXPECT_FALSE(data.UpdateRTCM(3, 54900.0005));
    EXPECT_TRUE(data.UpdateRTCM(3, 54900.002));
    EXPECT_FALSE(data.UpdateRTCM(3, 54900.0025));
    EXPECT_EQ(data[data.FindSlot(3)].GetCandidateCount(), 2);
    TbData::SV sv(3, 10.0);
    EXPECT_TRUE(!sv.SetPrevious(-1.0) && sv.SetPrevious(0.0));
}

TEST(DataAge, ForgetsCorrectionsAfterTwoMinutes) {
    const Corvane::TimeDate start = SampleTime.GetUTC();
    Corvane::Clock::SetTo(start);
    IODEData data("RTCM");
    data.UpdateRTCM(1, 10);
    data.UpdateRTCM(2, 20);
    data.UpdateEphem(3, 30, -1);
    Corvane::Clock::SetTo(start + Time(60.0));
    data.UpdateRTCM(2, 20);
    Corvane::Clock::SetTo(start + Time(119.998));
    EXPECT_FALSE(data.Purge());
    Corvane::Clock::SetTo(start + Time(120.0));
    EXPECT_TRUE(data.Purge());
    EXPECT_TRUE(data.FindPRN(1) == -1 && data.NmrSV() == 2);
    Corvane::Clock::SetTo(start + Time(1e6));
    EXPECT_TRUE(data.Purge());
    EXPECT_TRUE(data.NmrSV() == 1 && data[0].GetId() == 3) << "what a history says does not expire";
    Corvane::Clock::UseSystem();
}

TEST(DataAge, FollowsAHistory) {
    GNSS::GPSEphemeris history;
    IODEData data("GPS Ephemeris");
    GNSS::GPSEphemeride record = tests::SampleGPS();
    const auto add = [&](int prn, int iode) {
        record.prn = prn;
        record.posn.IODE = iode;
        EXPECT_TRUE(history.Update(record));
        return data.UpdateEphem(history);
    };
    EXPECT_TRUE(add(32, 4));
    EXPECT_TRUE(add(1, 5));
    EXPECT_FALSE(data.UpdateEphem(history));
    EXPECT_TRUE(add(1, 6));
    EXPECT_TRUE(data[data.FindPRN(1)].GetCurrent() == 6 && data[data.FindPRN(1)].GetPrevious() == 5);
    EXPECT_EQ(data[data.FindPRN(32)].GetPrevious(), -1);
    // A whole new history, of one satellite that starts again.
    history.Reset();
    EXPECT_TRUE(add(1, 6));
    EXPECT_TRUE(data.NmrSV() == 1 && data[0].GetPrevious() == -1);
}

TEST(DataAge, ListsWhatDisagreesAndWhatLacks) {
    struct Case {
        int number;
        int a, aPrevious;  // issues; None for no entry
        int b, bPrevious;
        bool isMeasured;
        bool matches, isMissing;  // isMissing from a
    };
    constexpr int None = -2;
    const Case cases[] = {
        {1, 10, 9, 10, 9, true, true, false},       {2, 10, 9, 11, 10, true, true, false},
        {3, 10, 9, 9, 8, true, false, false},       {4, 10, -1, -1, -1, true, false, false},
        {5, -1, -1, 10, 9, true, true, false},      {6, 10, 9, None, None, true, true, false},
        {7, None, None, 10, 9, true, true, true},   {8, 10, 9, 11, 12, false, true, false},
        {9, None, None, 10, 9, false, true, false},
    };
    const auto check = [&]<typename Data>(Data, auto measurement) {
        Data a;
        Data b;
        typename Data::MeasurementSet measured;
        std::vector<int> disagree;
        std::vector<int> lack;
        for (const Case& c : cases) {
            if (c.a != None) a.UpdateEphem(c.number, c.a, c.aPrevious);
            if (c.b != None) b.UpdateEphem(c.number, c.b, c.bPrevious);
            measured.AddSV(c.number);
            if (c.isMeasured) measured.AddMeas(c.number, measurement);
            if (!c.matches) disagree.push_back(c.number);
            if (c.isMissing) lack.push_back(c.number);
        }
        typename Data::List out;
        for (int times = 0; times < 2; ++times) {
            EXPECT_TRUE(Data::Match(a, b, measured, out));
            EXPECT_EQ(std::vector<int>(out.begin(), out.end()), disagree);
        }
        out.Reset();
        EXPECT_TRUE(Data::Missing(a, measured, out));
        EXPECT_EQ(std::vector<int>(out.begin(), out.end()), lack);
        out.Reset();
        EXPECT_FALSE(Data::Match(a, a, measured, out) || Data::Missing(a, {}, out));
    };
    check(IODEData(), GNSS::GPSMeas());
    check(TbData(), GNSS::Glonass::Measurement());

    // A satellite on two receiver channels is listed once, one without a slot not at all.
    GNSS::Glonass::Measurement::Set measured;
    for (const int slot : {4, 4, 0}) {
        const int index = measured.AddSV(Slot(slot), 10 + measured.NmrSV());
        measured.ChangeSV(index)->AddMeas({});
    }
    ASSERT_EQ(measured.NmrSV(), 3);
    Slot::List out;
    EXPECT_TRUE(TbData::Missing(TbData(), measured, out));
    EXPECT_EQ(out.Print(), "04");
}

}  // namespace
