// Real logs of all protocols through their decoders, against what independent programs found in them: measurements,
// fixes, skies, raw strings. What the records made of them say is DecodedRecords_test's, what they count Decode_test's.
#include <cmath>
#include <iostream>

#include "tests/host/receiver/NavigationBits.h"
#include "tests/host/receiver/ReferenceRinex.h"
#include "tests/support/TestData.h"

namespace {

using Fix = Host::ReceiverFix;
using tests::Number;
using tests::ReceiverRecording;
using tests::Row;

constexpr const char* Attenuated = "data/16dBatt_no_interference_coldstart.ubx.gz";
constexpr const char* Glonass = "data/ublox-glo.ubx";
constexpr const char* Oem = "data/oemv_200911218.gps";
constexpr const char* Rtcm = "data/testglo.rtcm3";

TEST(ReceiverLogs, PiecesSayTheSame) {
    for (const char* log : {"data/ubx_20080526.ubx", Glonass, Oem, Rtcm}) {
        GNSS_REQUIRE_TEST_DATA(path, log);
        const std::string bytes = tests::ReadAll(path);
        ReceiverRecording whole;
        const auto decoder = tests::DecodeLog(bytes, whole);
        EXPECT_GT(whole.order.size(), 200U) << log;
        for (const std::size_t piece : {1U, 7U, 4096U}) {
            ReceiverRecording said;
            const auto other = tests::DecodeLog(bytes, said, piece);
            ExpectSame(said, whole);
            EXPECT_EQ(other->GetCounts().skipped, decoder->GetCounts().skipped) << log;
            EXPECT_EQ(other->GetCounts().GetNmrMessages(), decoder->GetCounts().GetNmrMessages()) << log;
        }
    }
}

// Both have the same values, to half of the file's last digit.
template <typename Set>
int Compare(const Set& set, const Set& expected) {
    using Record = typename Set::Record;
    EXPECT_EQ(set.NmrSV(), expected.NmrSV());
    int compared = 0;
    for (int i = 0; i < expected.NmrSV(); ++i) {
        const auto& sv = expected.GetSV(i);
        const auto& found = set.GetSV(set.FindSV(sv.GetId()));
        EXPECT_EQ(found.NmrMeas(), sv.NmrMeas()) << int{sv.GetId()};
        for (int j = 0; j < sv.NmrMeas(); ++j) {
            const Record& a = sv.GetMeas(j);
            const Record& b = found.GetMeas(found.FindFreqy(a.GetFreqy()));
            const struct {
                typename Record::Flag flag;
                double there, here;
            } values[] = {{Record::Range, a.GetRange(), b.GetRange()},
                          {Record::Phase, a.GetPhase(), b.GetPhase()},
                          {Record::Doppler, a.GetDoppler(), b.GetDoppler()},
                          {Record::SNR, a.GetSNR(), b.GetSNR()}};
            for (const auto& [flag, there, here] : values) {
                EXPECT_EQ(b.IsValid(flag), a.IsValid(flag)) << int{sv.GetId()} << ' ' << flag;
                if (!a.IsValid(flag)) continue;
                EXPECT_NEAR(here, there, 0.00051) << int{sv.GetId()} << ' ' << flag;
                ++compared;
            }
        }
    }
    return compared;
}

TEST(ReceiverLogs, MeasurementsEqualTheReference) {
    const struct {
        const char* log;
        const char* reference;
        std::size_t epochs, early;  // of the reference; before its first, for want of ephemerides
    } cases[] = {{Attenuated, "reference/decoded_16dbatt.obs.gz", 562, 0},
                 {"data/ubx_20080526.ubx", "reference/decoded_ubx_20080526.obs.gz", 237, 5},
                 {Oem, "reference/decoded_oemv_200911218.obs.gz", 46, 0},
                 {Rtcm, "reference/decoded_testglo.obs.gz", 186, 0}};
    for (const auto& c : cases) {
        GNSS_REQUIRE_TEST_DATA(path, c.log);
        GNSS_REQUIRE_TEST_DATA(reference, c.reference);
        ReceiverRecording said;
        static_cast<void>(tests::DecodeLog(tests::ReadAll(path), said));
        const auto epochs = tests::ReadObservations(reference);
        ASSERT_EQ(epochs.size(), c.epochs) << c.log;
        ASSERT_EQ(said.sets.size(), c.epochs + c.early) << c.log;
        int compared = 0;
        for (std::size_t i = 0; i < epochs.size() && !HasFailure(); ++i) {
            const GNSS::MeasSet& set = said.sets[i + c.early];
            SCOPED_TRACE(std::string(c.log) + " epoch " + std::to_string(i));
            EXPECT_NEAR((set.GetGPSTime() - epochs[i].GetGPSTime()).Seconds(), 0.0, 1e-6);
            compared += Compare(set.GetGPS(), epochs[i].GetGPS());
            compared += Compare(set.GetGlonass(), epochs[i].GetGlonass());
        }
        std::cout << c.log << ": " << compared << " values equal\n";
    }
}

// A value of a fix, its column, and half of the column's last digit.
struct Column {
    std::optional<double> Fix::*member;
    const char* name;
    double tolerance = 1e-9;
};
using Columns = std::vector<Column>;

void ExpectCells(const Fix& fix, const Row& row, const Columns& columns) {
    for (const Column& column : columns) {
        ASSERT_TRUE(fix.*column.member) << column.name;
        EXPECT_NEAR(*(fix.*column.member), Number(row.at(column.name)), column.tolerance) << column.name;
    }
}

std::int64_t Milliseconds(const GNSS::GPSTime& time) {
    return std::llround(time.GetSeconds() * 1e3);
}

TEST(ReceiverLogs, UbxFixesEqualTheReference) {
    static const Columns Place{
        {&Fix::latitude, "lat_deg"},  {&Fix::longitude, "lon_deg"},         {&Fix::height, "h_ell_m"},
        {&Fix::heightMSL, "h_msl_m"}, {&Fix::horizontalAccuracy, "hacc_m"}, {&Fix::verticalAccuracy, "vacc_m"}};
    static const Columns Velocity{
        {&Fix::velocityNorth, "vel_n_mps"}, {&Fix::velocityEast, "vel_e_mps"}, {&Fix::velocityDown, "vel_d_mps"}};
    static const Columns Dilutions{{&Fix::gdop, "gdop"}, {&Fix::pdop, "pdop"}, {&Fix::tdop, "tdop"},
                                   {&Fix::vdop, "vdop"}, {&Fix::hdop, "hdop"}, {&Fix::ndop, "ndop"},
                                   {&Fix::edop, "edop"}};
    // Both receivers count from a start of their own until they have the time from the sky.
    const struct {
        const char* log;
        const char* reference;
        int whole, places, dops, undated, week;
    } cases[] = {{Attenuated, "reference/ubx_16dbatt_fixes.csv", 568, 552, 568, 28, 2363},
                 {Glonass, "reference/ubx_glo_fixes.csv", 299, 0, 299, 1, 2268}};
    for (const auto& c : cases) {
        GNSS_REQUIRE_TEST_DATA(path, c.log);
        GNSS_REQUIRE_TEST_DATA(reference, c.reference);
        std::map<std::int64_t, Row> rows;
        for (Row& row : tests::ReadTable(reference)) rows[std::stoll(row.at("iTOW_ms_GPST"))] = row;
        ReceiverRecording said;
        static_cast<void>(tests::DecodeLog(tests::ReadAll(path), said));
        for (const GNSS::GPSTime& time : said.times) EXPECT_EQ(time.GetWeek(), c.week);
        int whole = 0, places = 0, dops = 0, undated = 0;
        for (const Fix& fix : said.fixes) {
            if (!fix.time) {
                ++undated;
                EXPECT_FALSE(fix.latitude || fix.valid);
                continue;
            }
            const Row& row = rows.at(Milliseconds(*fix.time));
            SCOPED_TRACE(row.at("iTOW_ms_GPST"));
            if (fix.nmrUsed) {
                ++whole;
                EXPECT_EQ(*fix.nmrUsed, std::stoi(row.at("num_sv")));
                EXPECT_EQ(fix.type, std::stoi(row.at("fix_type")));
                EXPECT_EQ(fix.valid, row.at("gnss_fix_ok") == "1");
                EXPECT_EQ(fix.latitude.has_value(), fix.type != 0);
                if (fix.velocityNorth) ExpectCells(fix, row, Velocity);
            }
            if (fix.latitude) ExpectCells(fix, row, Place);
            if (fix.gdop) ExpectCells(fix, row, Dilutions);
            places += fix.latitude && !fix.nmrUsed ? 1 : 0;
            dops += fix.gdop ? 1 : 0;
        }
        EXPECT_EQ((std::array{whole, places, dops, undated}), (std::array{c.whole, c.places, c.dops, c.undated}));
    }
}

TEST(ReceiverLogs, OemFixesEqualTheReference) {
    GNSS_REQUIRE_TEST_DATA(path, Oem);
    GNSS_REQUIRE_TEST_DATA(table, "reference/oemv_fixes.csv");
    ReceiverRecording said;
    static_cast<void>(tests::DecodeLog(tests::ReadAll(path), said));
    const std::vector<Row> rows = tests::ReadTable(table);
    ASSERT_EQ(said.fixes.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Fix& fix = said.fixes[i];
        if (rows[i].at("sol_status") != "0") {
            EXPECT_TRUE(!fix.valid && fix.type == 0 && !fix.time && !fix.latitude && !fix.height);
            continue;
        }
        ASSERT_TRUE(fix.valid && fix.time && fix.height);
        EXPECT_EQ(*fix.time, GNSS::GPSTime(std::stoi(rows[i].at("gps_week")), Number(rows[i].at("tow_s_GPST"))));
        EXPECT_EQ(fix.type, 3);
        EXPECT_EQ(fix.nmrUsed, std::stoi(rows[i].at("n_used")));
        EXPECT_NEAR(*fix.height, Number(rows[i].at("h_msl_m")) + Number(rows[i].at("undulation_m")), 1.1e-4);
        ExpectCells(fix, rows[i],
                    {{&Fix::latitude, "lat_deg", 5.1e-10},
                     {&Fix::longitude, "lon_deg", 5.1e-10},
                     {&Fix::heightMSL, "h_msl_m", 5.1e-5},
                     {&Fix::sigmaNorth, "sig_lat_m", 5.1e-4},
                     {&Fix::sigmaEast, "sig_lon_m", 5.1e-4},
                     {&Fix::sigmaUp, "sig_h_m", 5.1e-4}});
    }
}

TEST(ReceiverLogs, SkiesEqualTheReference) {
    const struct {
        const char* log;
        const char* reference;
        std::size_t rows;  // but those before the stream has told its first time
    } cases[] = {{Attenuated, "reference/ubx_16dbatt_sats.csv", 10661}, {Glonass, "reference/ubx_glo_sats.csv", 2691}};
    for (const auto& c : cases) {
        GNSS_REQUIRE_TEST_DATA(path, c.log);
        GNSS_REQUIRE_TEST_DATA(reference, c.reference);
        ReceiverRecording said;
        static_cast<void>(tests::DecodeLog(tests::ReadAll(path), said));
        std::map<std::pair<std::int64_t, std::string>, Host::ReceiverSatellite> seen;
        for (const Host::ReceiverSky& sky : said.skies) {
            if (!sky.time) continue;
            for (const Host::ReceiverSatellite& satellite : sky.satellites) {
                const std::string name = {satellite.system, static_cast<char>('0' + satellite.number / 10),
                                          static_cast<char>('0' + satellite.number % 10)};
                seen[{Milliseconds(*sky.time), name}] = satellite;
            }
        }
        std::size_t compared = 0;
        for (const Row& row : tests::ReadTable(reference)) {
            const std::int64_t tow = std::stoll(row.at("iTOW_ms_GPST"));
            if (tow < seen.begin()->first.first) continue;
            ++compared;
            const auto found = seen.find({tow, row.at("sat")});
            ASSERT_NE(found, seen.end()) << tow << ' ' << row.at("sat");
            const Host::ReceiverSatellite& satellite = found->second;
            EXPECT_EQ(satellite.snr, Number(row.at("cno_dbhz")));
            EXPECT_EQ(satellite.elevation, Number(row.at("elev_deg")));
            EXPECT_EQ(satellite.azimuth, Number(row.at("azim_deg")));
            EXPECT_NEAR(satellite.residual.value(), Number(row.at("pr_res_m")), 1e-9);
            EXPECT_EQ(satellite.used, row.at("used") == "1");
            EXPECT_EQ(satellite.health, std::stoi(row.at("health_code")));
        }
        EXPECT_EQ(compared, c.rows);
    }
}

TEST(ReceiverLogs, GlonassStringsEqualTheReference) {
    GNSS_REQUIRE_TEST_DATA(path, Glonass);
    GNSS_REQUIRE_TEST_DATA(reference, "reference/glo_strings_ublox_2023179.csv");
    ReceiverRecording said;
    static_cast<void>(tests::DecodeLog(tests::ReadAll(path), said));
    EXPECT_TRUE(said.leaps.empty()) << "without GPS the receiver only supposes its leap seconds";
    const std::vector<Row> rows = tests::ReadTable(reference);
    ASSERT_EQ(said.strings.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Host::GlonassString& string = said.strings[i];
        EXPECT_EQ(string.slot, std::stoi(rows[i].at("svid_slot")));
        EXPECT_EQ(string.channel, std::stoi(rows[i].at("freq_no")));
        EXPECT_EQ(string.frame, std::stoi(rows[i].at("superframe_word_frame_hex").substr(4), nullptr, 16));
        EXPECT_EQ(string.bits, bits::FromLeftAligned(rows[i].at("bits85_to_1_hex_left_aligned"))) << i;
    }
}

// Leap seconds, a station, and the times of a receiver whose repeated records carry an earlier one.
TEST(ReceiverLogs, TimesAndPlaces) {
    GNSS_REQUIRE_TEST_DATA(ubx, Attenuated);
    GNSS_REQUIRE_TEST_DATA(oem, Oem);
    GNSS_REQUIRE_TEST_DATA(rtcm, Rtcm);
    ReceiverRecording u, o, r;
    static_cast<void>(tests::DecodeLog(tests::ReadAll(ubx), u));
    EXPECT_EQ(u.leaps, std::vector{18});
    static_cast<void>(tests::DecodeLog(tests::ReadAll(oem), o));
    EXPECT_EQ(o.leaps, std::vector<int>(8, 15));
    ASSERT_EQ(o.times.size(), 46U);
    for (int i = 0; i < 46; ++i) EXPECT_EQ(o.times[static_cast<std::size_t>(i)], GNSS::GPSTime(1562, 515220.0 + i));
    static_cast<void>(tests::DecodeLog(tests::ReadAll(rtcm), r));
    ASSERT_EQ(r.stations.size(), 19U);
    EXPECT_LT((r.stations[0].posn - GNSS::ECEF(-3869297.5138, 3436571.3345, 3717369.3757)).Magnitude(), 1e-7);
}

}  // namespace
