// Broadcast navigation files of receivers and data centres, against independent readings of them.
#include <cmath>
#include <map>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "host/receiver/FileText.h"
#include "host/receiver/RinexNavigation.h"
#include "tests/host/receiver/Table.h"
#include "tests/support/TestData.h"

using GNSS::GPSTime;
using Host::FileError;
using Host::RinexNavigation;
using tests::Number;
using tests::ReadTable;

namespace {

using Key = std::tuple<int, int, int>;

RinexNavigation Read(const std::string& path) {
    RinexNavigation navigation;
    FileError error;
    EXPECT_TRUE(navigation.Read(path, error)) << error.Print();
    return navigation;
}

}  // namespace

TEST(RinexNavigationData, ReadsADayOfGPS) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc1820.10n");
    const RinexNavigation navigation = Read(path);
    EXPECT_EQ(navigation.version, 200);
    EXPECT_EQ(navigation.gps.size(), 421U);
    EXPECT_EQ(navigation.nmrRepeats, 0);
    EXPECT_EQ(navigation.nmrRefused, 0);
    // The header counts the week of the UTC parameters modulo 1024.
    ASSERT_EQ(navigation.warnings.GetCount(), 1);
    EXPECT_EQ(navigation.warnings.GetKept()[0].line, 6);
    ASSERT_TRUE(navigation.iono && navigation.utc && navigation.leapSeconds);
    EXPECT_EQ(navigation.iono->alpha3, -1.192e-7);
    EXPECT_EQ(navigation.iono->beta3, -5.243e5);
    EXPECT_EQ(navigation.utc->A0, -8.38190317154e-9);
    EXPECT_EQ(navigation.utc->WNt, 1590);
    EXPECT_EQ(navigation.leapSeconds->current, 15);
    EXPECT_EQ(navigation.utc->CalcUTC(GPSTime(1590, 345615.0)).Print(0).str(), "2010-07-01 00:00:00");
    int nmrFits = 0;
    for (const RinexNavigation::GPSRecord& record : navigation.gps) {
        nmrFits += record.ephemeride.status.IsValid(GNSS::GPSEphemeride::Status::CurveFit) ? 1 : 0;
        EXPECT_TRUE(record.transmission) << record.line;
        EXPECT_LE(record.ephemeride.status.GetURA(), 2) << record.line;
    }
    EXPECT_EQ(nmrFits, 184);
}

TEST(RinexNavigationData, AgreesWithTheTableOfGPSRecords) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc1820.10n");
    GNSS_REQUIRE_TEST_DATA(table, "reference/sat_gps_2010182.csv");
    std::map<Key, const RinexNavigation::GPSRecord*> records;
    const RinexNavigation navigation = Read(path);
    for (const auto& record : navigation.gps) {
        const auto& eph = record.ephemeride;
        records[{eph.prn, Corvane::ToInt(eph.posn.toe), eph.posn.IODE}] = &record;
    }
    int nmrCompared = 0;
    for (auto& row : ReadTable(table)) {
        if (row["iode"].empty()) continue;
        const auto found =
            records.find({std::stoi(row["sat"].substr(1)), std::stoi(row["toe_tow_s_GPST"]), std::stoi(row["iode"])});
        ASSERT_NE(found, records.end()) << row["sat"] << " " << row["tow_s_GPST"];
        const auto& eph = found->second->ephemeride;
        EXPECT_EQ(eph.GetTOE(), GPSTime(std::stoi(row["toe_week"]), Number(row["toe_tow_s_GPST"])));
        EXPECT_EQ(eph.clock.toc, Number(row["toc_tow_s_GPST"]));
        EXPECT_EQ(eph.clock.IODC, std::stoi(row["iodc"]));
        EXPECT_EQ(eph.status.GetHealth(), std::stoi(row["sv_health"]));
        EXPECT_NEAR(eph.clock.Tgd, Number(row["tgd_s"]), 1e-20);
        ++nmrCompared;
    }
    EXPECT_GT(nmrCompared, 2900);
}

TEST(RinexNavigationData, AgreesWithTheTableOfGlonassRecords) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc0910.09g");
    GNSS_REQUIRE_TEST_DATA(table, "reference/sat_glo_2009091.csv");
    const RinexNavigation navigation = Read(path);
    EXPECT_EQ(navigation.version, 201);
    EXPECT_EQ(navigation.glonass.size(), 912U);
    EXPECT_EQ(navigation.nmrRepeats, 0);
    EXPECT_EQ(navigation.warnings.GetCount(), 0);
    EXPECT_EQ(navigation.leapSeconds->current, 15);
    std::map<Key, const RinexNavigation::GlonassRecord*> records;
    for (const auto& record : navigation.glonass) {
        records[{record.ephemeride.slot, record.tb.GetWeek(), Corvane::ToInt(record.tb.GetSeconds())}] = &record;
        EXPECT_TRUE(record.ephemeride.IsPosnTimeConsistentWithToI());
        EXPECT_TRUE(record.ephemeride.HasReasonablePosn());
        EXPECT_TRUE(record.ephemeride.HasReasonableVely());
        EXPECT_LT(std::abs((record.tb - *record.transmission).Seconds()), 1801.0);
    }
    int nmrCompared = 0;
    for (auto& row : ReadTable(table)) {
        if (row["toe_week"].empty()) continue;
        const auto found = records.find(
            {std::stoi(row["sat"].substr(1)), std::stoi(row["toe_week"]), std::stoi(row["toe_tow_s_GPST"])});
        ASSERT_NE(found, records.end()) << row["sat"] << " " << row["tow_s_GPST"];
        const auto& eph = found->second->ephemeride;
        EXPECT_EQ(eph.posn.tb, 900.0 * std::stoi(row["tb_15min_MoscowTime"]));
        EXPECT_EQ(eph.status.IsUnhealthy(), row["sv_health"] != "0");
        EXPECT_EQ(found->second->channel, std::stoi(row["freq_no"])) << row["sat"] << found->second->line;
        ++nmrCompared;
    }
    EXPECT_GT(nmrCompared, 1700);
}

TEST(RinexNavigationData, ReadsAMixedCompressedFile) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    const RinexNavigation navigation = Read(path);
    EXPECT_EQ(navigation.version, 305);
    EXPECT_EQ(navigation.gps.size(), 257U);
    EXPECT_EQ(navigation.glonass.size(), 510U);
    EXPECT_EQ(navigation.GetSkipped('E'), 1602);
    EXPECT_EQ(navigation.GetSkipped('C'), 357);
    EXPECT_EQ(navigation.GetSkipped('J'), 15);
    EXPECT_EQ(navigation.GetSkipped('S'), 2130);
    EXPECT_EQ(navigation.warnings.GetCount(), 0);
    ASSERT_TRUE(navigation.iono && navigation.utc && navigation.leapSeconds);
    EXPECT_EQ(navigation.leapSeconds->current, 18);
    EXPECT_EQ(navigation.iono->beta1, 98304.0);
    EXPECT_EQ(navigation.utc->A1, 2.664535259e-15);
    for (const auto& record : navigation.gps) EXPECT_EQ(record.ephemeride.status.GetCurveFit(), 4) << record.line;
    for (const auto& record : navigation.glonass) {
        EXPECT_TRUE(record.channel);
        EXPECT_FALSE(record.groupDelay);
        EXPECT_EQ(record.ephemeride.m.accuracyIndex, 15);
        EXPECT_EQ(record.ephemeride.accuracy, GNSS::Glonass::Ephemeride::UnknownAccuracy);
    }
}

TEST(RinexNavigationData, ReadsWhatIsLeftOfACutFile) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc1820.10n");
    Host::FileText file;
    FileError error;
    ASSERT_TRUE(file.Open(path, error));
    // Wherever the text ends, at most the last record is lost, and what was read before stays the same.
    const std::string text(file.Text());
    RinexNavigation cut;
    for (std::size_t size = 700; size < 3000; ++size) {
        ASSERT_TRUE(cut.Parse(text.substr(0, size), "cut", error)) << size;
        const std::size_t nmrWhole = (size + 1 - 648) / 648;
        EXPECT_GE(cut.gps.size() + 1, nmrWhole) << size;
        EXPECT_LE(cut.gps.size(), nmrWhole + 1) << size;
    }
}
