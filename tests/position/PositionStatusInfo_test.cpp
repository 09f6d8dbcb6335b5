#include "gnss/position/PositionStatusInfo.h"

#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/position/PositionStation.h"

namespace {

using Corvane::Time;
using GNSS::PRN;
using GNSS::Glonass::Slot;
using Info = GNSS::Position::StatusInfo;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

TEST(PositionStatusInfo, StationsStandByIdentifier) {
    struct {
        int ident;
        int rtcmID;
        double baselineKM;
        bool within;
    } const rows[] = {
        {30, 803, 2499.9, true},
        {-5, 801, 2500.0, false},
        {20, 803, NaN, false},
        {10, 802, -1.0, true},
        {15, 802, std::numeric_limits<double>::infinity(), false},
    };
    Info info;
    const Info::Station& first = info.AddStation(rows[0].ident, rows[0].rtcmID, rows[0].baselineKM);
    for (const auto& row : rows) {
        EXPECT_EQ(info.AddStation(row.ident, row.rtcmID, row.baselineKM).IsWithinRange(), row.within) << row.ident;
    }
    EXPECT_EQ(&first, info.Find(30));
    EXPECT_EQ(&info.AddStation(30, 1, 9999.0), &first);
    EXPECT_EQ(first.GetRTCMID(), 803);
    ASSERT_EQ(info.NmrStation(), 5);
    for (int i = 1; i < 5; ++i) EXPECT_LT(info.GetStation(i - 1).GetIdent(), info.GetStation(i).GetIdent());
    EXPECT_EQ(info.FindRTCMID(803)->GetIdent(), 20);
    EXPECT_TRUE(info.Find(11) == nullptr && info.Find(31) == nullptr && info.FindRTCMID(30) == nullptr);
    for (const int index : {-1, 5}) EXPECT_FALSE(info.GetStation(index).IsWithinRange());

    Info copy = info;
    info.AddStation(30, 0, 0.0).SetStatus(Info::Unhealthy);
    EXPECT_EQ(copy.Find(30)->GetStatus(), Info::NoCorrections);
    copy = info;
    copy = *&copy;
    info.Reset();
    EXPECT_EQ(copy.Find(30)->GetStatus(), Info::Unhealthy);
    EXPECT_TRUE(info.NmrStation() == 0 && info.GetMode() == 3 && info.GetCompositeID() == 0);
}

TEST(PositionStatusInfo, Usage) {
    constexpr Info::Mode Norvi = Info::Norvi;
    constexpr Info::Mode Elkan = Info::Elkan;
    constexpr Info::Mode Morra = Info::Morra;
    struct Call {
        int ident;
        double latency;
        Info::Mode mode;
        bool used = true;
    };
    struct {
        const char* why;
        int used;
        int compositeID;
        double latency;
        Info::Mode mode;
        std::vector<Call> calls;
    } const rows[] = {
        {"nothing told", 0, 0, 0.0, Info::NoService, {}},
        {"one alone", 1, 802, 3.0, Elkan, {{2, 3.0, Elkan}}},
        {"three by Morra", 3, 10003, 2.0, Morra, {{1, 3.0, Morra}, {2, 2.0, Morra}, {3, 4.0, Morra}}},
        {"two by Elkan", 2, 102, 3.0, Elkan, {{1, 3.0, Norvi}, {2, 3.0, Elkan}}},
        {"two by Norvi", 2, 1002, 3.0, Norvi, {{1, 3.0, Elkan}, {2, 3.0, Norvi}}},
        {"one not there, one not used", 0, 0, 0.0, Elkan, {{9, 1.0, Norvi}, {1, 1.0, Elkan, false}}},
        {"the same one twice", 2, 1002, 3.0, Norvi, {{1, 3.0, Norvi}, {1, 5.0, Norvi}}},
        {"smaller within the tolerance", 2, 1002, 3.0, Norvi, {{1, 3.0, Norvi}, {2, 3.0 - 4e-7, Norvi}}},
        {"smaller beyond it", 2, 1002, 3.0 - 6e-7, Norvi, {{1, 3.0, Norvi}, {2, 3.0 - 6e-7, Norvi}}},
        {"not a number", 2, 1002, 3.0, Norvi, {{1, 3.0, Norvi}, {2, NaN, Norvi}}},
    };
    for (const auto& row : rows) {
        Info info;
        for (int i = 1; i <= 3; ++i) info.AddStation(i, 800 + i, 10.0);
        for (const Call& call : row.calls) info.SetUsage(call.ident, Time(call.latency), 8, call.mode, call.used);
        EXPECT_EQ(info.NmrUsedStation(), row.used) << row.why;
        EXPECT_EQ(info.GetCompositeID(), row.compositeID) << row.why;
        EXPECT_EQ(info.GetGPSLatency().Seconds(), row.latency) << row.why;
        EXPECT_EQ(info.GetLatency(), info.GetGPSLatency()) << row.why;
        EXPECT_EQ(info.GetMode(), row.mode) << row.why;
    }
}

TEST(PositionStatusInfo, GlonassLatency) {
    struct {
        double gps;
        double glonass;
        double latency;
    } const rows[] = {{1.0, 2.0, 1.0}, {2.0, 1.0, 1.0}, {1.0, 1.0 + 4e-7, 1.0 + 4e-7}, {1.0, 1.0 + 6e-7, 1.0}};
    for (const auto& row : rows) {
        Info info;
        info.AddStation(1, 801, 10.0);
        info.SetUsage(1, Time(row.gps), Time(row.glonass), 4, Info::Norvi, true);
        EXPECT_EQ(info.GetLatency().Seconds(), row.latency);
        EXPECT_EQ(info.Find(1)->GetUsageCount(), 4);
        // Also for a station that is not there.
        info.SetUsage(2, Time(0.5), Time(7.0), 4, Info::Morra, true);
        EXPECT_TRUE(info.HasGlonassLatency() && info.IsNorvi() && info.NmrUsedStation() == 1);
        EXPECT_EQ(info.GetGlonassLatency().Seconds(), 7.0);
    }
}

template <typename Id, typename List>
void ExpectOrder(const List& (Info::Station::*svs)() const) {
    Info info;
    Info::Station& station = info.AddStation(1, 801, 10.0);
    // Every satellite, in an order of their numbers that is not ascending (7 has no factor in common with 32 and 24).
    for (int i = 0; i < Id::Max; ++i) {
        const Id id(i * 7 % Id::Max + 1);
        EXPECT_EQ(station.GetSVStatus(id), 0);
        station.SetSVStatus(id, Info::Outdated);
        station.SetSVStatus(id, i % 2 == 0 ? Info::Used : Info::Rejected);
        EXPECT_EQ(station.GetSVStatus(id), i % 2 == 0 ? Info::Used : Info::Rejected);
    }
    station.SetSVStatus(Id(), Info::Used);
    EXPECT_EQ(station.GetSVStatus(Id()), 0);
    EXPECT_EQ(station.NmrSV() + station.NmrGlonassSV(), Id::Max);
    ASSERT_EQ((station.*svs)().NmrSV(), Id::Max);
    for (int i = 0; i < Id::Max; ++i) EXPECT_EQ((station.*svs)().GetSV(i).GetId(), i + 1);
    for (const int index : {-1, Id::Max}) EXPECT_TRUE((station.*svs)().GetSV(index).GetId().IsNull());

    // All stations together are another matter.
    EXPECT_EQ(info.GetSVStatus(Id::First), 0);
    info.SetSVStatus(Id::First, Info::Disabled);
    EXPECT_EQ(Info(info).GetSVStatus(Id::First), Info::Disabled);
    EXPECT_EQ(station.GetSVStatus(Id::First), Info::Used);
    info.Reset();
    EXPECT_EQ(info.GetSVStatus(Id::First), 0);
}

TEST(PositionStatusInfo, SatellitesStandByNumber) {
    ExpectOrder<PRN>(&Info::Station::GetSVs);
    ExpectOrder<Slot>(&Info::Station::GetGlonassSVs);
}

}  // namespace
