// UBX logs of three receivers: what they hold, and every value against independent decoders.
#include <array>
#include <cmath>
#include <iostream>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "host/receiver/FileText.h"
#include "tests/host/receiver/Table.h"
#include "tests/host/receiver/UbxFrames.h"
#include "tests/support/TestData.h"

namespace {

using tests::Number;
using tests::Row;
using tests::UbxRun;

constexpr const char* Attenuated = "data/16dBatt_no_interference_coldstart.ubx.gz";
constexpr const char* Old = "data/ubx_20080526.ubx";
constexpr const char* Glonass = "data/ublox-glo.ubx";

std::string ReadAll(const std::string& path) {
    Host::FileText file;
    Host::FileError error;
    EXPECT_TRUE(file.Open(path, error)) << error.Print();
    return std::string(file.Text());
}

std::int64_t Milliseconds(const GNSS::GPSTime& time) {
    return std::llround(time.GetSeconds() * 1e3);
}

TEST(UbxData, HoldsWhatItsListSays) {
    GNSS_REQUIRE_TEST_DATA(attenuated, Attenuated);
    const UbxRun a(ReadAll(attenuated));
    EXPECT_EQ(a.Counts().kinds.size(), 49U);
    EXPECT_EQ(a.Counts().checksumFailures, 0);
    EXPECT_EQ(a.Counts().skipped, 6);  // the log is cut
    EXPECT_EQ(a.Counts().GetNmrRefused(), 0);
    std::map<std::string, std::int64_t> counts;
    for (const auto& [kind, count] : a.Counts().kinds) counts[a.decoder.GetKindName(kind)] = count.nmr;
    for (const char* name : {"NAV-PVT", "NAV-POSECEF", "NAV-HPPOSECEF", "NAV-POSLLH", "NAV-HPPOSLLH", "NAV-VELECEF",
                             "NAV-VELNED", "NAV-DOP", "NAV-SAT", "NAV-SIG", "NAV-ORB", "NAV-CLOCK", "NAV-TIMEGPS",
                             "NAV-TIMEUTC", "NAV-TIMELS", "NAV-STATUS", "RXM-RAWX"}) {
        EXPECT_EQ(counts[name], 582) << name;
    }
    EXPECT_EQ(counts["RXM-SFRBX"], 3843);
    EXPECT_EQ(counts["RXM-MEASX"], 612);
    EXPECT_EQ(a.said.subframes.size(), 849U);
    EXPECT_EQ(a.said.leaps, std::vector<int>{18});

    GNSS_REQUIRE_TEST_DATA(old, Old);
    const UbxRun o(ReadAll(old));
    EXPECT_EQ(o.Counts().kinds.size(), 2U);
    EXPECT_EQ(o.Counts().kinds.at(0x0210).nmr, 242);
    EXPECT_EQ(o.Counts().kinds.at(0x0211).nmr, 842);
    EXPECT_EQ(o.Counts().GetNmrRefused(), 0);
    // Text of NMEA 0183 fills the rest; 482 of the subframes are of augmentation systems.
    EXPECT_EQ(o.Counts().skipped, 262144 - 109860);
    EXPECT_EQ(o.said.subframes.size(), 360U);

    GNSS_REQUIRE_TEST_DATA(glonass, Glonass);
    const UbxRun g(ReadAll(glonass));
    const std::map<std::uint32_t, std::int64_t> expected{{0x0101, 299}, {0x0104, 300}, {0x0107, 299}, {0x0111, 299},
                                                         {0x0120, 300}, {0x0126, 1},   {0x0135, 300}, {0x0143, 300},
                                                         {0x0161, 300}, {0x0213, 584}};
    std::map<std::uint32_t, std::int64_t> found;
    for (const auto& [kind, count] : g.Counts().kinds) found[kind] = count.nmr;
    EXPECT_EQ(found, expected);
    EXPECT_EQ(g.Counts().GetNmrRefused(), 0);
    EXPECT_EQ(g.Counts().skipped, 695);  // the text at its start, a byte at its end
    // Without GPS the receiver only supposes its leap seconds.
    EXPECT_TRUE(g.said.leaps.empty());
}

// The parity equations of IS-GPS-200, table 20-XIV: the data bits of D25 to D30, d1 the highest.
TEST(UbxData, SubframesPassTheirParity) {
    GNSS_REQUIRE_TEST_DATA(path, Attenuated);
    static constexpr unsigned long Masks[] = {0xEC7CD2, 0x763E69, 0xBB1F34, 0x5D8F9A, 0xAEC7CD, 0x2DEA27};
    const UbxRun run(ReadAll(path));
    for (const Host::GPSSubframe& subframe : run.said.subframes) {
        unsigned long d29 = 0;
        unsigned long d30 = 0;
        ASSERT_EQ(subframe.words[0] >> 22U, 0x8BU);
        for (const unsigned long word : subframe.words) {
            const unsigned long sent = d30 != 0 ? word ^ 0x3FFFFFFFU : word;
            unsigned long parity = 0;
            for (std::size_t j = 0; j < 6; ++j) {
                // D29* stands in D25, D27 and D30, D30* in the others.
                const unsigned long before = j == 0 || j == 2 || j == 5 ? d29 : d30;
                const auto ones = static_cast<unsigned long>(__builtin_popcountl((word >> 6U) & Masks[j]));
                parity = parity << 1U | ((ones + before) & 1U);
            }
            ASSERT_EQ(sent & 0x3FU, parity);
            d29 = sent >> 1U & 1U;
            d30 = sent & 1U;
        }
    }
}

// Satellites of GPS by epoch in ms of the week, from a RINEX 3 file of C1C, L1C, D1C and S1C. Blanks are NaN.
using Observations = std::map<std::int64_t, std::map<int, std::array<double, 4>>>;
Observations ReadObservations(const std::string& text) {
    Observations all;
    std::istringstream lines(text.substr(text.find("END OF HEADER")));
    std::int64_t epoch = 0;
    std::string line;
    for (std::getline(lines, line); std::getline(lines, line);) {
        const auto field = [&line](std::size_t first, std::size_t width) {
            std::string cell = first < line.size() ? line.substr(first, width) : "";
            cell.erase(0, cell.find_first_not_of(' '));
            return cell.empty() ? std::nan("") : Number(cell);
        };
        if (line[0] == '>') {
            const Corvane::Date date(static_cast<int>(field(2, 4)), static_cast<int>(field(7, 2)),
                                     static_cast<int>(field(10, 2)));
            const double seconds = (field(13, 2) * 60 + field(16, 2)) * 60 + std::round(field(18, 11) * 1e7) * 1e-7;
            epoch = std::llround(((date - GNSS::GPSTime::Start) % 7 * 86400.0 + seconds) * 1e3);
            all[epoch];
        } else if (line[0] == 'G') {
            all[epoch][static_cast<int>(field(1, 2))] = {field(3, 14), field(19, 14), field(35, 14), field(51, 14)};
        }
    }
    return all;
}

// Every epoch, satellite and value, either way round, to half of the file's last digit.
void CompareMeasurements(const std::string& log, const std::string& reference, std::size_t nmrEpochs) {
    const UbxRun run(ReadAll(log));
    Observations expected = ReadObservations(ReadAll(reference));
    ASSERT_EQ(expected.size(), nmrEpochs);
    int compared = 0;
    std::size_t extraEpochs = 0;
    for (const GNSS::MeasSet& set : run.said.sets) {
        const auto epoch = expected.find(Milliseconds(set.GetGPSTime()));
        if (epoch == expected.end()) {
            ++extraEpochs;
            continue;
        }
        EXPECT_EQ(set.GetGPS().NmrSV(), static_cast<int>(epoch->second.size())) << epoch->first;
        for (const auto& [prn, values] : epoch->second) {
            const int index = set.GetGPS().FindSV(GNSS::PRN(prn));
            ASSERT_GE(index, 0) << epoch->first << " G" << prn;
            const GNSS::GPSMeas& meas = set.GetGPS().GetSV(index).GetMeas(0);
            const double found[] = {meas.IsValid(GNSS::GPSMeas::Range) ? meas.GetRange() : std::nan(""),
                                    meas.IsValid(GNSS::GPSMeas::Phase) ? meas.GetPhase() : std::nan(""),
                                    meas.IsValid(GNSS::GPSMeas::Doppler) ? meas.GetDoppler() : std::nan(""),
                                    meas.IsValid(GNSS::GPSMeas::SNR) ? meas.GetSNR() : std::nan("")};
            for (std::size_t i = 0; i < 4; ++i, ++compared) {
                if (std::isnan(values[i]) && std::isnan(found[i])) continue;
                EXPECT_NEAR(found[i], values[i], 0.000501) << epoch->first << " G" << prn << " value " << i;
            }
        }
    }
    EXPECT_EQ(run.said.sets.size() - extraEpochs, nmrEpochs);
    std::cout << log << ": " << compared << " values equal, " << extraEpochs << " epochs beyond the reference\n";
}

TEST(UbxData, MeasurementsEqualTheReference) {
    GNSS_REQUIRE_TEST_DATA(attenuated, Attenuated);
    GNSS_REQUIRE_TEST_DATA(attenuatedReference, "reference/decoded_16dbatt.obs.gz");
    CompareMeasurements(attenuated, attenuatedReference, 562);
    GNSS_REQUIRE_TEST_DATA(old, Old);
    GNSS_REQUIRE_TEST_DATA(oldReference, "reference/decoded_ubx_20080526.obs.gz");
    CompareMeasurements(old, oldReference, 237);
}

std::map<std::int64_t, Row> RowsByTow(const std::string& path) {
    std::map<std::int64_t, Row> rows;
    for (Row& row : tests::ReadTable(path)) {
        const std::int64_t tow = std::stoll(row.at("iTOW_ms_GPST"));
        rows[tow] = std::move(row);
    }
    return rows;
}

void ExpectCell(const std::optional<double>& value, const Row& row, const char* name, double tolerance) {
    ASSERT_TRUE(value) << name;
    EXPECT_NEAR(*value, Number(row.at(name)), tolerance) << name << " at " << row.at("iTOW_ms_GPST");
}

// How many messages of each kind were compared.
struct Fixes {
    int whole = 0, places = 0, dops = 0, undated = 0;
};

Fixes CompareFixes(const UbxRun& run, const std::string& reference) {
    const std::map<std::int64_t, Row> rows = RowsByTow(reference);
    Fixes fixes;
    for (const Host::ReceiverFix& fix : run.said.fixes) {
        if (!fix.time) {
            ++fixes.undated;
            EXPECT_FALSE(fix.latitude || fix.valid);
            continue;
        }
        const Row& row = rows.at(Milliseconds(*fix.time));
        EXPECT_EQ(fix.time->GetWeek(), std::stoi(row.at("gps_week")));
        if (fix.nmrUsed) {
            ++fixes.whole;
            EXPECT_EQ(*fix.nmrUsed, std::stoi(row.at("num_sv")));
            EXPECT_EQ(fix.type, std::stoi(row.at("fix_type")));
            EXPECT_EQ(fix.valid, row.at("gnss_fix_ok") == "1");
            EXPECT_EQ(fix.latitude.has_value(), fix.type != 0);
            if (fix.velocityNorth) {
                ExpectCell(fix.velocityNorth, row, "vel_n_mps", 1e-9);
                ExpectCell(fix.velocityEast, row, "vel_e_mps", 1e-9);
                ExpectCell(fix.velocityDown, row, "vel_d_mps", 1e-9);
            }
        }
        if (fix.latitude) {
            if (!fix.nmrUsed) ++fixes.places;
            ExpectCell(fix.latitude, row, "lat_deg", 1e-9);
            ExpectCell(fix.longitude, row, "lon_deg", 1e-9);
            ExpectCell(fix.height, row, "h_ell_m", 1e-9);
            ExpectCell(fix.heightMSL, row, "h_msl_m", 1e-9);
            ExpectCell(fix.horizontalAccuracy, row, "hacc_m", 1e-9);
            ExpectCell(fix.verticalAccuracy, row, "vacc_m", 1e-9);
        }
        if (fix.gdop) {
            ++fixes.dops;
            ExpectCell(fix.gdop, row, "gdop", 1e-9);
            ExpectCell(fix.pdop, row, "pdop", 1e-9);
            ExpectCell(fix.tdop, row, "tdop", 1e-9);
            ExpectCell(fix.vdop, row, "vdop", 1e-9);
            ExpectCell(fix.hdop, row, "hdop", 1e-9);
            ExpectCell(fix.ndop, row, "ndop", 1e-9);
            ExpectCell(fix.edop, row, "edop", 1e-9);
        }
    }
    return fixes;
}

// Every row of the reference but those before the stream has told its first time.
void CompareSkies(const UbxRun& run, const std::string& reference, std::size_t nmrRows) {
    std::size_t compared = 0;
    std::map<std::pair<std::int64_t, std::string>, Host::ReceiverSatellite> seen;
    for (const Host::ReceiverSky& sky : run.said.skies) {
        for (const Host::ReceiverSatellite& satellite : sky.satellites) {
            const std::string number = std::to_string(satellite.number);
            std::string name(1, satellite.system);
            name += number.size() < 2 ? "0" + number : number;
            if (sky.time) seen[{Milliseconds(*sky.time), name}] = satellite;
        }
    }
    for (const Row& row : tests::ReadTable(reference)) {
        if (std::stoll(row.at("iTOW_ms_GPST")) < seen.begin()->first.first) continue;
        ++compared;
        const auto found = seen.find({std::stoll(row.at("iTOW_ms_GPST")), row.at("sat")});
        ASSERT_NE(found, seen.end()) << row.at("iTOW_ms_GPST") << ' ' << row.at("sat");
        const Host::ReceiverSatellite& satellite = found->second;
        EXPECT_EQ(satellite.snr, Number(row.at("cno_dbhz")));
        ExpectCell(satellite.elevation, row, "elev_deg", 0.0);
        ExpectCell(satellite.azimuth, row, "azim_deg", 0.0);
        ExpectCell(satellite.residual, row, "pr_res_m", 1e-9);
        EXPECT_EQ(satellite.used, row.at("used") == "1");
        EXPECT_EQ(satellite.health, std::stoi(row.at("health_code")));
    }
    EXPECT_EQ(compared, nmrRows);
}

TEST(UbxData, FixAndSkyEqualTheReference) {
    GNSS_REQUIRE_TEST_DATA(attenuated, Attenuated);
    GNSS_REQUIRE_TEST_DATA(attenuatedFixes, "reference/ubx_16dbatt_fixes.csv");
    GNSS_REQUIRE_TEST_DATA(attenuatedSats, "reference/ubx_16dbatt_sats.csv");
    const UbxRun a(ReadAll(attenuated));
    const Fixes fixes = CompareFixes(a, attenuatedFixes);
    EXPECT_EQ(fixes.whole, 582 - 14);
    EXPECT_EQ(fixes.places, 552);
    EXPECT_EQ(fixes.dops, 582 - 14);
    // The receiver counts from 19 s of no week until it has the time from the sky.
    EXPECT_EQ(fixes.undated, 2 * 14);
    for (const GNSS::GPSTime& time : a.said.times) EXPECT_EQ(time.GetWeek(), 2363);
    CompareSkies(a, attenuatedSats, 10661);

    GNSS_REQUIRE_TEST_DATA(glonass, Glonass);
    GNSS_REQUIRE_TEST_DATA(glonassFixes, "reference/ubx_glo_fixes.csv");
    GNSS_REQUIRE_TEST_DATA(glonassSats, "reference/ubx_glo_sats.csv");
    const UbxRun g(ReadAll(glonass));
    EXPECT_EQ(CompareFixes(g, glonassFixes).whole, 299);
    CompareSkies(g, glonassSats, 2700 - 9);
}

TEST(UbxData, StringsEqualTheReference) {
    GNSS_REQUIRE_TEST_DATA(path, Glonass);
    GNSS_REQUIRE_TEST_DATA(reference, "reference/glo_strings_ublox_2023179.csv");
    const UbxRun run(ReadAll(path));
    const std::vector<Row> rows = tests::ReadTable(reference);
    ASSERT_EQ(run.said.strings.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Host::GlonassString& string = run.said.strings[i];
        EXPECT_EQ(string.slot, std::stoi(rows[i].at("svid_slot")));
        EXPECT_EQ(string.channel, std::stoi(rows[i].at("freq_no")));
        EXPECT_EQ(string.bits.GetNumber(), std::stoi(rows[i].at("string_no")));
        EXPECT_EQ(string.frame, std::stoi(rows[i].at("superframe_word_frame_hex").substr(4), nullptr, 16));
        // Bit 85 is the first of the reference's bits.
        const std::string& bits = rows[i].at("bits85_to_1_hex_left_aligned");
        for (int n = 85; n >= 1; --n) {
            const auto at = static_cast<std::size_t>(85 - n);
            const int digit = std::stoi(bits.substr(at / 4, 1), nullptr, 16);
            ASSERT_EQ(string.bits.GetBit(n), digit >> (3 - at % 4) & 1) << "row " << i << " bit " << n;
        }
    }
}

TEST(UbxData, PiecesSayTheSame) {
    GNSS_REQUIRE_TEST_DATA(path, Glonass);
    const std::string bytes = ReadAll(path);
    const UbxRun whole(bytes);
    for (const std::size_t piece : {1U, 7U, 4096U}) {
        const UbxRun run(bytes, piece);
        EXPECT_EQ(run.said.order, whole.said.order);
        EXPECT_EQ(run.said.times, whole.said.times);
        EXPECT_EQ(run.Counts().skipped, whole.Counts().skipped);
        EXPECT_EQ(run.Counts().GetNmrMessages(), whole.Counts().GetNmrMessages());
        for (std::size_t i = 0; i < run.said.strings.size(); ++i) {
            ASSERT_EQ(run.said.strings[i].bits, whole.said.strings[i].bits);
        }
    }
}

}  // namespace
