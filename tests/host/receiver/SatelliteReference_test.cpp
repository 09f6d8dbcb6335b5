// Satellite positions, velocities and clocks against independent programs, row by row of the reference tables
// sat_gps_2010182.csv, sat_glo_2009091.csv and sat_esbc_2020177.csv (RTKLIB 2.4.3 b34, confirmed by GNSSTk 14.3.0 and
// libswiftnav; their README tells how they were made).
#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSOrbitModel.h"
#include "host/cli/Inputs.h"
#include "tests/host/receiver/ReferenceRinex.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::ECEF;
using GNSS::GPSTime;
using Host::RinexNavigation;

// The gravitational constant of IS-GPS-200, 20.3.3.4.3.2, which the reference programs compute with; the record's own
// is the newer one of WGS 84.
constexpr double ReferenceGravity = 3.986005e14;

using tests::Row;

double Number(const Row& row, const std::string& name) {
    return tests::Number(row.at(name));
}

int Week(const Row& row) {
    return static_cast<int>(Number(row, "gps_week"));
}

ECEF::Delta Apart(const ECEF& a, const Row& row, const std::string& suffix) {
    return a - ECEF(Number(row, "bx_m" + suffix), Number(row, "by_m" + suffix), Number(row, "bz_m" + suffix));
}

ECEF::Delta VelyApart(const ECEF::Delta& v, const Row& row) {
    return v - ECEF::Delta(Number(row, "bvx_mps"), Number(row, "bvy_mps"), Number(row, "bvz_mps"));
}

// The largest component, as the tables' own agreement is told.
double Largest(const ECEF::Delta& d) {
    return std::max({std::abs(d.GetX()), std::abs(d.GetY()), std::abs(d.GetZ())});
}

// What a table's rows came to.
struct Outcome {
    int compared = 0;
    int withoutRecord = 0;  // rows that name no record: the file has none for that satellite and time
    double posn = 0.0;
    double vely = 0.0;
    double clock = 0.0;
    double published = 0.0;  // of the public computation, whose gravitational constant is the other one
};

void CompareGPS(const RinexNavigation& navigation, const Row& row, const char* issueColumn, Outcome& outcome) {
    const int prn = std::stoi(row.at("sat").substr(1));
    const GPSTime t(Week(row), Number(row, "tow_s_GPST"));
    const GPSTime toe(static_cast<int>(Number(row, "toe_week")), Number(row, "toe_tow_s_GPST"));
    for (const auto& record : navigation.gps) {
        if (record.ephemeride.prn != prn || record.ephemeride.GetTOE() != toe ||
            record.ephemeride.posn.IODE != static_cast<int>(Number(row, issueColumn))) {
            continue;
        }
        // Unhealthy satellites stand in the tables too.
        GNSS::GPSEphemeride ephemeride = record.ephemeride;
        EXPECT_EQ(ephemeride.status.GetHealth(), static_cast<int>(Number(row, "sv_health")));
        ephemeride.status.SetHealth(0);
        GNSS::GPSEphemeride::Result result;
        ASSERT_TRUE(GNSS::GPSOrbitModel::CalculatePosn(ephemeride, t, ReferenceGravity, result));
        outcome.posn = std::max(outcome.posn, Largest(Apart(result.posn, row, "")));
        outcome.clock = std::max(outcome.clock, std::abs(result.clockCorrection - Number(row, "bclk_total_s")));
        outcome.vely = std::max(
            outcome.vely, Largest(VelyApart(GNSS::GPSOrbitModel::CalculateVely(ephemeride, t, ReferenceGravity), row)));
        ASSERT_TRUE(ephemeride.CalculatePosn(t, result));
        // The two constants differ by 1.46e-7, half of which is the difference of the mean motions: 3.9 km/s times that
        // share of the time from toe.
        const double explained = 3.9e3 * 0.5 * 1.46e-7 * std::abs((t - toe).Seconds());
        const double published = Apart(result.posn, row, "").Magnitude();
        EXPECT_NEAR(published, explained, 0.05 * explained + 1e-3);
        outcome.published = std::max(outcome.published, published);
        ++outcome.compared;
        return;
    }
    ADD_FAILURE() << "no record for " << row.at("sat") << " toe " << row.at("toe_tow_s_GPST");
}

void CompareGlonass(const RinexNavigation& navigation, const Row& row, const std::string& suffix, Outcome& near,
                    Outcome& far) {
    const int slot = std::stoi(row.at("sat").substr(1));
    const GPSTime t(Week(row), Number(row, "tow_s_GPST"));
    const GPSTime tb(static_cast<int>(Number(row, "toe_week")), Number(row, "toe_tow_s_GPST"));
    for (const auto& record : navigation.glonass) {
        if (record.ephemeride.slot != slot || record.tb != tb) continue;
        GNSS::Glonass::Ephemeride ephemeride = record.ephemeride;
        ephemeride.status.SetUnhealthy(false);
        GNSS::Glonass::Ephemeride::Result result;
        ASSERT_TRUE(ephemeride.CalculatePosn(t, result, true));
        Outcome& outcome = std::abs((t - tb).Seconds()) <= 900.0 ? near : far;
        outcome.posn = std::max(outcome.posn, Largest(Apart(result.posn, row, suffix)));
        outcome.vely = std::max(outcome.vely, Largest(VelyApart(result.vely - ECEF(), row)));
        const double clock = Number(row, row.contains("bclk_s") ? "bclk_s" : "bclk_total_s");
        outcome.clock = std::max(outcome.clock, std::abs(-result.clockCorrection - clock));
        ++outcome.compared;
        return;
    }
    ADD_FAILURE() << "no record for " << row.at("sat") << " tb " << row.at("toe_tow_s_GPST");
}

void Print(const char* what, const Outcome& outcome) {
    std::cout << what << ": " << outcome.compared << " rows, largest difference " << outcome.posn << " m, "
              << outcome.vely << " m/s, " << outcome.clock << " s; with the public constant " << outcome.published
              << " m; " << outcome.withoutRecord << " rows name no record\n";
}

void ExpectGPS(const Outcome& outcome) {
    EXPECT_LT(outcome.posn, 1e-3);
    EXPECT_LT(outcome.vely, 1e-5);
    EXPECT_LT(outcome.clock, 1e-13);
}

void ExpectGlonass(const Outcome& near, const Outcome& far) {
    EXPECT_LT(near.posn, 5e-3);
    EXPECT_LT(far.posn, 10e-3);
    for (const Outcome& outcome : {near, far}) {
        EXPECT_LT(outcome.vely, 1e-5);
        EXPECT_LT(outcome.clock, 1e-13);
    }
}

TEST(SatelliteReference, GPS2010) {
    GNSS_REQUIRE_TEST_DATA(table, "reference/sat_gps_2010182.csv");
    GNSS_REQUIRE_TEST_DATA(file, "data/brdc1820.10n");
    const RinexNavigation navigation = tests::ReadNavigation(file);
    const auto rows = tests::ReadTable(table);
    Outcome outcome;
    for (const Row& row : rows) CompareGPS(navigation, row, "iode", outcome);
    Print("GPS 2010", outcome);
    EXPECT_EQ(outcome.compared, 3072);
    ExpectGPS(outcome);
}

TEST(SatelliteReference, Glonass2009) {
    GNSS_REQUIRE_TEST_DATA(table, "reference/sat_glo_2009091.csv");
    GNSS_REQUIRE_TEST_DATA(file, "data/brdc0910.09g");
    const RinexNavigation navigation = tests::ReadNavigation(file);
    const auto rows = tests::ReadTable(table);
    Outcome near;
    Outcome far;
    Host::LeapRule().SetFor(GPSTime(1525, 259200.0));
    for (const Row& row : rows) {
        if (row.at("bx_m_PZ90").empty()) {
            ++near.withoutRecord;
        } else {
            CompareGlonass(navigation, row, "_PZ90", near, far);
        }
    }
    Print("GLONASS 2009 to 15 minutes", near);
    Print("GLONASS 2009 beyond", far);
    EXPECT_EQ(near.compared + far.compared + near.withoutRecord, 1824);
    ExpectGlonass(near, far);
}

TEST(SatelliteReference, BothSystems2020) {
    GNSS_REQUIRE_TEST_DATA(table, "reference/sat_esbc_2020177.csv");
    GNSS_REQUIRE_TEST_DATA(file, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    const RinexNavigation navigation = tests::ReadNavigation(file);
    const auto rows = tests::ReadTable(table);
    Outcome gps;
    Outcome near;
    Outcome far;
    Host::LeapRule().SetFor(GPSTime(2111, 345600.0));
    for (const Row& row : rows) {
        const bool isGPS = row.at("sat")[0] == 'G';
        if (row.at("bx_m").empty()) {
            ++(isGPS ? gps : near).withoutRecord;
        } else if (isGPS) {
            CompareGPS(navigation, row, "iode_or_tb", gps);
        } else {
            CompareGlonass(navigation, row, "", near, far);
        }
    }
    Print("GPS 2020", gps);
    Print("GLONASS 2020 to 15 minutes", near);
    Print("GLONASS 2020 beyond", far);
    EXPECT_EQ(gps.compared + gps.withoutRecord + near.compared + near.withoutRecord + far.compared, 5054);
    ExpectGPS(gps);
    ExpectGlonass(near, far);
}

}  // namespace
