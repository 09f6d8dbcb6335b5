// Every record of the real logs against what independent decoders made of them, in every field.
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/icd/ICD.h"
#include "gnss/icd/ICDGlonass.h"
#include "host/receiver/GPSParity.h"
#include "host/receiver/RecordMaker.h"
#include "host/report/RecordFields.h"
#include "tests/host/receiver/ReferenceRinex.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::Almanac;
using GNSS::GPSEphemeride;
using GNSS::GPSTime;
using GNSS::ICD;
using GNSS::ICDGlonass;
using GNSS::Glonass::Ephemeride;
using tests::Number;

constexpr double Pi = GNSS::GPSPi;

// A log's records.
struct Log : tests::RecordRecording {
    explicit Log(const std::string& path) {
        static_cast<void>(tests::DecodeLog(tests::ReadAll(path), maker));
        EXPECT_EQ(maker.GetNmrWaiting() + maker.GetNmrUndatable() + maker.GetNmrRefused(), 0) << path;
    }
    Host::RecordMaker maker{*this};
};

// All fields of two records but those that the reference does not say. The references have more digits than any field
// of the messages: one that is wrong in its last bit is farther off than the rounding.
void ExpectSame(const Host::RecordFields& made, const Host::RecordFields& expected,
                const std::set<std::string>& unsaid = {}, double rounding = 1e-11) {
    const auto number = [](const Host::Cell& cell) {
        if (const auto* real = std::get_if<double>(&cell)) return *real;
        if (const auto* yes = std::get_if<bool>(&cell)) return *yes ? 1.0 : 0.0;
        return static_cast<double>(std::get<std::int64_t>(cell));
    };
    ASSERT_EQ(made.fields.size(), expected.fields.size());
    for (std::size_t i = 0; i < made.fields.size(); ++i) {
        if (unsaid.contains(made.fields[i].column.name)) continue;
        const double value = number(expected.fields[i].value);
        EXPECT_NEAR(number(made.fields[i].value), value, std::abs(value) * rounding)
            << made.kind << ' ' << made.satellite << ' ' << made.fields[i].column.name;
    }
}

std::string NameOf(const GPSEphemeride& e) {
    return std::string("G") + std::to_string(int{e.prn}) + " IODE " + std::to_string(e.posn.IODE);
}

TEST(DecodedRecords, EphemeridesAreThoseOfTheReference) {
    struct Row {
        const char* log;
        const char* reference;
        std::size_t gps;  // records of the reference
        std::size_t glonass;
    };
    for (const Row& row : {
             Row{"data/16dBatt_no_interference_coldstart.ubx.gz", "reference/decoded_16dbatt.nav", 9, 0},
             Row{"data/ubx_20080526.ubx", "reference/decoded_ubx_20080526.nav", 18, 0},
             Row{"data/oemv_200911218.gps", "reference/decoded_oemv_200911218.nav", 9, 5},
             Row{"data/testglo.rtcm3", "reference/decoded_testglo.nav", 15, 6},
         }) {
        GNSS_REQUIRE_TEST_DATA(path, row.log);
        GNSS_REQUIRE_TEST_DATA(referencePath, row.reference);
        const Log log(path);
        const Host::RinexNavigation reference = tests::ReadNavigation(referencePath);
        ASSERT_EQ(reference.gps.size(), row.gps) << row.reference;
        ASSERT_EQ(reference.glonass.size(), row.glonass) << row.reference;

        std::set<const void*> found;
        for (const GPSEphemeride& made : log.gps) {
            const auto it = std::find_if(reference.gps.begin(), reference.gps.end(), [&](const auto& r) {
                return r.ephemeride.prn == made.prn && r.ephemeride.posn.IODE == made.posn.IODE;
            });
            if (it == reference.gps.end()) {
                ADD_FAILURE() << row.log << " " << NameOf(made) << " is not in the reference";
                continue;
            }
            found.insert(&*it);
            ExpectSame(Host::FieldsOf(made), Host::FieldsOf(it->ephemeride));
            // Not read of subframes.
            const bool isDecoded = std::string(row.log).ends_with("rtcm3");
            EXPECT_EQ(made.status.GetL2Codes(), isDecoded ? it->ephemeride.status.GetL2Codes() : 0);
        }
        for (const Log::Glonass& made : log.glonass) {
            const auto it = std::find_if(reference.glonass.begin(), reference.glonass.end(), [&](const auto& r) {
                return r.ephemeride.slot == made.slot && r.ephemeride.posn.tb == made.posn.tb;
            });
            const std::string name = row.log + (" R" + std::to_string(int{made.slot}));
            if (it == reference.glonass.end()) {
                ADD_FAILURE() << name << " is not in the reference";
                continue;
            }
            found.insert(&*it);
            ExpectSame(Host::FieldsOf(made, made.channel), Host::FieldsOf(it->ephemeride, it->channel),
                       {"frame time", "P1", "P2", "P3", "P4", "GLONASS-M", "accuracy index"});
            EXPECT_TRUE(made.m.isM);
            EXPECT_EQ(made.status.Get(Ephemeride::Status::P2), 1) << name;
            EXPECT_TRUE(made.accuracy >= 1.0 && made.accuracy <= 10.0) << made.accuracy;
            // Sent within half an hour of tb, and dated so.
            EXPECT_LE(std::abs((made.reference - it->tb).Seconds()), 1800.0) << name;
        }
        EXPECT_EQ(found.size(), row.gps + row.glonass) << row.log << ": records that were not decoded";
    }
}

TEST(DecodedRecords, GlonassEphemeridesAreThoseOfTheStrings) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ublox-glo.ubx");
    GNSS_REQUIRE_TEST_DATA(referencePath, "reference/glo_eph_ublox_2023179.csv");
    const Log log(path);
    const auto rows = tests::ReadTable(referencePath);
    ASSERT_EQ(rows.size(), 38U);
    ASSERT_EQ(log.glonass.size(), rows.size());
    std::map<std::string, std::vector<const Log::Glonass*>> bySatellite;
    for (const auto& record : log.glonass) bySatellite[record.slot.Print().str()].push_back(&record);
    std::map<std::string, std::size_t> next;
    for (const auto& row : rows) {
        const std::string& name = row.at("sat");
        const auto& record = *bySatellite.at(name).at(next[name]++);
        Ephemeride expected;
        const auto number = [&row](const char* heading) { return Number(row.at(heading)); };
        expected.posn.day = 1275;
        expected.posn.tb = 900.0 * number("tb_15min_MoscowTime");
        expected.m.age = int(number("En_age_days"));
        expected.m.isM = true;
        expected.m.accuracyIndex = int(number("FT_index"));
        expected.status.SetUnhealthy(number("Bn_msb") != 0.0);
        expected.posn.posn.Set(number("x_m_PZ90") / 1e3, number("y_m_PZ90") / 1e3, number("z_m_PZ90") / 1e3);
        expected.posn.vely.Set(number("vx_mps") / 1e3, number("vy_mps") / 1e3, number("vz_mps") / 1e3);
        expected.posn.accel.Set(number("ax_mps2") / 1e3, number("ay_mps2") / 1e3, number("az_mps2") / 1e3);
        expected.clock.tau = -number("minus_tau_n_s");
        expected.clock.gamma = number("gamma_n");
        ExpectSame(Host::FieldsOf(record, record.channel), Host::FieldsOf(expected, int(number("freq_no"))),
                   {"frame time", "P1", "P2", "P3", "P4"}, 1e-9);
        // The row is dated by the end of string 4 or later, the record by the start of its frame.
        const double after = number("approx_tow_s_GPST") - record.reference.GetSeconds();
        EXPECT_TRUE(after >= 6.0 && after <= 10.0) << name << " " << after;
    }
}

// The numbers of a page or string before scaling, which is exact.
using Raw = std::vector<long long>;

Raw RawOf(const tests::Row& row, const std::vector<const char*>& headings) {
    Raw raw;
    for (const char* heading : headings) raw.push_back(static_cast<long long>(Number(row.at(heading))));
    return raw;
}

// The whole multiple of the last bit that a value is, within a hundredth.
long long Multiple(double value, double lastBit) {
    const double multiple = value / lastBit;
    EXPECT_NEAR(multiple, std::round(multiple), 0.01);
    return std::llround(multiple);
}

TEST(DecodedRecords, GPSAlmanacsAreThoseOfTheReference) {
    using SF = ICD::AlmanacSF;
    for (const auto& [name, referenceName, weeks] :
         {std::tuple{"data/16dBatt_no_interference_coldstart.ubx.gz", "reference/gps_alm_16dbatt.csv", 2363},
          std::tuple{"data/ubx_20080526.ubx", "reference/gps_alm_ubx_20080526.csv", 1481}}) {
        GNSS_REQUIRE_TEST_DATA(path, name);
        GNSS_REQUIRE_TEST_DATA(referencePath, referenceName);
        const Log log(path);
        std::map<Raw, long long> made;
        for (const Almanac::SV& sv : log.almanac) {
            const double di = sv.i.Radians() / Pi - 0.3;
            ++made[{sv.prn, sv.health, Multiple(sv.e, SF::Eccent), Multiple(sv.toa.GetSeconds(), SF::Toa),
                    Multiple(di, SF::Di), Multiple(sv.OmegaDot.Radians() / Pi, SF::OmegaDot),
                    Multiple(sv.sqrtA, SF::SqrtA), Multiple(sv.Omega0.Radians() / Pi, SF::Omega0),
                    Multiple(sv.w.Radians() / Pi, SF::W), Multiple(sv.M0.Radians() / Pi, SF::M0),
                    Multiple(sv.af0, SF::Af0), Multiple(sv.af1, SF::Af1)}];
            // Either log's almanacs are of the week, or of the turn to the next.
            EXPECT_LE(std::abs((sv.toa - sv.time).Seconds()), 4 * GPSTime::SecsInDay) << int{sv.prn};
            EXPECT_LE(std::abs(sv.toa.GetWeek() - weeks), 1);
        }
        std::map<Raw, long long> expected;
        for (const auto& row : tests::ReadTable(referencePath)) {
            expected[RawOf(row, {"prn", "health8", "raw_e", "raw_toa", "raw_di", "raw_omegadot", "raw_sqrtA",
                                 "raw_omega0", "raw_omega", "raw_M0", "raw_af0", "raw_af1"})] +=
                static_cast<long long>(Number(row.at("times_received")));
        }
        ASSERT_GT(expected.size(), 30U);
        EXPECT_EQ(made, expected) << name;
    }
}

TEST(DecodedRecords, GlonassAlmanacsAreThoseOfTheReference) {
    using SF = ICDGlonass::AlmanacSF;
    GNSS_REQUIRE_TEST_DATA(path, "data/ublox-glo.ubx");
    GNSS_REQUIRE_TEST_DATA(referencePath, "reference/glo_alm_ublox_2023179.csv");
    const Log log(path);
    std::map<Raw, long long> expected;
    for (const auto& row : tests::ReadTable(referencePath)) {
        expected[RawOf(row, {"N_A_day", "slot", "health_C", "freq_no", "raw_tau", "raw_lambda", "raw_di", "raw_e",
                             "raw_omega", "raw_tlambda", "raw_dT", "raw_dTdot"})] =
            static_cast<long long>(Number(row.at("times_received")));
    }
    ASSERT_EQ(expected.size(), 38U);
    std::map<Raw, long long> made;
    std::set<int> slots;
    std::map<int, std::set<double>> times;
    for (const Almanac::GlonassSV& sv : log.glonassAlmanac) {
        const Raw raw{sv.day,
                      sv.slot,
                      sv.health,
                      sv.channel,
                      Multiple(sv.TauN, SF::TauN),
                      Multiple(sv.Lambda.Radians() / Pi, SF::Lambda),
                      Multiple(sv.Di.Radians() / Pi, SF::Di),
                      Multiple(sv.Eccent, SF::Eccent),
                      Multiple(sv.W.Radians() / Pi, SF::W),
                      Multiple(sv.TLambda, SF::TLambda),
                      Multiple(sv.DDrac, SF::DDrac),
                      Multiple(sv.DDracDot, SF::DDracDot)};
        const long long count = ++made[raw];
        EXPECT_LE(count, expected[raw]) << int{sv.slot};
        slots.insert(sv.slot);
        times[sv.slot].insert(sv.time.GetSeconds());
    }
    EXPECT_EQ(slots.size(), 24U) << "one superframe holds the whole constellation";
    // Two superframes at the most: all satellites send a slot's almanac at the same time.
    for (const auto& [slot, seconds] : times) EXPECT_LE(seconds.size(), 3U) << slot;
    // The reference takes almanacs whose frame's string 5 was not received, too.
    EXPECT_GE(log.glonassAlmanac.size(), 160U);
    EXPECT_GE(made.size(), 36U);
    RecordProperty("almanacs", static_cast<int>(log.glonassAlmanac.size()));
}

TEST(DecodedRecords, RealSubframesPassParity) {
    GNSS_REQUIRE_TEST_DATA(path, "data/16dBatt_no_interference_coldstart.ubx.gz");
    tests::ReceiverRecording log;
    static_cast<void>(tests::DecodeLog(tests::ReadAll(path), log));
    ASSERT_EQ(log.subframes.size(), 849U);
    for (const Host::GPSSubframe& subframe : log.subframes) {
        ASSERT_EQ(subframe.parity, Host::GPSSubframe::Parity::Present);
        std::array<unsigned long, 10> words = subframe.words;
        ASSERT_TRUE(Host::HasGPSParity(words)) << int{subframe.prn};
        words[4] ^= 0x40U;
        ASSERT_FALSE(Host::HasGPSParity(words));
    }
}

}  // namespace
