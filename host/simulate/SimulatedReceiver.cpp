#include "host/simulate/SimulatedReceiver.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "gnss/platform/Number.h"
#include "gnss/time/Constants.h"
#include "gnss/time/GPSFreqy.h"
#include "gnss/time/GlonassFrequency.h"
#include "host/fix/RangeVariance.h"

namespace Host {

using GNSS::ECEF;
using GNSS::LightSpeed;
using Vector = SimulatedOrbits::Vector;

namespace {

// What a number is drawn for.
enum Draw : std::uint64_t { RangeNoise = 101, PhaseNoise, DopplerNoise, Ambiguity };

constexpr double Degree = std::numbers::pi / 180.0;

double FrequencyOf(const SimulatedSatellite& satellite) {
    return satellite.system == 'R' ? GNSS::Glonass::Frequency::CA.GetChannelFrequency(satellite.channel)
                                   : GNSS::GPSFreqy::CA.GetFrequency();
}

}  // namespace

SimulatedReceiver::SimulatedReceiver(const SimulatorSettings& settings, const SimulatedFaults& faults,
                                     const SimulatedNoise& noise, const SimulationClock& clock,
                                     const std::vector<SimulatedSatellite>& sky, SimulatedOrbits& orbits,
                                     const GNSS::Almanac::Iono& iono, double start)
    : settings_(settings),
      faults_(faults),
      noise_(noise),
      clock_(clock),
      sky_(sky),
      orbits_(orbits),
      iono_(iono),
      start_(start),
      channels_(sky.size()) {
    Place(start);
}

void SimulatedReceiver::Place(double t) {
    antenna_ = settings_.motion.At(t - start_);
    grid_.Set(antenna_.posn, GNSS::Spheroid::WGS84);
    troposphere_ = StandardTroposphere(grid_.GetOrigin());
}

double SimulatedReceiver::GetElevation(std::size_t satellite, double t) {
    const SimulatedOrbits::State state = orbits_.At(satellite, t);
    Vector way = SimulatedOrbits::Turn(state.posn, SimulatedOrbits::EarthRate * t) - (antenna_.posn - ECEF());
    way /= way.Magnitude();
    return std::asin(std::clamp(way.Dot(grid_.GetUp()), -1.0, 1.0));
}

bool SimulatedReceiver::Hears(std::size_t satellite, double t) {
    const SimulatedSatellite& sv = sky_[satellite];
    return faults_.Find(SimulatedFault::Kind::Outage, sv.system, sv.number, t - start_) == nullptr &&
           GetElevation(satellite, t) >= settings_.mask * Degree;
}

// At a true time; the receiver's clock is given then.
SimulatedReceiver::Signal SimulatedReceiver::Receive(std::size_t satellite, double t, double clock) {
    constexpr int MaxIterations = 6;
    constexpr double Enough = 1e-13;  // s
    const AntennaMotion::State antenna = settings_.motion.At(t - start_);
    const double angle = SimulatedOrbits::EarthRate * t;
    const Vector here = SimulatedOrbits::Turn(antenna.posn - ECEF(), -angle);
    double& flight = channels_[satellite].flight;
    SimulatedOrbits::State state;
    Vector way;
    for (int i = 0; i < MaxIterations; ++i) {
        const double before = flight;
        state = orbits_.At(satellite, t - flight);
        way = state.posn - here;
        flight = way.Magnitude() / LightSpeed;
        if (std::abs(flight - before) < Enough) break;
    }
    const SimulatedSatellite& sv = sky_[satellite];
    // The L1 signals leave late by the group delay.
    const double sent = ControlSegment::GetClock(sv, state, t - flight) - sv.groupDelay;
    Signal signal;
    signal.range = LightSpeed * (flight + clock - sent) + faults_.GetClockError(sv.system, sv.number, t - start_);

    const Vector direction = SimulatedOrbits::Turn(way, angle) / (flight * LightSpeed);
    const double sine = std::clamp(direction.Dot(grid_.GetUp()), -1.0, 1.0);
    signal.elevation = std::asin(sine);
    signal.azimuth = std::atan2(direction.Dot(grid_.GetEast()), direction.Dot(grid_.GetNorth()));
    if (signal.azimuth < 0.0) signal.azimuth += 2.0 * std::numbers::pi;
    signal.troposphere = troposphere_.GetDelay(sine);
    const double ratio = GNSS::GPSFreqy::L1.GetFrequency() / FrequencyOf(sv);
    signal.ionosphere =
        settings_.ionosphere * ratio * ratio *
        iono_.CalculateDelay(clock_.ToGPS(t), grid_.GetOrigin().GetLatitude(), grid_.GetOrigin().GetLongitude(),
                             Corvane::Angle(signal.elevation), Corvane::Angle(signal.azimuth));
    return signal;
}

void SimulatedReceiver::Measure(std::size_t satellite, std::int64_t epoch, double t, double clock,
                                UbxMeasurement& measurement) {
    constexpr double Half = 0.1;       // s of the receiver's clock, over which the phase is differenced
    constexpr double PhaseSD = 0.002;  // m
    constexpr std::uint64_t Ambiguities = 1U << 20U;
    const SimulatedSatellite& sv = sky_[satellite];
    const double seconds = Half / (1.0 + settings_.clockDrift);
    const double change = seconds * settings_.clockDrift;
    const Signal before = Receive(satellite, t - seconds, clock - change);
    const Signal after = Receive(satellite, t + seconds, clock + change);
    const Signal now = Receive(satellite, t, clock);
    const auto phaseOf = [](const Signal& s) { return s.range + s.troposphere - s.ionosphere; };
    const double wavelength = LightSpeed / FrequencyOf(sv);
    const double sine = std::max(std::sin(now.elevation), 0.05);

    measurement.system = sv.system;
    measurement.number = sv.number;
    measurement.channel = sv.channel;
    measurement.snr = Corvane::ToInt(std::round(38.0 + 13.0 * std::sin(now.elevation)));

    // What the position fix takes the measurements for.
    FixSatellite expected;
    expected.glonass = sv.system == 'R';
    expected.elevation = now.elevation;
    expected.snr = measurement.snr;
    expected.ionosphere = now.ionosphere;
    expected.troposphere = now.troposphere;
    expected.frequency = FrequencyOf(sv);
    const FixSettings usual;
    const double rangeSD = std::sqrt(RangeVariance(expected, usual.weights, true));
    const double rateSD = usual.dopplerSD / sine;

    const auto draw = [&](Draw what) {
        return noise_.Normal({static_cast<std::uint64_t>(sv.system), static_cast<std::uint64_t>(sv.number), what,
                              static_cast<std::uint64_t>(epoch)});
    };
    const bool isNoisy = settings_.noise > 0.0;
    const auto error = [&](Draw what, double sd) { return isNoisy ? settings_.noise * sd * draw(what) : 0.0; };

    Channel& channel = channels_[satellite];
    if (channel.since < 0 || channel.lastEpoch != epoch - 1) channel.since = epoch;
    channel.lastEpoch = epoch;
    const double ambiguity =
        static_cast<double>(noise_.Bits({static_cast<std::uint64_t>(sv.system), static_cast<std::uint64_t>(sv.number),
                                         Ambiguity, static_cast<std::uint64_t>(channel.since)}) %
                            Ambiguities);

    measurement.range = now.range + now.troposphere + now.ionosphere + error(RangeNoise, rangeSD) +
                        faults_.GetCodeError(sv.system, sv.number, t - start_);
    measurement.phase = (phaseOf(now) + error(PhaseNoise, PhaseSD)) / wavelength + ambiguity;
    const double rate = (phaseOf(after) - phaseOf(before)) / (2.0 * Half);
    measurement.doppler = -(rate + error(DopplerNoise, rateSD)) / wavelength;
    measurement.rangeSD = settings_.noise * rangeSD;
    measurement.phaseSD = settings_.noise * PhaseSD / wavelength;
    measurement.dopplerSD = settings_.noise * rateSD / wavelength;
    // As if the first satellites had been tracked for long.
    constexpr double LongTime = 60.0;
    measurement.lockTime =
        static_cast<double>(epoch - channel.since) * settings_.interval + (channel.since == 0 ? LongTime : 0.0);
}

SimulatedTruth SimulatedReceiver::Measure(std::int64_t epoch, std::vector<UbxMeasurement>& measurements) {
    constexpr double Millisecond = 1e-3;
    const double reading = static_cast<double>(epoch) * settings_.interval;  // since the start
    // Before the resets, the receiver's clock c and the true time t satisfy t = reading - c(t).
    const double drift = settings_.clockDrift;
    const double free = (settings_.clockOffset + drift * reading) / (1.0 + drift);
    const std::int64_t resets = Corvane::ToInt64(std::round(free / Millisecond));
    hasReset_ = epoch > 0 && resets != resets_;
    resets_ = resets;
    // A reset puts both back: the epoch stays a whole one by the receiver's clock.
    const double clock = free - static_cast<double>(resets) * Millisecond;
    const double t = start_ + reading - clock;

    Place(t);
    SimulatedTruth truth;
    truth.epoch = epoch;
    truth.time = settings_.start + Corvane::Time(reading);
    truth.posn = antenna_.posn;
    truth.vely = antenna_.vely;
    truth.clock = clock;
    truth.clockDrift = drift;
    truth.clockGlonass = clock - ControlSegment::GlonassOffset;

    measurements.clear();
    for (std::size_t i = 0; i < sky_.size(); ++i) {
        if (!(sky_[i].system == 'G' ? settings_.gps : settings_.glonass) || !Hears(i, t)) continue;
        Measure(i, epoch, t, clock, measurements.emplace_back());
        ++(sky_[i].system == 'G' ? truth.nmrGPS : truth.nmrGlonass);
    }
    return truth;
}

}  // namespace Host
