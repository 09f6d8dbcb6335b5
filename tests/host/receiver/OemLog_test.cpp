// The decoder against what other programs find in a real log of an OEMV receiver.
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/icd/ICD.h"
#include "gnss/platform/TextIO.h"
#include "gnss/time/GPSFreqy.h"
#include "gnss/time/GlonassFrequency.h"
#include "host/receiver/FileText.h"
#include "host/receiver/RinexNavigation.h"
#include "tests/host/receiver/OemFrames.h"
#include "tests/host/receiver/Table.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::GPSTime;
using tests::OemRun;

Host::FileText OpenFile(const std::string& path) {
    Host::FileText file;
    Host::FileError error;
    EXPECT_TRUE(file.Open(path, error)) << error.reason;
    return file;
}

TEST(OemLog, HoldsWhatItsDescriptionSaysInPiecesOfAnySize) {
    GNSS_REQUIRE_TEST_DATA(path, "data/oemv_200911218.gps");
    const Host::FileText file = OpenFile(path);
    const OemRun whole(file.Text());
    const Host::StreamCounts& counts = whole.Counts();
    std::map<std::string, std::int64_t> kinds;
    for (const auto& [kind, count] : counts.kinds) kinds[whole.decoder.GetKindName(kind)] = count.nmr;
    const std::map<std::string, std::int64_t> expected{{"RAWEPHEM", 25},    {"RANGECMP", 46}, {"GLOEPHEMERIS", 8},
                                                       {"BESTPOS", 49},     {"SATVIS", 49},   {"TRACKSTAT", 50},
                                                       {"RAWWAASFRAME", 90}};
    EXPECT_EQ(kinds, expected);
    EXPECT_EQ(counts.checksumFailures, 0);
    EXPECT_EQ(counts.GetNmrRefused(), 0);
    EXPECT_EQ(counts.bytes, 262144);
    // Nothing but the message that the end of the file cuts.
    EXPECT_LT(counts.skipped, 3000);
    EXPECT_EQ(whole.sink.subframes.size(), 75U);
    EXPECT_EQ(whole.sink.sets.size(), 46U);
    EXPECT_EQ(whole.sink.leapSeconds, std::vector<int>(8, 15));
    // Every second once, in order, whatever lags behind; nothing of week 0.
    ASSERT_EQ(whole.sink.times.size(), 46U);
    for (std::size_t i = 0; i < 46; ++i) {
        EXPECT_EQ(whole.sink.times[i], GPSTime(1562, 515220.0 + static_cast<double>(i)));
    }
    for (const std::size_t piece : {1, 7, 4096}) {
        const OemRun cut(file.Text(), piece);
        EXPECT_EQ(cut.sink.lines, whole.sink.lines);
        EXPECT_EQ(cut.Counts().skipped, counts.skipped);
        EXPECT_EQ(cut.Counts().GetNmrMessages(), counts.GetNmrMessages());
    }
}

// One signal of a RINEX line: range, phase, Doppler, strength in columns of 16; empty ones are blank.
template <typename Record>
void ExpectSignal(const Record& record, const std::string& line, std::size_t at) {
    constexpr double Rounding = 0.00051;
    const double values[] = {record.GetRange(), record.GetPhase(), record.GetDoppler(), record.GetSNR()};
    const std::uint32_t flags[] = {Record::Range, Record::Phase, Record::Doppler, Record::SNR};
    for (std::size_t i = 0; i < 4; ++i) {
        const std::string text = at + 16 * i < line.size() ? line.substr(at + 16 * i, 14) : "";
        const std::size_t begin = text.find_first_not_of(' ');
        ASSERT_EQ(record.IsValid(flags[i]), begin != std::string::npos) << line << ' ' << i;
        if (begin == std::string::npos) continue;
        EXPECT_NEAR(values[i], Corvane::TextIO::ToDouble(text.substr(begin)), Rounding) << line << ' ' << i;
    }
}

template <typename Set>
void ExpectSatellite(const Set& set, int number, const std::string& line) {
    using Freqy = typename Set::Record::Freqy;
    const int index = set.FindSV(typename Set::Record::Id(number));
    ASSERT_GE(index, 0) << line;
    const auto& sv = set.GetSV(index);
    ExpectSignal(sv.GetMeas(sv.FindFreqy(Freqy::CA)), line, 3);
    ExpectSignal(sv.GetMeas(sv.FindFreqy(Freqy::L2)), line, 67);
}

TEST(OemLog, MeasurementsEqualTheReferenceInEveryField) {
    GNSS_REQUIRE_TEST_DATA(path, "data/oemv_200911218.gps");
    GNSS_REQUIRE_TEST_DATA(observations, "reference/decoded_oemv_200911218.obs.gz");
    const OemRun run(OpenFile(path).Text());
    std::istringstream text{std::string(OpenFile(observations).Text())};
    std::string line;
    while (std::getline(text, line) && line.find("END OF HEADER") == std::string::npos) {
    }
    std::size_t epochs = 0;
    int satellites = 0;
    while (std::getline(text, line) && !HasFailure()) {
        if (line[0] == '>') {
            ASSERT_LT(epochs, run.sink.sets.size());
            const double second = Corvane::TextIO::ToDouble(line.substr(19, 10).c_str() + (line[19] == ' ' ? 1 : 0));
            EXPECT_EQ(run.sink.sets[epochs].GetGPSTime(), GPSTime(1562, 515220.0 + second));
            ++epochs;
            continue;
        }
        const GNSS::MeasSet& set = run.sink.sets[epochs - 1];
        const int number = std::stoi(line.substr(1, 2));
        if (line[0] == 'G') ExpectSatellite(set.GetGPS(), number, line);
        if (line[0] == 'R') ExpectSatellite(set.GetGlonass(), number, line);
        if (line[0] != 'S') ++satellites;
    }
    EXPECT_EQ(epochs, 46U);
    // And no others.
    for (const GNSS::MeasSet& set : run.sink.sets) satellites -= set.GetGPS().NmrSV() + set.GetGlonass().NmrSV();
    EXPECT_EQ(satellites, 0);
}

// The file has 12 digits, more than any field has bits.
void ExpectSame(double value, double expected, const char* name) {
    EXPECT_NEAR(value, expected, std::abs(expected) * 1e-11) << name;
}

TEST(OemLog, EphemeridesEqualTheReference) {
    GNSS_REQUIRE_TEST_DATA(path, "data/oemv_200911218.gps");
    GNSS_REQUIRE_TEST_DATA(records, "reference/decoded_oemv_200911218.nav");
    const OemRun run(OpenFile(path).Text());
    Host::RinexNavigation expected;
    Host::FileError error;
    ASSERT_TRUE(expected.Read(records, error)) << error.reason;
    ASSERT_EQ(expected.gps.size(), 9U);
    ASSERT_EQ(expected.glonass.size(), 5U);

    std::map<int, GNSS::ICD> icds;
    std::map<int, GNSS::GPSEphemeride> decoded;
    int nmrComplete = 0;
    for (const Host::GPSSubframe& subframe : run.sink.subframes) {
        int number = 0;
        int page = 0;
        GNSS::ICD& icd = icds[subframe.prn];
        if (icd.AddSubframe(subframe.words.data(), number, page) != GNSS::ICD::Ephemeris) continue;
        EXPECT_TRUE(icd.GetEphemerisData(decoded[subframe.prn]));
        ++nmrComplete;
    }
    // Each message is an ephemeris, also those whose subframes the receiver has from different frames.
    EXPECT_EQ(nmrComplete, 25);
    for (const auto& record : expected.gps) {
        const GNSS::GPSEphemeride& e = record.ephemeride;
        SCOPED_TRACE(int{e.prn});
        if (decoded.count(e.prn) == 0) {
            ADD_FAILURE();
            continue;
        }
        const GNSS::GPSEphemeride& d = decoded[e.prn];
        const auto& p = d.posn;
        const auto& q = e.posn;
        EXPECT_EQ(p.IODE, q.IODE);
        EXPECT_EQ(d.clock.IODC, e.clock.IODC);
        EXPECT_EQ(d.status.GetHealth(), e.status.GetHealth());
        const std::vector<std::array<double, 2>> pairs{{p.toe, q.toe},
                                                       {p.sqrtA, q.sqrtA},
                                                       {p.e, q.e},
                                                       {p.Crc, q.Crc},
                                                       {p.Crs, q.Crs},
                                                       {d.clock.toc, e.clock.toc},
                                                       {d.clock.Tgd, e.clock.Tgd},
                                                       {d.clock.af0, e.clock.af0},
                                                       {d.clock.af1, e.clock.af1},
                                                       {d.clock.af2, e.clock.af2},
                                                       {p.M0.Radians(), q.M0.Radians()},
                                                       {p.Omega0.Radians(), q.Omega0.Radians()},
                                                       {p.i0.Radians(), q.i0.Radians()},
                                                       {p.omega.Radians(), q.omega.Radians()},
                                                       {p.deltaN.Radians(), q.deltaN.Radians()},
                                                       {p.OmegaDot.Radians(), q.OmegaDot.Radians()},
                                                       {p.IDOT.Radians(), q.IDOT.Radians()},
                                                       {p.Cuc.Radians(), q.Cuc.Radians()},
                                                       {p.Cus.Radians(), q.Cus.Radians()},
                                                       {p.Cic.Radians(), q.Cic.Radians()},
                                                       {p.Cis.Radians(), q.Cis.Radians()}};
        for (std::size_t i = 0; i < pairs.size(); ++i) ExpectSame(pairs[i][0], pairs[i][1], std::to_string(i).c_str());
    }

    ASSERT_EQ(run.sink.ephemerides.size(), 8U);
    for (const Host::GlonassDecodedEphemeride& record : run.sink.ephemerides) {
        const auto& d = record.ephemeride;
        SCOPED_TRACE(int{d.slot});
        const Host::RinexNavigation::GlonassRecord* found = nullptr;
        for (const auto& candidate : expected.glonass) {
            if (candidate.ephemeride.slot == d.slot) found = &candidate;
        }
        ASSERT_NE(found, nullptr);
        const auto& e = found->ephemeride;
        EXPECT_EQ(record.channel, found->channel);
        EXPECT_EQ(record.reference, found->tb);
        EXPECT_EQ(record.fourYears, 4);
        EXPECT_EQ(d.posn.day, e.posn.day);
        EXPECT_EQ(d.posn.tb, e.posn.tb);
        // Repeated half a minute later.
        EXPECT_TRUE(d.posn.frameTime == e.posn.frameTime || d.posn.frameTime == e.posn.frameTime + 30.0);
        EXPECT_EQ(d.status.IsUnhealthy(), e.status.IsUnhealthy());
        EXPECT_EQ(d.status.Get(GNSS::Glonass::Ephemeride::Status::P2), 1);
        EXPECT_TRUE(d.m.isM);
        EXPECT_GT(d.accuracy, 3.9);
        EXPECT_LT(d.accuracy, 10.1);
        ExpectSame(d.clock.tau, e.clock.tau, "tau");
        ExpectSame(d.clock.gamma, e.clock.gamma, "gamma");
        const auto same = [](const GNSS::ECEF& a, const GNSS::ECEF& b) {
            ExpectSame(a.GetX(), b.GetX(), "x");
            ExpectSame(a.GetY(), b.GetY(), "y");
            ExpectSame(a.GetZ(), b.GetZ(), "z");
        };
        same(d.posn.posn, e.posn.posn);
        same(d.posn.vely, e.posn.vely);
        same(d.posn.accel, e.posn.accel);
    }
}

TEST(OemLog, FixesEqualTheReference) {
    GNSS_REQUIRE_TEST_DATA(path, "data/oemv_200911218.gps");
    GNSS_REQUIRE_TEST_DATA(table, "reference/oemv_fixes.csv");
    const OemRun run(OpenFile(path).Text());
    const std::vector<tests::Row> rows = tests::ReadTable(table);
    ASSERT_EQ(run.sink.fixes.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Host::ReceiverFix& fix = run.sink.fixes[i];
        const auto number = [&row = rows[i]](const char* name) { return tests::Number(row.at(name)); };
        if (number("sol_status") != 0.0) {
            EXPECT_TRUE(!fix.valid && fix.type == 0 && !fix.time && !fix.latitude && !fix.height);
            continue;
        }
        ASSERT_TRUE(fix.valid && fix.time && fix.latitude);
        EXPECT_EQ(*fix.time, GPSTime(static_cast<int>(number("gps_week")), number("tow_s_GPST")));
        EXPECT_EQ(fix.type, 3);
        EXPECT_NEAR(*fix.latitude, number("lat_deg"), 5.1e-10);
        EXPECT_NEAR(*fix.longitude, number("lon_deg"), 5.1e-10);
        EXPECT_NEAR(*fix.heightMSL, number("h_msl_m"), 5.1e-5);
        EXPECT_NEAR(*fix.height, number("h_msl_m") + number("undulation_m"), 1.1e-4);
        EXPECT_NEAR(*fix.sigmaNorth, number("sig_lat_m"), 5.1e-4);
        EXPECT_NEAR(*fix.sigmaEast, number("sig_lon_m"), 5.1e-4);
        EXPECT_NEAR(*fix.sigmaUp, number("sig_h_m"), 5.1e-4);
        EXPECT_EQ(fix.nmrUsed, static_cast<int>(number("n_used")));
    }
}

}  // namespace
