// The simulated messages, decoded by the library.
#include <array>
#include <cstdint>
#include <initializer_list>
#include <numbers>

#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/icd/ICD.h"
#include "host/receiver/GPSParity.h"
#include "host/receiver/GlonassHamming.h"
#include "host/simulate/GPSMessage.h"
#include "host/simulate/GlonassMessage.h"
#include "host/simulate/SimulatedNoise.h"

namespace {

// A subframe, with its parity checked, as a receiver passes it on.
void Hear(GNSS::ICD& icd, const Host::GPSSubframeBits& bits, int& id, int& svId) {
    const auto sent = bits.GetTransmitted();
    std::array<unsigned long, 10> words{};
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = i > 0 && (sent[i - 1] & 1U) != 0 ? sent[i] ^ 0x3FFFFFC0U : sent[i];
    EXPECT_TRUE(Host::HasGPSParity(words));
    EXPECT_EQ(sent[1] & 3U, 0U);
    EXPECT_EQ(sent[9] & 3U, 0U);
    static_cast<void>(icd.AddSubframe(words.data(), id, svId));
}

struct Field {
    double decoded, encoded, unit;
};

// Every field of the messages against what went in, at the middle of the range and near its ends.
TEST(SimulatedMessages, SayWhatWentIn) {
    const Host::SimulatedNoise draw(7);
    std::uint64_t key = 0;
    const auto half = [&](double most) { return (draw.Uniform({++key}) * 2.0 - 1.0) * most; };
    using SF = GNSS::ICD::EphemerisSF;
    constexpr double Pi = std::numbers::pi;
    for (int run = 0; run < 200; ++run) {
        Host::GPSBroadcast b;
        Host::BroadcastOrbit& o = b.orbit;
        b.week = 2048 + run;
        b.toe = 16.0 * (run * 181 % 37800);
        b.issue = run * 5;
        b.health = run % 64;
        b.groupDelay = half(127 * SF::Tgd);
        b.af0 = half(2097151 * SF::Af0), b.af1 = half(32767 * SF::Af1);
        o.sqrtA = 5000.0 + half(200.0), o.e = 0.02 + half(0.02), o.M0 = half(3.14), o.omega = half(3.14);
        o.node = half(3.14), o.i0 = half(3.14), o.deltaN = half(32767 * SF::Dn * Pi);
        o.nodeRate = half(8388607 * SF::OmegaDot * Pi), o.iRate = half(8191 * SF::IDot * Pi);
        o.Crc = half(32767 * SF::Crc), o.Crs = half(32767 * SF::Crs), o.Cuc = half(32767 * SF::Cuc);
        o.Cus = half(32767 * SF::Cus), o.Cic = half(32767 * SF::Cic), o.Cis = half(32767 * SF::Cis);
        GNSS::ICD icd;
        for (int n = 1; n <= 3; ++n) {
            int id = 0, page = 0;
            Hear(icd, Host::MakeSubframe(b, n, 6.0 * (n - 1) + 30.0 * run), id, page);
            EXPECT_EQ(id, n);
        }
        GNSS::GPSEphemeride e;
        ASSERT_TRUE(icd.IsEphemerisValid() && icd.GetEphemerisData(e));
        EXPECT_EQ(e.clock.IODC, b.issue);
        EXPECT_EQ(e.posn.IODE, b.issue % 256);
        EXPECT_EQ(e.status.GetHealth(), b.health);
        EXPECT_EQ(e.posn.toe, b.toe);
        EXPECT_EQ(e.clock.toc, b.toe);
        const GNSS::GPSEphemeride::Posn& p = e.posn;
        const double pairs[][3] = {{p.sqrtA, o.sqrtA, SF::SqrtA},
                                   {p.e, o.e, SF::E},
                                   {p.M0.Radians(), o.M0, SF::M0 * Pi},
                                   {p.omega.Radians(), o.omega, SF::W * Pi},
                                   {p.Omega0.Radians(), o.GetNodeAtWeekStart(b.toe), SF::Omega0 * Pi},
                                   {p.i0.Radians(), o.i0, SF::I0 * Pi},
                                   {p.deltaN.Radians(), o.deltaN, SF::Dn * Pi},
                                   {p.OmegaDot.Radians(), o.nodeRate, SF::OmegaDot * Pi},
                                   {p.IDOT.Radians(), o.iRate, SF::IDot * Pi},
                                   {p.Crc, o.Crc, SF::Crc},
                                   {p.Crs, o.Crs, SF::Crs},
                                   {p.Cuc.Radians(), o.Cuc, SF::Cuc},
                                   {p.Cus.Radians(), o.Cus, SF::Cus},
                                   {p.Cic.Radians(), o.Cic, SF::Cic},
                                   {p.Cis.Radians(), o.Cis, SF::Cis},
                                   {e.clock.Tgd, b.groupDelay, SF::Tgd},
                                   {e.clock.af0, b.af0, SF::Af0},
                                   {e.clock.af1, b.af1, SF::Af1}};
        for (const auto& [decoded, encoded, unit] : pairs) EXPECT_NEAR(decoded, encoded, unit * 0.5000001);

        using GSF = GNSS::ICDGlonass::EphemerisSF;
        Host::GlonassBroadcast g;
        g.slot = run % 24 + 1;
        g.tb = 900.0 * (run % 96);
        g.healthy = run % 2 != 0;
        const auto axes = [&](double most) { return GNSS::ECEF::Delta(half(most), half(most), half(most)); };
        g.posn = axes(27000.0), g.vely = axes(4.2), g.accel = axes(15 * GSF::Accl);
        g.tau = half(1e-3), g.gamma = half(1023 * GSF::Gamma);
        GNSS::ICDGlonass strings;
        const double frame = 30.0 * (run * 7 % 2880);
        for (int n = 1; n <= 4; ++n) {
            const auto string = Host::MakeImmediateString(g, n, frame, run + 1);
            EXPECT_TRUE(Host::HasGlonassCheck(string));
            strings.AddString(1, string);
        }
        GNSS::Glonass::Ephemeride r;
        r.slot = GNSS::Glonass::Slot(g.slot);
        ASSERT_TRUE(strings.GetEphemeride(r, 1));
        EXPECT_EQ(r.posn.tb, g.tb);
        EXPECT_EQ(r.posn.frameTime, frame);
        EXPECT_EQ(r.posn.day, run + 1);
        EXPECT_EQ(r.status.IsHealthy(), g.healthy);
        const auto expectAxes = [](const GNSS::ECEF& a, const GNSS::ECEF::Delta& b2, double unit) {
            EXPECT_NEAR(a.GetX(), b2.GetX(), unit * 0.5000001);
            EXPECT_NEAR(a.GetY(), b2.GetY(), unit * 0.5000001);
            EXPECT_NEAR(a.GetZ(), b2.GetZ(), unit * 0.5000001);
        };
        expectAxes(r.posn.posn, g.posn, GSF::Posn);
        expectAxes(r.posn.vely, g.vely, GSF::Vely);
        expectAxes(r.posn.accel, g.accel, GSF::Accl);
        EXPECT_NEAR(r.clock.tau, g.tau, GSF::Tau * 0.5000001);
        EXPECT_NEAR(r.clock.gamma, g.gamma, GSF::Gamma * 0.5000001);
    }
}

// The almanacs, the page of the ionosphere and of UTC, the health of all, and what GLONASS says of its time.
TEST(SimulatedMessages, PagesSayWhatWentIn) {
    const Host::SimulatedNoise draw(8);
    std::uint64_t key = 0;
    const auto half = [&](double most) { return (draw.Uniform({++key}) * 2.0 - 1.0) * most; };
    using SF = GNSS::ICD::AlmanacSF;
    using PF = GNSS::ICD::IonoUTCSF;
    using GF = GNSS::ICDGlonass::AlmanacSF;
    constexpr double Pi = std::numbers::pi;
    const auto expect = [](std::initializer_list<Field> fields) {
        int n = 0;
        for (const Field& f : fields) EXPECT_NEAR(f.decoded, f.encoded, f.unit * 0.5000001) << "field " << n++;
    };
    for (int run = 0; run < 100; ++run) {
        GNSS::ICD icd;
        int id = 0, svId = 0;
        Host::GPSAlmanacPage page;
        Host::BroadcastOrbit& o = page.orbit;
        page.prn = run % 32 + 1, page.toa = 4096.0 * (run % 148), page.health = run * 2;
        page.af0 = half(1023 * SF::Af0), page.af1 = half(1023 * SF::Af1);
        o.sqrtA = 5153.0 + half(2000.0), o.e = 0.015 + half(0.015), o.M0 = half(3.14), o.omega = half(3.14);
        o.node = half(3.14), o.i0 = 0.3 * Pi + half(0.06), o.nodeRate = half(32767 * SF::OmegaDot * Pi);
        const int subframe = page.prn <= 24 ? 5 : 4;
        Hear(icd, Host::MakeAlmanacPage(page, subframe, 30.0 * run + 6.0 * (subframe - 1)), id, svId);
        GNSS::Almanac::SV sv;
        ASSERT_TRUE(id == subframe && svId == page.prn && icd.GetAlmanac(sv, 2369, subframe));
        EXPECT_EQ(sv.health, page.health);
        EXPECT_EQ(sv.toa.GetSeconds(), page.toa);
        expect({{sv.sqrtA, o.sqrtA, SF::SqrtA},
                {sv.e, o.e, SF::Eccent},
                {sv.M0.Radians(), o.M0, SF::M0 * Pi},
                {sv.w.Radians(), o.omega, SF::W * Pi},
                {sv.Omega0.Radians(), o.GetNodeAtWeekStart(page.toa), SF::Omega0 * Pi},
                {sv.i.Radians(), o.i0, SF::Di * Pi},
                {sv.OmegaDot.Radians(), o.nodeRate, SF::OmegaDot * Pi},
                {sv.af0, page.af0, SF::Af0},
                {sv.af1, page.af1, SF::Af1}});

        GNSS::Almanac::Iono iono, heardIono;
        GNSS::Almanac::UTC utc, heardUTC;
        iono.alpha0 = half(127 * PF::Alpha0), iono.alpha1 = half(127 * PF::Alpha1);
        iono.alpha2 = half(127 * PF::Alpha2), iono.alpha3 = half(127 * PF::Alpha3);
        iono.beta0 = half(127 * PF::Beta0), iono.beta1 = half(127 * PF::Beta1);
        iono.beta2 = half(127 * PF::Beta2), iono.beta3 = half(127 * PF::Beta3);
        utc.A0 = half(1e-8), utc.A1 = half(1e-14), utc.Tot = 4096.0 * (run % 148), utc.WNt = 2304 + run;
        utc.DtLS = run, utc.DtLSF = run + 1, utc.WNLSF = 2304 + run, utc.DN = run % 7 + 1;
        Hear(icd, Host::MakeIonoUTCPage(iono, utc, 30.0 * run + 18.0), id, svId);
        ASSERT_TRUE(svId == 56 && icd.GetIono(heardIono, 4) && icd.GetUTC(heardUTC, utc.WNt / 256, 4));
        expect({{heardIono.alpha0, iono.alpha0, PF::Alpha0},
                {heardIono.alpha1, iono.alpha1, PF::Alpha1},
                {heardIono.alpha2, iono.alpha2, PF::Alpha2},
                {heardIono.alpha3, iono.alpha3, PF::Alpha3},
                {heardIono.beta0, iono.beta0, PF::Beta0},
                {heardIono.beta1, iono.beta1, PF::Beta1},
                {heardIono.beta2, iono.beta2, PF::Beta2},
                {heardIono.beta3, iono.beta3, PF::Beta3},
                {heardUTC.A0, utc.A0, PF::A0},
                {heardUTC.A1, utc.A1, PF::A1}});
        EXPECT_EQ(heardUTC.Tot, utc.Tot);
        EXPECT_EQ((std::array{heardUTC.WNt, heardUTC.DtLS, heardUTC.WNLSF, heardUTC.DN, heardUTC.DtLSF}),
                  (std::array{utc.WNt, utc.DtLS, utc.WNLSF, utc.DN, utc.DtLSF}));

        Host::GlonassAlmanacEntry entry;
        entry.slot = run % 24 + 1, entry.channel = run % 14 - 7, entry.healthy = true;
        entry.tau = half(511 * GF::TauN), entry.lambda = half(1.0), entry.di = half(0.06),
        entry.e = 0.015 + half(0.015);
        entry.w = half(1.0), entry.tLambda = 22000.0 + half(22000.0), entry.dT = half(3600.0);
        entry.dTRate = half(63 * GF::DDracDot);
        Host::GlonassSystemTime time;
        time.dayOfAlmanac = run * 14 + 1, time.fourYears = run % 31, time.tauC = half(0.9), time.tauGPS = half(1e-3);
        GNSS::ICDGlonass strings;
        const int frame = (entry.slot - 1) / 5 + 1;
        const int even = (entry.slot - 1) % 5 * 2 + 6;
        const auto system = Host::MakeSystemString(time);
        for (const auto& string : {Host::MakeAlmanacString(entry, even), Host::MakeAlmanacString(entry, even + 1)}) {
            EXPECT_TRUE(Host::HasGlonassCheck(string));
            strings.AddString(frame, string);
        }
        EXPECT_TRUE(Host::HasGlonassCheck(system));
        strings.AddString(frame, system);
        GNSS::Almanac::GlonassSV r;
        r.slot = GNSS::Glonass::Slot(entry.slot);
        ASSERT_TRUE(strings.GetAlmanac(r));
        EXPECT_EQ((std::array{r.channel, r.day, r.health}), (std::array{entry.channel, time.dayOfAlmanac, 1}));
        expect({{r.TauN, entry.tau, GF::TauN},
                {r.Lambda.Radians(), entry.lambda * Pi, GF::Lambda * Pi},
                {r.Di.Radians(), entry.di * Pi, GF::Di * Pi},
                {r.Eccent, entry.e, GF::Eccent},
                {r.W.Radians(), entry.w * Pi, GF::W * Pi},
                {r.TLambda, entry.tLambda, GF::TLambda},
                {r.DDrac, entry.dT, GF::DDrac},
                {r.DDracDot, entry.dTRate, GF::DDracDot}});
        // What nothing decodes, by its place in the interface control document.
        expect({{0x1p-31 * system.GetSigned(38, 32), time.tauC, 0x1p-31},
                {0x1p-30 * system.GetSigned(10, 22), time.tauGPS, 0x1p-30}});
        EXPECT_EQ(static_cast<int>(system.GetUnsigned(32, 5)), time.fourYears);
    }

    // The health of satellites, by its place in the figures of IS-GPS-200.
    struct Place {
        int prn, subframe, word;
        unsigned start;
    };
    for (const Place& place :
         {Place{1, 5, 4, 0}, Place{24, 5, 9, 18}, Place{25, 4, 8, 18}, Place{26, 4, 9, 0}, Place{32, 4, 10, 12}}) {
        std::array<int, 33> health{};
        health[static_cast<std::size_t>(place.prn)] = 63;
        GNSS::ICD icd;
        int id = 0, svId = 0;
        Hear(icd, Host::MakeHealthPage(place.subframe, 147456.0, 2369, health, 744.0), id, svId);
        EXPECT_EQ(svId, place.subframe == 5 ? 51 : 63);
        EXPECT_EQ(icd.GetSubframe(place.subframe).GetWord(place.word).GetUnsigned(place.start, 6), 63U) << place.prn;
    }
}

}  // namespace
