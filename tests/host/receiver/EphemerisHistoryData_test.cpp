// A day of broadcast records of each system through the histories, in the order in which they were sent, against the
// positions of independent programs (sat_gps_2010182.csv, sat_glo_2009091.csv): a store that has heard each record when
// it was sent answers from the record that the table chose, with its newest or with the one before.
#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "host/receiver/LeapRule.h"
#include "tests/host/receiver/NavigationData.h"
#include "tests/host/receiver/Table.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::ECEF;
using GNSS::GPSTime;
using tests::Number;
using tests::Row;

struct Outcome {
    int taken = 0;
    int refused = 0;
    int byNewest = 0;
    int bySecond = 0;
    int older = 0;    // still kept, but nobody asks for it
    int notSent = 0;  // the table's record had not been sent yet
    int tooOld = 0;
    double largest = 0.0;  // m
};

// The issue that tells a satellite's records of one day from each other.
int Issue(const GNSS::GPSEphemeride& record) {
    return record.posn.IODE;
}
int Issue(const GNSS::GPSEphemeride::Result& result) {
    return result.IODE;
}
int Issue(const GNSS::Glonass::Ephemeride& record) {
    return Corvane::ToInt(record.posn.tb);
}
int Issue(const GNSS::Glonass::Ephemeride::Result& result) {
    return result.tb;
}

// Feeds the records up to the time of each row and asks for the row's satellite. How many records of the satellite have
// been sent since the table's tells whether the newest or the one before must answer.
template <typename History, typename Calc, typename Records>
void Replay(const Records& records, const std::string& table, const std::string& suffix,
            int (*issueOfRow)(const Row& row), Outcome& outcome) {
    History history;
    Calc calc;
    auto next = records.begin();
    for (const Row& row : tests::ReadTable(table)) {
        if (row.at("toe_week").empty()) continue;
        const GPSTime t(std::stoi(row.at("gps_week")), Number(row.at("tow_s_GPST")));
        for (; next != records.end() && next->reference <= t; ++next) {
            ++(history.Update(*next) ? outcome.taken : outcome.refused);
        }
        calc.SetImplementation(std::make_shared<const History>(history));
        if (row.at("sv_health") != "0") continue;

        const typename History::Id id(std::stoi(row.at("sat").substr(1)));
        const int issue = issueOfRow(row);
        int nmrSince = 0;
        auto sent = next;
        for (; sent != records.begin(); --sent) {
            const auto& record = *std::prev(sent);
            if (History::Rules::GetId(record) != id) continue;
            if (Issue(record) == issue) break;
            ++nmrSince;
        }
        if (sent == records.begin()) {
            ++outcome.notSent;
            continue;
        }
        const auto* kept = history.FindSV(id)->GetEphem(nmrSince);
        ASSERT_TRUE(kept != nullptr && Issue(*kept) == issue) << row.at("sat") << " " << row.at("tow_s_GPST");
        if (nmrSince > 1) {
            ++outcome.older;
            continue;
        }
        typename History::Result result;
        const bool isAnswer =
            nmrSince == 0 ? calc.CalculateHealthyPosn(id, t, result) : calc.CalculateSecondPosn(id, t, result);
        if (!isAnswer) {
            ++outcome.tooOld;
            continue;
        }
        EXPECT_EQ(Issue(result), issue) << row.at("sat") << " " << row.at("tow_s_GPST");
        ++(nmrSince == 0 ? outcome.byNewest : outcome.bySecond);
        const ECEF expected(Number(row.at("bx_m" + suffix)), Number(row.at("by_m" + suffix)),
                            Number(row.at("bz_m" + suffix)));
        outcome.largest = std::max(outcome.largest, (result.posn - expected).Magnitude());
    }
    for (; next != records.end(); ++next) ++(history.Update(*next) ? outcome.taken : outcome.refused);
    std::cout << outcome.taken << " taken, " << outcome.refused << " refused; " << outcome.byNewest
              << " rows by the newest, " << outcome.bySecond << " by the one before, " << outcome.older << " older, "
              << outcome.notSent << " not sent yet, " << outcome.tooOld << " too old; largest difference "
              << outcome.largest << " m\n";
}

TEST(EphemerisHistoryData, ADayOfGPS) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc1820.10n");
    GNSS_REQUIRE_TEST_DATA(table, "reference/sat_gps_2010182.csv");
    const auto records = tests::BySending(tests::ReadNavigation(path).gps);
    Outcome outcome;
    Replay<GNSS::GPSEphemeris, GNSS::GPSEphemerisCalc>(
        records, table, "", [](const Row& row) { return std::stoi(row.at("iode")); }, outcome);
    EXPECT_EQ(outcome.taken, 421);
    EXPECT_EQ(outcome.byNewest + outcome.bySecond, 2626);
    // Uploads come between the even hours.
    EXPECT_EQ(outcome.older, 103);
    EXPECT_EQ(outcome.notSent, 155);
    EXPECT_EQ(outcome.tooOld, 0);
    // The tables' gravitational constant is another: up to 2.1 m over 2 h.
    EXPECT_LT(outcome.largest, 2.1);
}

TEST(EphemerisHistoryData, ADayOfGlonass) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc0910.09g");
    GNSS_REQUIRE_TEST_DATA(table, "reference/sat_glo_2009091.csv");
    Host::LeapRule().SetFor(GPSTime(1525, 259200.0));
    const auto records = tests::BySending(tests::ReadNavigation(path).glonass);
    Outcome outcome;
    Replay<GNSS::Glonass::Ephemeris, GNSS::Glonass::EphemerisCalc>(
        records, table, "_PZ90", [](const Row& row) { return 900 * std::stoi(row.at("tb_15min_MoscowTime")); },
        outcome);
    EXPECT_EQ(outcome.taken, 912);
    EXPECT_EQ(outcome.byNewest, 1733);
    EXPECT_EQ(outcome.notSent, 87);
    EXPECT_EQ(outcome.bySecond + outcome.older + outcome.tooOld, 0);
    EXPECT_LT(outcome.largest, 0.01);
}

}  // namespace
