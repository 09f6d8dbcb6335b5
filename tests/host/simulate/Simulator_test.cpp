// The simulated receiver, heard by the decoder and computed with by the library.
#include "host/simulate/Simulator.h"

#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSOrbitModel.h"
#include "gnss/time/GloTime.h"
#include "host/cli/LeapRule.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/UbxDecoder.h"

namespace {

using GNSS::GPSTime;
using Host::SimulatedFault;
using Host::Simulator;
using Host::SimulatorSettings;

// Everything that a stream of the simulator makes.
struct Heard : Host::RecordSink {
    std::vector<GNSS::GPSEphemeride> gps;
    std::vector<GNSS::Glonass::Ephemeride> glonass;
    std::map<int, GNSS::Almanac::SV> gpsAlmanac;
    std::map<int, GNSS::Almanac::GlonassSV> glonassAlmanac;
    std::vector<GNSS::Almanac::UTC> utcs;
    std::vector<GNSS::Almanac::Iono> ionos;
    Host::RecordMaker maker{*this};
    Host::UbxDecoder decoder{maker};

    void OnRecord(const GNSS::GPSEphemeride& record) override {
        // Its satellite says the same every 30 s.
        for (auto i = gps.rbegin(); i != gps.rend(); ++i) {
            if (i->prn != record.prn) continue;
            if (i->clock.IODC == record.clock.IODC && i->status.GetHealth() == record.status.GetHealth()) return;
            break;
        }
        gps.push_back(record);
    }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> /*channel*/) override {
        for (auto i = glonass.rbegin(); i != glonass.rend(); ++i) {
            if (i->slot != record.slot) continue;
            if (i->HasTheSameBody(record) && i->status == record.status) return;
            break;
        }
        glonass.push_back(record);
    }
    void OnRecord(const GNSS::Almanac::SV& record) override { gpsAlmanac[record.prn] = record; }
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override { glonassAlmanac[record.slot] = record; }
    void OnRecord(const GNSS::Almanac::Iono& record) override { ionos.push_back(record); }
    void OnRecord(const GNSS::Almanac::UTC& record) override { utcs.push_back(record); }

    // Hours or less of a simulation; nothing may be lost on the way.
    void Listen(Simulator& simulator, double seconds) {
        const auto epochs = std::llround(seconds / simulator.GetSettings().interval);
        for (std::int64_t i = 0; i < epochs; ++i) {
            std::string bytes;
            static_cast<void>(simulator.Next(bytes));
            decoder.Feed(bytes);
        }
        EXPECT_EQ(decoder.GetCounts().checksumFailures, 0);
        EXPECT_EQ(maker.GetNmrUndatable(), 0);
    }
};

SimulatorSettings Quiet(double interval) {
    SimulatorSettings settings;
    settings.interval = interval;
    settings.noise = 0.0;
    settings.warmUp = 30.0;
    return settings;
}

struct Errors {
    double most = 0.0, sum = 0.0;
    int nmr = 0;
    void Add(double error) {
        most = std::max(most, error);
        sum += error * error;
        ++nmr;
    }
    [[nodiscard]] double Rms() const { return std::sqrt(sum / nmr); }
};

// Twelve hours: six issues of each GPS satellite's ephemerides, over the two hours in which each is broadcast.
TEST(Simulator, BroadcastsWhereTheSatellitesAre) {
    Simulator simulator(Quiet(30.0));
    Heard heard;
    heard.Listen(simulator, 12.0 * 3600.0);
    EXPECT_EQ(heard.maker.GetNmrParityFailures() + heard.maker.GetNmrHammingFailures() + heard.maker.GetNmrRefused(),
              0);
    Host::LeapRule leaps;
    leaps.SetFor(simulator.GetSettings().start);
    Errors posn, vely, clock;
    for (const GNSS::GPSEphemeride& record : heard.gps) {
        for (double tk = -7200.0; tk <= 0.0; tk += 450.0) {
            const GPSTime t = record.GetTOE() + Corvane::Time(tk);
            Simulator::Satellite truth;
            GNSS::GPSEphemeride::Result result;
            ASSERT_TRUE(simulator.GetTruth('G', record.prn, t, truth));
            ASSERT_TRUE(record.CalculatePosn(t, result) && result.valid);
            posn.Add((result.posn - truth.posn).Magnitude());
            vely.Add((record.CalculateVely(t) - truth.vely).Magnitude());
            clock.Add(std::abs(result.clockCorrection - truth.clock) * 3e8);
        }
    }
    std::printf("GPS posn %.3f rms %.3f vely %.5f clock %.3f n %d\n", posn.most, posn.Rms(), vely.most, clock.most,
                posn.nmr);
    EXPECT_LT(posn.most, 0.5);
    EXPECT_LT(clock.most, 0.05);
    Errors gposn, gvely, gclock;
    for (const GNSS::Glonass::Ephemeride& record : heard.glonass) {
        const GPSTime tb =
            record.reference + Corvane::Time(record.GetReferenceTime() - GNSS::GloTime(record.reference));
        for (double tk = -900.0; tk <= 900.0; tk += 150.0) {
            const GPSTime t = tb + Corvane::Time(tk);
            Simulator::Satellite truth;
            GNSS::Glonass::Ephemeride::Result result;
            ASSERT_TRUE(simulator.GetTruth('R', record.slot, t, truth));
            ASSERT_TRUE(record.CalculatePosn(t, result, false) && result.valid);
            gposn.Add((result.posn - truth.posn).Magnitude());
            gvely.Add((result.vely - (GNSS::ECEF() + truth.vely)).Magnitude());
            gclock.Add(std::abs(-result.clockCorrection + 46 * 0x1p-30 - truth.clock) * 3e8);
        }
    }
    std::printf("GLO posn %.3f rms %.3f vely %.5f clock %.3f n %d\n", gposn.most, gposn.Rms(), gvely.most, gclock.most,
                gposn.nmr);
    std::printf("almanacs %zu %zu\n", heard.gpsAlmanac.size(), heard.glonassAlmanac.size());
    Errors a, b;
    for (const auto& [prn, sv] : heard.gpsAlmanac) {
        GNSS::ECEF p;
        double c = 0;
        Simulator::Satellite truth;
        for (double h = -6; h <= 6; h += 1) {
            const GPSTime t = sv.toa + Corvane::Time(h * 3600);
            ASSERT_TRUE(simulator.GetTruth('G', prn, t, truth));
            EXPECT_TRUE(sv.CalculatePosn(t, p, c));
            a.Add((p - truth.posn).Magnitude());
        }
    }
    std::printf("GPS alm %.0f rms %.0f\n", a.most, a.Rms());
    for (const auto& [slot, sv] : heard.glonassAlmanac) {
        GNSS::ECEF p;
        Simulator::Satellite truth;
        for (double h = 0; h <= 6; h += 1) {
            const GPSTime t = sv.time + Corvane::Time(h * 3600);
            ASSERT_TRUE(simulator.GetTruth('R', slot, t, truth));
            EXPECT_TRUE(sv.CalculatePosn(t, p));
            const double age = GNSS::GloTime(t) - sv.GetEpoch();
            const double turn = age * 1e-6;
            GNSS::ECEF q(p.GetX() * std::cos(turn) - p.GetY() * std::sin(turn),
                         p.GetX() * std::sin(turn) + p.GetY() * std::cos(turn), p.GetZ());
            b.Add((q - truth.posn).Magnitude());
        }
    }
    std::printf("GLO alm %.0f rms %.0f\n", b.most, b.Rms());
}

}  // namespace
