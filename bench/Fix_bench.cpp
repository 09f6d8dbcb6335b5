// A position fix of one epoch with all its figures, and its parts.
#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "gnss/almanac/Almanac.h"
#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/time/Constants.h"
#include "gnss/time/GloTime.h"
#include "host/fix/FixNotes.h"
#include "host/fix/FixPosition.h"
#include "host/fix/PositionFix.h"
#include "host/fix/SatelliteStates.h"

namespace {

using Corvane::Angle;
using GNSS::GPSTime;

const GPSTime Epoch(2111, 345600.0 + 600.0);

// Real records of made orbits, and what a receiver measures of those above its horizon, for as many epochs as it takes
// that nothing is guessed right. Ten minutes after the reference times of the records, as of an ordinary epoch.
struct Scene {
    static constexpr int NmrGPS = 9;
    static constexpr int NmrGlonass = 7;

    Scene() {
        auto gps = std::make_shared<GNSS::GPSEphemeris>();
        auto glonass = std::make_shared<GNSS::Glonass::Ephemeris>();
        const GNSS::LocalGrid place({Angle::FromDegrees(55.5), Angle::FromDegrees(8.5), 60.0}, GNSS::Spheroid::WGS84);
        const auto isUp = [&place](const GNSS::ECEF& posn) {
            return place.GetGridPolar(posn).GetElevation() > Angle::FromDegrees(12.0);
        };
        const GPSTime reference = Epoch - Corvane::Time(600.0);
        std::vector<GNSS::PRN> prns;
        for (int i = 0; i < 1000 && prns.size() < NmrGPS; ++i) {
            GNSS::GPSEphemeride record;
            record.prn = GNSS::PRN(static_cast<int>(prns.size()) + 1);
            record.reference = reference;
            record.posn.toe = record.clock.toc = reference.GetSeconds();
            record.posn.sqrtA = 5153.7;
            record.posn.e = 0.01;
            record.posn.i0 = Angle(0.96);
            record.posn.Omega0 = Angle(i * 1.047);
            record.posn.M0 = Angle(i * 0.77);
            record.clock.af0 = 1e-5 * i;
            GNSS::GPSEphemeride::Result result;
            if (!record.CalculatePosn(Epoch, result) || !isUp(result.posn)) continue;
            gps->Update(record);
            prns.push_back(record.prn);
        }
        std::vector<GNSS::Glonass::Slot> slots;
        for (int i = 0; i < 1000 && slots.size() < NmrGlonass; ++i) {
            GNSS::Glonass::Ephemeride record;
            record.slot = GNSS::Glonass::Slot(static_cast<int>(slots.size()) + 1);
            record.reference = reference;
            const GNSS::GloTime moscow(reference);
            record.posn.day = moscow.GetDay();
            record.posn.tb = moscow.GetSeconds();
            const Angle node(i * 2.094);
            const Angle u(i * 0.61);
            const auto at = [&](double radius, double phase, double inSpace) {
                const double x = radius * std::cos(u.Radians() + phase);
                const double y = radius * std::sin(u.Radians() + phase);
                constexpr double Inclination = 1.131;
                const double c = std::cos(node.Radians());
                const double s = std::sin(node.Radians());
                const GNSS::ECEF p(x * c - y * std::cos(Inclination) * s, x * s + y * std::cos(Inclination) * c,
                                   y * std::sin(Inclination));
                return GNSS::ECEF(p.GetX() + inSpace * p.GetY(), p.GetY() - inSpace * p.GetX(), p.GetZ());
            };
            constexpr double Radius = 25508.0;
            record.posn.posn = at(Radius, 0.0, 0.0);
            const GNSS::ECEF v = at(3.953, 1.5707963, 0.0);
            record.posn.vely = GNSS::ECEF(v.GetX() + 7.292115e-5 * record.posn.posn.GetY(),
                                          v.GetY() - 7.292115e-5 * record.posn.posn.GetX(), v.GetZ());
            GNSS::Glonass::Ephemeride::Result result;
            if (!record.CalculatePosn(Epoch, result, false) || !isUp(result.posn) || !glonass->Update(record)) continue;
            slots.push_back(record.slot);
            inputs.channels.Set(record.slot, static_cast<int>(slots.size()) % 14 - 7);
        }
        inputs.gps.SetImplementation(gps);
        inputs.glonass.SetImplementation(glonass);
        inputs.almanac = std::make_shared<GNSS::Almanac::Calculator>();
        inputs.hasIonosphere = true;

        // Ranges by three rounds of the flight time, with a metre of noise; directions and rates matter less.
        for (std::size_t e = 0; e < sets.size(); ++e) {
            const GPSTime t = Epoch + Corvane::Time(static_cast<double>(e));
            GNSS::GPSMeas::Set gpsSet(t);
            GNSS::Glonass::Measurement::Set glonassSet(t);
            const auto measure = [&](auto& set, auto meas, const auto& ephemerides, const auto& id, auto result,
                                     double sign, double frequency) {
                const auto rangeAt = [&](double later) {
                    double range = 2.2e7;
                    for (int i = 0; i < 4; ++i) {
                        const Corvane::Time flight(range / GNSS::LightSpeed);
                        ephemerides.CalculatePosn(id, t + Corvane::Time(later) - flight, result);
                        GNSS::ECEF posn = result.posn;
                        GNSS::GPSEphemerisCalc::CalculateRotation(posn, range);
                        range = (posn - place.GetOriginECEF()).Magnitude();
                    }
                    return range - GNSS::LightSpeed * sign * result.clockCorrection;
                };
                const double noise = std::sin(static_cast<double>(e) * 1.3 + int{id} * 2.7);
                meas.SetRange({rangeAt(0.0) + 12.0 + noise, 0.0});
                meas.SetDoppler({-(rangeAt(0.5) - rangeAt(-0.5) + 0.05 * noise) * frequency / GNSS::LightSpeed, 0.0});
                meas.SetSNR(44.0 + noise);
                set.AddMeas(id, meas);
            };
            for (const auto& prn : prns) {
                const auto& ca = GNSS::GPSFreqy::CA;
                measure(gpsSet, GNSS::GPSMeas(ca), *gps, prn, GNSS::GPSEphemeride::Result(), 1.0, ca.GetFrequency());
            }
            for (const auto& slot : slots) {
                const auto& ca = GNSS::Glonass::Frequency::CA;
                measure(glonassSet, GNSS::Glonass::Measurement(ca), *glonass, slot, GNSS::Glonass::Ephemeride::Result(),
                        -1.0, ca.GetChannelFrequency(*inputs.channels.Get(slot)));
            }
            sets[e] = GNSS::MeasSet(gpsSet, glonassSet);
        }
        settings.troposphere = Host::FixSettings::Troposphere::Standard;
    }

    Host::FixInputs inputs;
    Host::FixSettings settings;
    std::array<GNSS::MeasSet, 64> sets;
};

const Scene& TheScene() {
    static const Scene scene;
    return scene;
}

void FixOfOneEpoch(benchmark::State& state) {
    const Scene& scene = TheScene();
    Host::PositionFix fix(scene.settings);
    std::size_t i = 0;
    int used = 0;
    for ([[maybe_unused]] auto _ : state) {
        const Host::FixResult& result = fix.Compute(scene.sets[i++ % scene.sets.size()], scene.inputs);
        if (!result.valid) state.SkipWithError(Describe(result.failure));
        used = result.NmrUsed();
    }
    state.counters["used"] = used;
}
BENCHMARK(FixOfOneEpoch);

void FirstFix(benchmark::State& state) {
    const Scene& scene = TheScene();
    Host::PositionFix fix(scene.settings);
    std::size_t i = 0;
    for ([[maybe_unused]] auto _ : state) {
        fix.Reset();
        if (!fix.Compute(scene.sets[i++ % scene.sets.size()], scene.inputs).valid) state.SkipWithError("no fix");
    }
}
BENCHMARK(FirstFix);

void FindSatellitesOfOneEpoch(benchmark::State& state) {
    const Scene& scene = TheScene();
    std::vector<Host::FixSatellite> satellites;
    std::size_t i = 0;
    for ([[maybe_unused]] auto _ : state) {
        FindSatellites(scene.sets[i++ % scene.sets.size()], scene.inputs, scene.settings, satellites);
        benchmark::DoNotOptimize(satellites.data());
    }
}
BENCHMARK(FindSatellitesOfOneEpoch);

// What is published beside the result.
void NotesAndPositionOfAFix(benchmark::State& state) {
    const Scene& scene = TheScene();
    Host::PositionFix fix(scene.settings);
    const Host::FixResult& result = fix.Compute(scene.sets[0], scene.inputs);
    for ([[maybe_unused]] auto _ : state) {
        const GNSS::Notes notes = MakeNotes(result, scene.settings);
        benchmark::DoNotOptimize(MakePosition(result, scene.settings, notes));
    }
}
BENCHMARK(NotesAndPositionOfAFix);

// The adjustment of 16 ranges with 5 unknowns and its statistics.
void AdjustmentOfOneEpoch(benchmark::State& state) {
    Corvane::LLSq llsq;
    for ([[maybe_unused]] auto _ : state) {
        llsq.Reset(5);
        for (int i = 0; i < 16; ++i) {
            const double e = 0.2 + 0.08 * i;
            const double a = 2.4 * i;
            const bool glonass = i >= 9;
            llsq.AddObs(std::array{std::cos(e) * std::sin(a), std::cos(e) * std::cos(a), std::sin(e),
                                   glonass ? 0.0 : 1.0, glonass ? 1.0 : 0.0},
                        std::sin(3.0 * i), 1.0 + 0.1 * i);
        }
        if (!llsq.Solve()) state.SkipWithError("singular");
    }
}
BENCHMARK(AdjustmentOfOneEpoch);

}  // namespace
