// The simulated messages, decoded by the library.
#include <array>
#include <cstdint>
#include <numbers>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/icd/ICD.h"
#include "host/receiver/GPSParity.h"
#include "host/receiver/GlonassHamming.h"
#include "host/simulate/GPSMessage.h"
#include "host/simulate/GlonassMessage.h"
#include "host/simulate/SimulatedNoise.h"

namespace {

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
            const auto sent = Host::MakeSubframe(b, n, 6.0 * (n - 1) + 30.0 * run).GetTransmitted();
            std::array<unsigned long, 10> words{};
            for (std::size_t i = 0; i < words.size(); ++i)
                words[i] = i > 0 && (sent[i - 1] & 1U) != 0 ? sent[i] ^ 0x3FFFFFC0U : sent[i];
            EXPECT_TRUE(Host::HasGPSParity(words));
            EXPECT_EQ(sent[1] & 3U, 0U);
            EXPECT_EQ(sent[9] & 3U, 0U);
            int id = 0, page = 0;
            static_cast<void>(icd.AddSubframe(words.data(), id, page));
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

}  // namespace
