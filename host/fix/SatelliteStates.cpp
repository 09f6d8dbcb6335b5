#include "host/fix/SatelliteStates.h"

#include <bitset>
#include <cmath>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/time/Constants.h"
#include "gnss/time/GloTime.h"

namespace Host {
namespace {

using GNSS::GPSFreqy;
using GNSS::GPSMeas;
using GNSS::GPSTime;
using GNSS::LightSpeed;
using GlonassMeas = GNSS::Glonass::Measurement;

// What a satellite may be off its orbit's usual radius, m, before its record is not believed.
constexpr double MinRadius = 2.0e7;
constexpr double MaxRadius = 3.2e7;
// Ranges that a receiver near the earth can measure, its clock being off by some 30 ms at most.
constexpr double MinRange = 1.0e7;
constexpr double MaxRange = 4.5e7;
// Larger than any satellite's clock offset that its message can hold, s.
constexpr double MaxClock = 3e-3;
// Of the difference that gives velocity and clock drift where the record gives none, s. A power of two, so that the
// times differ by just this; rounding leaves 0.01 mm/s. The mean of both ends is 0.1 micrometres off the orbit.
constexpr double Step = 1.0 / 1024.0;

// A satellite by its own clock's time, before anything is corrected.
struct State {
    GNSS::ECEF posn;
    GNSS::ECEF::Delta vely;
    double clock = 0.0;  // satellite minus system time, s, without group delay
    double clockDrift = 0.0;
    bool healthy = false;  // otherwise nothing else is set
};

// What the two systems do differently.
struct GPSPart {
    using Meas = GPSMeas;
    using Result = GNSS::GPSEphemeride::Result;
    using History = GNSS::GPSEphemeris;
    static constexpr bool Glonass = false;
    static double Age(const GNSS::GPSEphemeride& record, const GPSTime& t) { return (t - record.GetTOE()).Seconds(); }
    static double MaxAge(const FixSettings& settings) { return settings.maxAgeGPS; }
    static const GNSS::GPSEphemerisCalc& Calculator(const FixInputs& inputs) { return inputs.gps; }
    // False when there is none, or it is too old.
    template <typename Implementation>
    static bool Calculate(const Implementation& ephemerides, const GNSS::PRN& prn, const GPSTime& t, Result& result,
                          State& state) {
        Result next;
        const Corvane::Time half(0.5 * Step);
        if (!ephemerides.CalculatePosn(prn, t - half, result)) return false;
        state.healthy = result.valid;
        if (!state.healthy) return true;
        if (!ephemerides.CalculatePosn(prn, t + half, next) || !next.valid) return false;
        const GNSS::ECEF::Delta way = next.posn - result.posn;
        state.posn = result.posn + way * 0.5;
        state.vely = way / Step;
        state.clock = 0.5 * (result.clockCorrection + next.clockCorrection);
        state.clockDrift = (next.clockCorrection - result.clockCorrection) / Step;
        return true;
    }
    static int Issue(const Result& result) { return result.IODE; }
    // The L1 signals are late by the group delay against the clock, which is that of the ionosphere-free combination.
    static double GroupDelay(const Result& result, bool ionosphereFree) {
        return ionosphereFree ? 0.0 : result.groupDelay;
    }
    static double Frequency(const GPSFreqy& freqy, const FixSatellite&) { return freqy.GetFrequency(); }
};

struct GlonassPart {
    using Meas = GlonassMeas;
    using Result = GNSS::Glonass::Ephemeride::Result;
    using History = GNSS::Glonass::Ephemeris;
    static constexpr bool Glonass = true;
    static double Age(const GNSS::Glonass::Ephemeride& record, const GPSTime& t) {
        return GNSS::GloTime(t) - record.GetReferenceTime();
    }
    static double MaxAge(const FixSettings& settings) { return settings.maxAgeGlonass; }
    static const GNSS::Glonass::EphemerisCalc& Calculator(const FixInputs& inputs) { return inputs.glonass; }
    // The message's correction is added to the satellite's time.
    template <typename Implementation>
    static bool Calculate(const Implementation& ephemerides, const GNSS::Glonass::Slot& slot, const GPSTime& t,
                          Result& result, State& state) {
        if (!ephemerides.CalculatePosn(slot, t, result)) return false;
        state.healthy = result.valid;
        state.posn = result.posn;
        state.vely = result.vely - GNSS::ECEF();
        state.clock = -result.clockCorrection;
        state.clockDrift = -result.clockDrift;
        return true;
    }
    static int Issue(const Result& result) { return result.tb; }
    static double GroupDelay(const Result&, bool) { return 0.0; }
    static double Frequency(const GNSS::Glonass::Frequency& freqy, const FixSatellite& satellite) {
        return freqy.GetChannelFrequency(satellite.channel.value_or(0));
    }
};

template <typename Part>
const typename Part::Meas* FindRange(const typename Part::Meas::SV& sv, const typename Part::Meas::Freqy& freqy) {
    const int index = sv.FindFreqy(freqy);
    if (index < 0) return nullptr;
    const auto& meas = sv.GetMeas(index);
    return meas.IsValid(Part::Meas::Range) ? &meas : nullptr;
}

// Takes range, signal strength and range rate from the satellite's signals. False when the range is missing.
template <typename Part>
bool TakeRange(const typename Part::Meas::SV& sv, const FixSettings& settings, FixSatellite& satellite) {
    using Freqy = typename Part::Meas::Freqy;
    using Meas = typename Part::Meas;
    const bool ionosphereFree = settings.ranges == FixSettings::Ranges::IonosphereFree;
    const Meas* first = FindRange<Part>(sv, Freqy::CA);
    const Meas* precise = FindRange<Part>(sv, Freqy::L1);
    // C/A is what everybody tracks; the combination takes the precise code where it is there, since the satellites'
    // clocks belong to that of both frequencies.
    if (first == nullptr || (ionosphereFree && precise != nullptr)) first = precise;
    if (first == nullptr) return false;

    const double f1 = Part::Frequency(first->GetFreqy(), satellite);
    if (first->IsValid(Meas::SNR)) satellite.snr = first->GetSNR();
    // The range rate needs the wavelength, and so the channel.
    if (first->IsValid(Meas::Doppler) && (!Part::Glonass || satellite.channel)) {
        satellite.rangeRate = -first->GetDoppler() * LightSpeed / f1;
    }
    satellite.range = first->GetRange();
    satellite.frequency = f1;
    bool warned = first->IsCodeWarn();
    if (ionosphereFree) {
        const Meas* second = FindRange<Part>(sv, Freqy::L2);
        if (second == nullptr) return false;
        const double f2 = Part::Frequency(second->GetFreqy(), satellite);
        // IS-GPS-200, 20.3.3.3.3.3.
        const double gamma = (f1 / f2) * (f1 / f2);
        satellite.range = (second->GetRange() - gamma * first->GetRange()) / (1.0 - gamma);
        satellite.noiseFactor = std::sqrt(1.0 + gamma * gamma) / (gamma - 1.0);
        satellite.frequency = 0.0;
        warned = warned || second->IsCodeWarn();
    }
    if (!(satellite.range > MinRange && satellite.range < MaxRange)) return false;
    if (warned) satellite.use = SatelliteUse::ReceiverWarning;
    return true;
}

// What is known of a satellite's newest record: how old it is, and whether the stores have one at all.
template <typename Part, typename Implementation>
const typename Part::History::Record* FindRecord(const Implementation& ephemerides, const typename Part::Meas::Id& id) {
    // A history, as a rule. Another source of positions tells no age.
    const auto* history = dynamic_cast<const typename Part::History*>(&ephemerides);
    const auto* sv = history == nullptr ? nullptr : history->FindSV(id);
    return sv == nullptr ? nullptr : sv->GetEphem(0);
}

// The state at transmission; what goes wrong is in `use`.
template <typename Part, typename Implementation>
void TakeState(const typename Part::Meas::Id& id, const GPSTime& reception, const FixSettings& settings,
               const Implementation* ephemerides, FixSatellite& satellite) {
    satellite.use = SatelliteUse::NoEphemeris;
    if (ephemerides == nullptr) return;
    if (const auto* record = FindRecord<Part>(*ephemerides, id)) {
        satellite.age = Part::Age(*record, reception);
        satellite.use = SatelliteUse::StaleEphemeris;
    }
    // By the satellite's own clock.
    const GPSTime sent = reception - Corvane::Time(satellite.range / LightSpeed);
    typename Part::Result result;
    State state;
    if (!Part::Calculate(*ephemerides, id, sent, result, state)) return;
    if (!state.healthy) {
        satellite.use = SatelliteUse::Unhealthy;
        return;
    }
    if (std::abs(satellite.age) > Part::MaxAge(settings)) return;
    satellite.vely = state.vely;
    satellite.clockDrift = state.clockDrift;
    // By the system's clock: the satellite's is less than a millisecond off, in which it moves along a straight line.
    satellite.posn = state.posn - state.vely * state.clock;
    satellite.clock = state.clock - Part::GroupDelay(result, settings.ranges == FixSettings::Ranges::IonosphereFree);
    satellite.issue = Part::Issue(result);
    if (Part::Glonass && settings.glonassShift != nullptr) {
        settings.glonassShift->Forward(satellite.posn, satellite.posn);
    }
    const double radius = satellite.posn.Radius();
    if (!(radius > MinRadius && radius < MaxRadius) || !(std::abs(satellite.clock) < MaxClock)) {
        satellite.use = SatelliteUse::NoPosition;
        return;
    }
    satellite.use = SatelliteUse::Used;
    satellite.hasPlace = true;
}

void TakeCorrection(const FixCorrections& corrections, const GPSTime& t, FixSatellite& satellite) {
    if (const auto found = corrections.Find(satellite.glonass, satellite.number, satellite.issue, t)) {
        satellite.correction = found->range;
        satellite.correctionAge = found->age;
    }
}

template <typename Id>
const GNSS::SVHealth* FindHealth(const GNSS::SVHealth::Set& health, const Id& id) {
    if constexpr (std::is_same_v<Id, GNSS::PRN>) {
        if (const int index = health.FindSV(id); index >= 0) return &health.GetSV(index);
    } else {
        if (const int index = health.FindSlot(id); index >= 0) return &health.GetSlot(index);
    }
    return nullptr;
}

// Whether the operator, or the health that the stores have put together, allows a satellite whose use is known as far
// as its ephemeris goes.
void CheckHealth(const GNSS::SVHealth* record, FixSatellite& satellite) {
    if (satellite.use == SatelliteUse::Unhealthy) satellite.healthy = false;
    if (satellite.use == SatelliteUse::Used) satellite.healthy = true;
    if (record == nullptr) return;
    // Without any health word the ephemeris answers, if there is one.
    if (record->HasEphemeris() || record->HasAlmanac()) {
        satellite.healthy = record->IsHealthy();
        if (!record->IsHealthy()) satellite.use = SatelliteUse::Unhealthy;
    }
    if (!record->IsEnabled()) satellite.use = SatelliteUse::Disabled;
}

template <typename Part>
void FindOf(const typename Part::Meas::Set& set, bool wanted, const FixInputs& inputs, const FixSettings& settings,
            std::vector<FixSatellite>& satellites) {
    // One whole history answers for the epoch, whatever is installed meanwhile.
    const auto ephemerides = Part::Calculator(inputs).GetImplementation();
    const auto& inner = set.GetInner();
    std::bitset<64> seen;
    for (int i = 0; i < inner.NmrSV(); ++i) {
        const auto& sv = inner.GetSV(i);
        const auto id = sv.GetId();
        // A GLONASS satellite may be tracked before its slot is known.
        if (id.IsNull() || seen.test(static_cast<std::size_t>(int{id}))) continue;
        seen.set(static_cast<std::size_t>(int{id}));

        FixSatellite& satellite = satellites.emplace_back();
        satellite.glonass = Part::Glonass;
        satellite.number = int{id};
        if constexpr (Part::Glonass) satellite.channel = inputs.channels.Get(id);
        if (!wanted) {
            satellite.use = SatelliteUse::SystemOff;
        } else if (!TakeRange<Part>(sv, settings, satellite)) {
            satellite.use = SatelliteUse::NoRange;
        } else {
            // The state of a satellite that is not used is found all the same, for its place in the sky.
            const SatelliteUse measured = satellite.use;
            TakeState<Part>(id, set.GetTime(), settings, ephemerides.get(), satellite);
            const SatelliteUse found = satellite.use;
            CheckHealth(FindHealth(inputs.health, id), satellite);
            if (satellite.use == found && measured != SatelliteUse::Used) satellite.use = measured;
            if (satellite.use == SatelliteUse::Used && inputs.corrections != nullptr) {
                TakeCorrection(*inputs.corrections, set.GetTime(), satellite);
            }
        }
        if (!satellite.hasPlace && inputs.almanac != nullptr) {
            satellite.hasPlace = inputs.almanac->CalculatePosn(id, set.GetTime(), satellite.posn);
        }
    }
}

}  // namespace

void FindSatellites(const GNSS::MeasSet& set, const FixInputs& inputs, const FixSettings& settings,
                    std::vector<FixSatellite>& satellites) {
    satellites.clear();
    FindOf<GPSPart>(set.GetGPS(), settings.systems != FixSettings::Systems::Glonass, inputs, settings, satellites);
    FindOf<GlonassPart>(set.GetGlonass(), settings.systems != FixSettings::Systems::GPS, inputs, settings, satellites);
}

}  // namespace Host
