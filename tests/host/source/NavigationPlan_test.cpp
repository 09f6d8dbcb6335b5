// NavigationPlan: that the newest record that is due is one that holds, on real files.
#include "host/source/NavigationPlan.h"

#include <cmath>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "host/receiver/LeapRule.h"
#include "tests/host/receiver/NavigationData.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::GPSTime;
using Host::NavigationPlan;

// The reference times of a system's records, by satellite.
using References = std::map<int, std::vector<GPSTime>>;

struct Sent : Host::RecordSink {
    using RecordSink::OnRecord;
    void OnRecord(const GNSS::GPSEphemeride& record) override {
        ++nmr;
        refused += gps.Update(record) ? 0 : 1;
        newestGPS.insert_or_assign(record.prn, record.GetTOE());
    }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
        ++nmr;
        refused += glonass.Update(record) ? 0 : 1;
        newestGlonass.insert_or_assign(record.slot,
                                       glonassReference.at({record.slot, record.posn.day, record.posn.tb}));
        channels += channel ? 1 : 0;
    }
    int nmr = 0;
    int refused = 0;  // by the stores' rules
    int channels = 0;
    GNSS::GPSEphemeris gps;
    GNSS::Glonass::Ephemeris glonass;
    std::map<int, GPSTime> newestGPS, newestGlonass;
    std::map<std::tuple<int, int, double>, GPSTime> glonassReference;
};

// Wherever a record holds, the newest that is due is such a one, and nearly the nearest.
int CountUncovered(const References& all, const std::map<int, GPSTime>& newest, const GPSTime& now, double holds) {
    int uncovered = 0;
    for (const auto& [satellite, references] : all) {
        double nearest = 1e9;
        for (const GPSTime& reference : references) nearest = std::min(nearest, std::abs((now - reference).Seconds()));
        if (nearest >= holds) continue;
        const auto sent = newest.find(satellite);
        uncovered += sent == newest.end() || std::abs((now - sent->second).Seconds()) > holds ? 1 : 0;
    }
    return uncovered;
}

TEST(NavigationPlan, CoversEveryEpochThatARecordCovers) {
    for (const char* name : {"data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz", "data/brdc1820.10n", "data/brdc0910.09g"}) {
        GNSS_REQUIRE_TEST_DATA(path, name);
        const Host::RinexNavigation file = tests::ReadNavigation(path);
        Host::LeapRule leaps;
        EXPECT_EQ(leaps.Add(file, path), "");
        leaps.SetFor(file.gps.empty() ? file.glonass.front().tb : file.gps.front().ephemeride.GetTOE());
        NavigationPlan plan;
        plan.Add(file, path);
        plan.Complete();
        const bool hasMisfiled = std::string(name).ends_with("10n");
        ASSERT_EQ(plan.GetDoubts().size(), hasMisfiled ? 1U : 0U) << name;

        Sent sent;
        References gps, glonass;
        for (const auto& record : file.gps) {
            if (hasMisfiled &&
                plan.GetDoubts().front().find(":" + std::to_string(record.line) + ":") != std::string::npos)
                continue;
            gps[record.ephemeride.prn].push_back(record.ephemeride.GetTOE());
        }
        for (const auto& record : file.glonass) {
            glonass[record.ephemeride.slot].push_back(record.tb);
            sent.glonassReference[{record.ephemeride.slot, record.ephemeride.posn.day, record.ephemeride.posn.tb}] =
                record.tb;
        }
        GPSTime now = *plan.GetFirstReference();
        now = GPSTime(now.GetWeek(), std::ceil(now.GetSeconds() / 86400.0 - 0.5) * 86400.0);
        int uncovered = 0;
        for (const GPSTime end = now + Corvane::Time::Day; now < end; now += Corvane::Time(30.0)) {
            while (plan.GetNext() != nullptr && *plan.GetNext() <= now) plan.SendNext(sent);
            uncovered += CountUncovered(gps, sent.newestGPS, now, NavigationPlan::HoldsGPS.Seconds());
            uncovered += CountUncovered(glonass, sent.newestGlonass, now, NavigationPlan::HoldsGlonass.Seconds());
        }
        EXPECT_EQ(uncovered, 0) << name;
        EXPECT_EQ(sent.refused, 0) << name;
        EXPECT_GT(sent.nmr, 250) << name;
        EXPECT_EQ(sent.channels > 0, !file.glonass.empty()) << name;
        plan.Rewind();
        EXPECT_NE(plan.GetNext(), nullptr);
    }
}

}  // namespace
