// RTCM 3: a real log against another program's reading of it (see reference/README.md).
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "gnss/icd/ICD.h"
#include "gnss/icd/ICDGlonass.h"
#include "host/receiver/FileText.h"
#include "host/receiver/RinexNavigation.h"
#include "tests/host/receiver/RtcmFrames.h"
#include "tests/support/TestData.h"

using GNSS::GPSTime;

namespace {

const GPSTime Start(1562, 515220.0);  // 2009-12-18 23:07:00

std::string_view ReadLog(const std::string& path, Host::FileText& file) {
    Host::FileError error;
    EXPECT_TRUE(file.Open(path, error)) << error.Print();
    return file.Text();
}

std::optional<double> Value(std::string_view line, std::size_t column) {
    std::string_view text = line.substr(std::min(line.size(), 3 + 16 * column), 14);
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(' ')));
    double value = 0.0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc()) return std::nullopt;
    return value;
}

// Holds one record against range, phase and strength of a line of the file; returns how many values were compared.
template <typename Set>
int Compare(const Set& set, int number, const typename Set::Record::Freqy& freqy, std::string_view line,
            std::size_t column) {
    using Record = typename Set::Record;
    const auto& sv = set.GetSV(set.FindSV(typename Record::Id(number)));
    const Record& record = sv.GetMeas(sv.FindFreqy(freqy));
    int nmr = 0;
    const auto compare = [&](std::size_t n, typename Record::Flag flag, double value, double tolerance) {
        const std::optional<double> expected = Value(line, column + n);
        EXPECT_EQ(record.IsValid(flag), expected.has_value()) << line;
        if (!expected || !record.IsValid(flag)) return;
        EXPECT_NEAR(value, *expected, tolerance) << line;
        ++nmr;
    };
    // The file has three decimals.
    compare(0, Record::Range, record.GetRange(), 0.0006);
    compare(1, Record::Phase, record.GetPhase(), 0.0006);
    compare(2, Record::SNR, record.GetSNR(), 0.0006);
    return nmr;
}

}  // namespace

TEST(RtcmData, MeasurementsAgree) {
    GNSS_REQUIRE_TEST_DATA(path, "data/testglo.rtcm3");
    GNSS_REQUIRE_TEST_DATA(referencePath, "reference/decoded_testglo.obs.gz");
    Host::FileText file;
    tests::RtcmSink sink;
    Host::RtcmDecoder decoder(sink);
    decoder.SetApproximateTime(Start);
    decoder.Feed(ReadLog(path, file));
    decoder.Finish();
    ASSERT_EQ(sink.sets.size(), 186U);
    EXPECT_EQ(decoder.GetNmrUndated(), 0);

    Host::FileText reference;
    std::string_view text = ReadLog(referencePath, reference);
    text.remove_prefix(text.find('\n', text.find("END OF HEADER")) + 1);
    std::size_t epoch = 0;
    int nmrSVs = 0;
    int nmrValues = 0;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() + 1);
        if (line[0] == '>') {
            if (epoch > 0) {
                const GNSS::MeasSet& before = sink.sets[epoch - 1];
                EXPECT_EQ(nmrSVs, before.GetGPS().NmrSV() + before.GetGlonass().NmrSV());
            }
            ASSERT_LT(epoch, sink.sets.size());
            EXPECT_EQ(sink.sets[epoch].GetGPSTime(), Start + Corvane::Time(static_cast<double>(epoch)));
            EXPECT_EQ(sink.sets[epoch].GetGlonass().GetTime(), sink.sets[epoch].GetGPS().GetTime());
            nmrSVs = 0;
            ++epoch;
            continue;
        }
        const int number = std::stoi(std::string(line.substr(1, 2)));
        const GNSS::MeasSet& set = sink.sets[epoch - 1];
        if (line[0] == 'G') {
            nmrValues += Compare(set.GetGPS(), number, GNSS::GPSFreqy::CA, line, 0);
            nmrValues += Compare(set.GetGPS(), number, GNSS::GPSFreqy::L2, line, 3);
        } else if (line[0] == 'R') {
            nmrValues += Compare(set.GetGlonass(), number, GNSS::Glonass::Frequency::CA, line, 0);
            nmrValues += Compare(set.GetGlonass(), number, GNSS::Glonass::Frequency::L2, line, 3);
        }
        nmrSVs += line[0] == 'S' ? 0 : 1;
    }
    EXPECT_EQ(epoch, 186U);
    EXPECT_GT(nmrValues, 15000);
}

TEST(RtcmData, CountsPositionAndEphemeridesAgree) {
    GNSS_REQUIRE_TEST_DATA(path, "data/testglo.rtcm3");
    GNSS_REQUIRE_TEST_DATA(referencePath, "reference/decoded_testglo.nav");
    Host::FileText file;
    tests::RtcmSink sink;
    Host::RtcmDecoder decoder(sink);  // the log's 1020 has the date
    const std::string_view log = ReadLog(path, file);
    decoder.Feed(log);
    decoder.Finish();
    const Host::StreamCounts& counts = decoder.GetCounts();
    EXPECT_EQ(counts.checksumFailures + counts.GetNmrRefused(), 0);
    EXPECT_EQ(counts.skipped, 58);  // the receiver's prompts, before the first message
    for (const auto& [kind, nmr] :
         std::map<std::uint32_t, int>{{1004, 186}, {1012, 186}, {1005, 19}, {1019, 19}, {1020, 19}})
        EXPECT_EQ(counts.kinds.at(kind).nmr, nmr) << kind;
    EXPECT_EQ(counts.kinds.size(), 5U);
    ASSERT_EQ(sink.sets.size(), 186U);
    EXPECT_EQ(sink.sets[0].GetGPSTime(), Start);
    ASSERT_EQ(sink.stations.size(), 19U);
    EXPECT_NEAR(sink.stations[0].posn.GetX(), -3869297.5138, 1e-7);
    EXPECT_NEAR(sink.stations[0].posn.GetY(), 3436571.3345, 1e-7);
    EXPECT_NEAR(sink.stations[0].posn.GetZ(), 3717369.3757, 1e-7);

    Host::RinexNavigation navigation;
    Host::FileError error;
    ASSERT_TRUE(navigation.Read(referencePath, error));
    ASSERT_EQ(navigation.gps.size(), 15U);
    ASSERT_EQ(navigation.glonass.size(), 6U);
    using SF = GNSS::ICD::EphemerisSF;
    constexpr double Pi = GNSS::GPSPi;
    for (const auto& record : navigation.gps) {
        const GNSS::GPSEphemeride& e = record.ephemeride;
        int nmr = 0;
        for (const auto& decoded : sink.gps) {
            const GNSS::GPSEphemeride& d = decoded.ephemeride;
            if (d.prn != e.prn || d.posn.IODE != e.posn.IODE) continue;
            ++nmr;
            EXPECT_EQ(decoded.week, 538);
            EXPECT_EQ(decoded.weekModulus, 1024);
            EXPECT_EQ(d.clock.IODC, e.clock.IODC);
            EXPECT_EQ(d.posn.toe, e.posn.toe);
            EXPECT_EQ(d.clock.toc, e.clock.toc);
            EXPECT_EQ(d.status.GetURA(), e.status.GetURA());
            EXPECT_EQ(d.status.GetHealth(), e.status.GetHealth());
            EXPECT_EQ(d.status.GetL2Codes(), e.status.GetL2Codes());
            EXPECT_EQ(d.status.GetCurveFit(), 4);
            // To half of the field's last bit; the file has 12 digits, which for angles of 32 bits are fewer.
            const auto near = [&](double a, double b, double sf) {
                EXPECT_NEAR(a, b, sf * 0.5 + 1e-12 * std::abs(b)) << e.prn;
            };
            near(d.posn.sqrtA, e.posn.sqrtA, SF::SqrtA);
            near(d.posn.e, e.posn.e, SF::E);
            near(d.posn.M0.Radians(), e.posn.M0.Radians(), SF::M0 * Pi);
            near(d.posn.Omega0.Radians(), e.posn.Omega0.Radians(), SF::Omega0 * Pi);
            near(d.posn.i0.Radians(), e.posn.i0.Radians(), SF::I0 * Pi);
            near(d.posn.omega.Radians(), e.posn.omega.Radians(), SF::W * Pi);
            near(d.posn.deltaN.Radians(), e.posn.deltaN.Radians(), SF::Dn * Pi);
            near(d.posn.OmegaDot.Radians(), e.posn.OmegaDot.Radians(), SF::OmegaDot * Pi);
            near(d.posn.IDOT.Radians(), e.posn.IDOT.Radians(), SF::IDot * Pi);
            near(d.posn.Crc, e.posn.Crc, SF::Crc);
            near(d.posn.Crs, e.posn.Crs, SF::Crs);
            near(d.posn.Cuc.Radians(), e.posn.Cuc.Radians(), SF::Cuc);
            near(d.posn.Cus.Radians(), e.posn.Cus.Radians(), SF::Cus);
            near(d.posn.Cic.Radians(), e.posn.Cic.Radians(), SF::Cic);
            near(d.posn.Cis.Radians(), e.posn.Cis.Radians(), SF::Cis);
            near(d.clock.af0, e.clock.af0, SF::Af0);
            near(d.clock.af1, e.clock.af1, SF::Af1);
            near(d.clock.af2, e.clock.af2, SF::Af2);
            near(d.clock.Tgd, e.clock.Tgd, SF::Tgd);
        }
        EXPECT_GE(nmr, 1) << e.prn;
    }
    using GloSF = GNSS::ICDGlonass::EphemerisSF;
    for (const auto& record : navigation.glonass) {
        const GNSS::Glonass::Ephemeride& e = record.ephemeride;
        int nmr = 0;
        for (const auto& decoded : sink.glonass) {
            const GNSS::Glonass::Ephemeride& d = decoded.ephemeride;
            if (d.slot != e.slot || d.posn.tb != e.posn.tb) continue;
            ++nmr;
            EXPECT_EQ(decoded.channel, record.channel);
            EXPECT_EQ(decoded.fourYears, 4);
            EXPECT_EQ(decoded.reference, record.tb);
            EXPECT_EQ(d.posn.day, e.posn.day);
            EXPECT_NEAR((*decoded.reference - Start).Seconds(), 495.0, 1e-6);
            EXPECT_EQ(d.status.IsHealthy(), e.status.IsHealthy());
            EXPECT_EQ(d.m.age, e.m.age);
            EXPECT_TRUE(d.m.isM);
            for (const auto& [a, b, sf] :
                 {std::tuple(d.posn.posn, e.posn.posn, GloSF::Posn), std::tuple(d.posn.vely, e.posn.vely, GloSF::Vely),
                  std::tuple(d.posn.accel, e.posn.accel, GloSF::Accl)}) {
                EXPECT_NEAR(a.GetX(), b.GetX(), sf * 0.5) << e.slot;
                EXPECT_NEAR(a.GetY(), b.GetY(), sf * 0.5) << e.slot;
                EXPECT_NEAR(a.GetZ(), b.GetZ(), sf * 0.5) << e.slot;
            }
            EXPECT_NEAR(d.clock.tau, e.clock.tau, GloSF::Tau * 0.5);
            EXPECT_NEAR(d.clock.gamma, e.clock.gamma, GloSF::Gamma * 0.5);
        }
        EXPECT_GE(nmr, 1) << e.slot;
    }

    for (const std::size_t piece : {1U, 7U, 4096U}) {
        tests::RtcmSink pieces;
        Host::RtcmDecoder other(pieces);
        for (std::size_t n = 0; n < log.size(); n += piece) other.Feed(log.substr(n, piece));
        other.Finish();
        EXPECT_EQ(pieces.sets, sink.sets) << piece;
        EXPECT_EQ(pieces.times, sink.times) << piece;
        EXPECT_EQ(pieces.NmrCalls(), sink.NmrCalls()) << piece;
    }
}
