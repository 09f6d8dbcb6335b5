// Every record of the real logs against what independent decoders made of them, to half of each field's last bit; and
// almanacs against ephemerides of the same log.
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/icd/ICD.h"
#include "gnss/icd/ICDGlonass.h"
#include "gnss/platform/Clock.h"
#include "host/cli/LeapRule.h"
#include "host/receiver/FileText.h"
#include "host/receiver/GPSParity.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/RinexNavigation.h"
#include "host/receiver/StreamFormat.h"
#include "tests/host/receiver/Table.h"
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

// A log's records, and its subframes.
struct Log : Host::ReceiverSink, Host::RecordSink {
    struct GlonassRecord {
        Ephemeride ephemeride;
        std::optional<int> channel;
    };

    void Read(const std::string& path) {
        Host::FileText file;
        Host::FileError error;
        ASSERT_TRUE(file.Open(path, error)) << error.Print();
        const auto detected = Host::DetectFormat(file.Text());
        const auto decoder = Host::MakeDecoder(detected.format, *this);
        ASSERT_TRUE(decoder);
        decoder->Feed(file.Text());
        decoder->Finish();
        EXPECT_EQ(maker.GetNmrWaiting() + maker.GetNmrUndatable() + maker.GetNmrRefused(), 0);
    }

    void OnTime(const GPSTime& time) override {
        last = time;
        maker.OnTime(time);
    }
    void OnLeapSeconds(int seconds) override { maker.OnLeapSeconds(seconds); }
    void OnSubframe(const Host::GPSSubframe& subframe) override {
        subframes.push_back(subframe);
        maker.OnSubframe(subframe);
    }
    void OnString(const Host::GlonassString& string) override { maker.OnString(string); }
    void OnEphemeride(const Host::GPSDecodedEphemeride& record) override { maker.OnEphemeride(record); }
    void OnEphemeride(const Host::GlonassDecodedEphemeride& record) override { maker.OnEphemeride(record); }

    void OnRecord(const GPSEphemeride& record) override { gps.push_back(record); }
    void OnRecord(const Ephemeride& record, std::optional<int> channel) override {
        glonass.push_back({record, channel});
    }
    void OnRecord(const Almanac::SV& record) override { almanac.push_back(record); }
    void OnRecord(const Almanac::GlonassSV& record) override { glonassAlmanac.push_back(record); }
    void OnRecord(const Almanac::Iono& /*record*/) override {}
    void OnRecord(const Almanac::UTC& /*record*/) override {}

    Host::RecordMaker maker{*this};
    GPSTime last;
    std::vector<Host::GPSSubframe> subframes;
    std::vector<GPSEphemeride> gps;
    std::vector<GlonassRecord> glonass;
    std::vector<Almanac::SV> almanac;
    std::vector<Almanac::GlonassSV> glonassAlmanac;
};

template <typename Record>
struct Field {
    const char* name;
    double (*get)(const Record&);
    double lastBit;
};

template <typename Record, std::size_t N>
void ExpectFields(const std::array<Field<Record>, N>& fields, const Record& made, const Record& expected,
                  const std::string& what) {
    for (const Field<Record>& field : fields)
        EXPECT_NEAR(field.get(made), field.get(expected), field.lastBit / 2) << what << " " << field.name;
}

using ESF = ICD::EphemerisSF;
using E = GPSEphemeride;
constexpr std::array<Field<E>, 26> GPSFields{{
    {"IODE", [](const E& e) { return double(e.posn.IODE); }, 1.0},
    {"IODC", [](const E& e) { return double(e.clock.IODC); }, 1.0},
    {"health", [](const E& e) { return double(e.status.GetHealth()); }, 1.0},
    {"URA", [](const E& e) { return double(e.status.GetURA()); }, 1.0},
    {"fit", [](const E& e) { return double(e.status.GetCurveFit()); }, 1.0},
    {"toe", [](const E& e) { return (e.GetTOE() - GPSTime::Zero).Seconds(); }, ESF::Toe},
    {"toc", [](const E& e) { return (e.GetTOC() - GPSTime::Zero).Seconds(); }, ESF::Toc},
    {"sqrtA", [](const E& e) { return e.posn.sqrtA; }, ESF::SqrtA},
    {"e", [](const E& e) { return e.posn.e; }, ESF::E},
    {"M0", [](const E& e) { return e.posn.M0.Radians(); }, ESF::M0* Pi},
    {"Omega0", [](const E& e) { return e.posn.Omega0.Radians(); }, ESF::Omega0* Pi},
    {"i0", [](const E& e) { return e.posn.i0.Radians(); }, ESF::I0* Pi},
    {"omega", [](const E& e) { return e.posn.omega.Radians(); }, ESF::W* Pi},
    {"deltaN", [](const E& e) { return e.posn.deltaN.Radians(); }, ESF::Dn* Pi},
    {"OmegaDot", [](const E& e) { return e.posn.OmegaDot.Radians(); }, ESF::OmegaDot* Pi},
    {"IDOT", [](const E& e) { return e.posn.IDOT.Radians(); }, ESF::IDot* Pi},
    {"Crc", [](const E& e) { return e.posn.Crc; }, ESF::Crc},
    {"Crs", [](const E& e) { return e.posn.Crs; }, ESF::Crs},
    {"Cuc", [](const E& e) { return e.posn.Cuc.Radians(); }, ESF::Cuc},
    {"Cus", [](const E& e) { return e.posn.Cus.Radians(); }, ESF::Cus},
    {"Cic", [](const E& e) { return e.posn.Cic.Radians(); }, ESF::Cic},
    {"Cis", [](const E& e) { return e.posn.Cis.Radians(); }, ESF::Cis},
    {"Tgd", [](const E& e) { return e.clock.Tgd; }, ESF::Tgd},
    {"af0", [](const E& e) { return e.clock.af0; }, ESF::Af0},
    {"af1", [](const E& e) { return e.clock.af1; }, ESF::Af1},
    {"af2", [](const E& e) { return e.clock.af2; }, ESF::Af2},
}};

using GSF = ICDGlonass::EphemerisSF;
using G = Ephemeride;
constexpr std::array<Field<G>, 15> GlonassFields{{
    {"day", [](const G& e) { return double(e.posn.day); }, 1.0},
    {"tb", [](const G& e) { return e.posn.tb; }, 900.0},
    {"unhealthy", [](const G& e) { return double(e.status.IsUnhealthy()); }, 1.0},
    {"age", [](const G& e) { return double(e.m.age); }, 1.0},
    {"x", [](const G& e) { return e.posn.posn.GetX(); }, GSF::Posn},
    {"y", [](const G& e) { return e.posn.posn.GetY(); }, GSF::Posn},
    {"z", [](const G& e) { return e.posn.posn.GetZ(); }, GSF::Posn},
    {"vx", [](const G& e) { return e.posn.vely.GetX(); }, GSF::Vely},
    {"vy", [](const G& e) { return e.posn.vely.GetY(); }, GSF::Vely},
    {"vz", [](const G& e) { return e.posn.vely.GetZ(); }, GSF::Vely},
    {"ax", [](const G& e) { return e.posn.accel.GetX(); }, GSF::Accl},
    {"ay", [](const G& e) { return e.posn.accel.GetY(); }, GSF::Accl},
    {"az", [](const G& e) { return e.posn.accel.GetZ(); }, GSF::Accl},
    {"tau", [](const G& e) { return e.clock.tau; }, GSF::Tau},
    {"gamma", [](const G& e) { return e.clock.gamma; }, GSF::Gamma},
}};

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
        Log log;
        log.Read(path);
        Host::RinexNavigation reference;
        Host::FileError error;
        ASSERT_TRUE(reference.Read(referencePath, error)) << error.Print();
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
            ExpectFields(GPSFields, made, it->ephemeride, row.log + (" " + NameOf(made)));
        }
        for (const Log::GlonassRecord& made : log.glonass) {
            const auto it = std::find_if(reference.glonass.begin(), reference.glonass.end(), [&](const auto& r) {
                return r.ephemeride.slot == made.ephemeride.slot && r.ephemeride.posn.tb == made.ephemeride.posn.tb;
            });
            const std::string name = row.log + (" R" + std::to_string(int{made.ephemeride.slot}));
            if (it == reference.glonass.end()) {
                ADD_FAILURE() << name << " is not in the reference";
                continue;
            }
            found.insert(&*it);
            ExpectFields(GlonassFields, made.ephemeride, it->ephemeride, name);
            EXPECT_EQ(made.channel, it->channel) << name;
            // Sent within half an hour of tb, and dated so.
            EXPECT_LE(std::abs((made.ephemeride.reference - it->tb).Seconds()), 1800.0) << name;
        }
        EXPECT_EQ(found.size(), row.gps + row.glonass) << row.log << ": records that were not decoded";
    }
}

TEST(DecodedRecords, GlonassEphemeridesAreThoseOfTheStrings) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ublox-glo.ubx");
    GNSS_REQUIRE_TEST_DATA(referencePath, "reference/glo_eph_ublox_2023179.csv");
    Log log;
    log.Read(path);
    const auto rows = tests::ReadTable(referencePath);
    ASSERT_EQ(rows.size(), 38U);
    ASSERT_EQ(log.glonass.size(), rows.size());
    std::map<std::string, std::vector<const Log::GlonassRecord*>> bySatellite;
    for (const auto& record : log.glonass) bySatellite[record.ephemeride.slot.Print().str()].push_back(&record);
    std::map<std::string, std::size_t> next;
    for (const auto& row : rows) {
        const std::string& name = row.at("sat");
        const auto& record = *bySatellite.at(name).at(next[name]++);
        Ephemeride expected;
        const auto number = [&row](const char* heading) { return Number(row.at(heading)); };
        expected.posn.day = 1275;
        expected.posn.tb = 900.0 * number("tb_15min_MoscowTime");
        expected.m.age = int(number("En_age_days"));
        expected.status.SetUnhealthy(number("Bn_msb") != 0.0);
        expected.posn.posn.Set(number("x_m_PZ90") / 1e3, number("y_m_PZ90") / 1e3, number("z_m_PZ90") / 1e3);
        expected.posn.vely.Set(number("vx_mps") / 1e3, number("vy_mps") / 1e3, number("vz_mps") / 1e3);
        expected.posn.accel.Set(number("ax_mps2") / 1e3, number("ay_mps2") / 1e3, number("az_mps2") / 1e3);
        expected.clock.tau = -number("minus_tau_n_s");
        expected.clock.gamma = number("gamma_n");
        ExpectFields(GlonassFields, record.ephemeride, expected, name);
        EXPECT_EQ(record.channel, int(number("freq_no"))) << name;
        // The row is dated by the end of string 4 or later, the record by the start of its frame.
        const double after = number("approx_tow_s_GPST") - record.ephemeride.reference.GetSeconds();
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
        Log log;
        log.Read(path);
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
    Log log;
    log.Read(path);
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
    Log log;
    log.Read(path);
    ASSERT_EQ(log.subframes.size(), 849U);
    for (const Host::GPSSubframe& subframe : log.subframes) {
        // This receiver has turned back the parity bits with the data: the log's README says so.
        std::array<unsigned long, 10> words = subframe.words;
        unsigned long before = 0;
        for (unsigned long& word : words) {
            if ((before & 1U) != 0) word ^= 0x3FU;
            before = word;
        }
        ASSERT_TRUE(Host::HasGPSParity(words)) << int{subframe.prn};
        words[4] ^= 0x40U;
        ASSERT_FALSE(Host::HasGPSParity(words));
    }
}

TEST(DecodedRecords, GPSAlmanacsAreNearTheEphemerides) {
    for (const auto& [name, satellites] :
         {std::pair{"data/16dBatt_no_interference_coldstart.ubx.gz", 9U}, std::pair{"data/ubx_20080526.ubx", 2U}}) {
        GNSS_REQUIRE_TEST_DATA(path, name);
        Log log;
        log.Read(path);
        std::set<int> compared;
        std::array<double, 2> worst{};  // within two days of toa, and beyond
        for (const Almanac::SV& sv : log.almanac) {
            const auto ephemeride =
                std::find_if(log.gps.begin(), log.gps.end(), [&](const GPSEphemeride& e) { return e.prn == sv.prn; });
            GPSEphemeride::Result result;
            if (ephemeride == log.gps.end() || !ephemeride->CalculatePosn(log.last, result) || !result.valid) continue;
            GNSS::ECEF posn;
            sv.CalculatePosn(log.last, posn);
            const bool isFar = std::abs((sv.toa - log.last).Seconds()) > 2 * GPSTime::SecsInDay;
            worst.at(isFar) = std::max(worst.at(isFar), (posn - result.posn).Magnitude());
            compared.insert(sv.prn);
        }
        EXPECT_EQ(compared.size(), satellites) << name;
        EXPECT_LT(worst[0], 3000.0) << name;
        // What the orbit departs from the almanac grows with the square of the time.
        EXPECT_LT(worst[1], 4500.0) << name;
        std::printf("%s: %zu satellites, almanac within %.0f m of ephemeris, %.0f m more than two days from toa\n",
                    name, compared.size(), worst[0], worst[1]);
    }
}

TEST(DecodedRecords, GlonassAlmanacsAreNearTheEphemeridesOnceTurnedBack) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ublox-glo.ubx");
    Log log;
    log.Read(path);
    Host::LeapRule leaps;
    leaps.SetFor(log.last);
    std::set<int> compared;
    for (const Almanac::GlonassSV& sv : log.glonassAlmanac) {
        const auto record = std::find_if(log.glonass.rbegin(), log.glonass.rend(),
                                         [&](const auto& r) { return r.ephemeride.slot == sv.slot; });
        Ephemeride::Result result;
        if (record == log.glonass.rend() || !record->ephemeride.CalculatePosn(log.last, result, false)) continue;
        ASSERT_TRUE(result.valid);
        GNSS::ECEF posn;
        sv.CalculatePosn(log.last, posn);
        // The almanac's earth turns 1e-6 rad too far in each second since the node crossing.
        const double since = GNSS::GloTime(log.last) - sv.GetEpoch();
        const double angle = (Almanac::GlonassSV::EarthRate - GNSS::Glonass::Orbit::EarthRate) * since;
        const GNSS::ECEF turned(posn.GetX() * std::cos(angle) - posn.GetY() * std::sin(angle),
                                posn.GetX() * std::sin(angle) + posn.GetY() * std::cos(angle), posn.GetZ());
        const double before = (posn - result.posn).Magnitude();
        const double after = (turned - result.posn).Magnitude();
        EXPECT_LT(after, 10000.0) << int{sv.slot};
        EXPECT_GT(before, 30000.0) << int{sv.slot} << ": the turn is intended";
        if (compared.insert(sv.slot).second) {
            std::printf("R%02d, %.0f s after the node: %.1f km as it is, %.2f km turned back\n", int{sv.slot}, since,
                        before / 1e3, after / 1e3);
        }
    }
    EXPECT_EQ(compared.size(), 4U);
    GPSTime::SetUTCParam(GPSTime(1851, 259200.0), 16, 17);
    Corvane::Clock::UseSystem();
}

}  // namespace
