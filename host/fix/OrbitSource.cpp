#include "host/fix/OrbitSource.h"

#include <algorithm>
#include <cmath>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/time/GloTime.h"

namespace Host {

using GNSS::ECEF;
using GNSS::GPSTime;

namespace {

// Whether an age is within a limit; a NaN is not.
bool IsWithin(double seconds, double days) {
    return std::abs(seconds) <= days * GPSTime::SecsInDay;
}

// What the library's almanac turns too far, as a turn of so many seconds of the earth.
double TurnedTooFar(double age) {
    constexpr double TrueRate = GNSS::Glonass::Ephemeride::EarthRate.Radians();
    return age * (GNSS::Almanac::GlonassSV::EarthRate - TrueRate) / TrueRate;
}

}  // namespace

const char* Name(OrbitOrigin origin) {
    switch (origin) {
        case OrbitOrigin::Ephemeris:
            return "ephemeris";
        case OrbitOrigin::Almanac:
            return "almanac";
        case OrbitOrigin::None:
            break;
    }
    return "none";
}

void OrbitSource::Add(const GNSS::Almanac& almanac) {
    for (int i = 0; i < almanac.NmrSV(); ++i) Add(almanac.GetSV(i));
    for (int i = 0; i < almanac.NmrGlonassSV(); ++i) Add(almanac.GetGlonassSV(i));
}

void OrbitSource::Complete() {
    ephemerides_.Complete();
    calculator_.SetAlmanac(almanac_);
}

bool OrbitSource::HasRecords(char system, int number) const {
    if (system == 'G' && number >= 1 && number <= EphemerisSet::NmrGPS)
        return !ephemerides_.GPS(number).GetEntries().empty() || almanac_.Find(GNSS::PRN(number)) >= 0;
    if (system == 'R' && number >= 1 && number <= EphemerisSet::NmrGlonass)
        return !ephemerides_.Glonass(number).GetEntries().empty() || almanac_.Find(GNSS::Glonass::Slot(number)) >= 0;
    return false;
}

std::optional<OrbitSource::Span> OrbitSource::GetSpan() const {
    std::optional<Span> span;
    const auto extend = [&span](const GPSTime& t) {
        if (!span) span = Span{t, t};
        span->first = std::min(span->first, t);
        span->last = std::max(span->last, t);
    };
    const auto extendByAll = [&extend](const auto& records) {
        if (records.GetEntries().empty()) return;
        extend(records.GetEntries().front().reference);
        extend(records.GetEntries().back().reference);
    };
    for (int prn = 1; prn <= EphemerisSet::NmrGPS; ++prn) extendByAll(ephemerides_.GPS(prn));
    for (int slot = 1; slot <= EphemerisSet::NmrGlonass; ++slot) extendByAll(ephemerides_.Glonass(slot));
    for (int i = 0; i < almanac_.NmrSV(); ++i) extend(almanac_.GetSV(i).toa);
    for (int i = 0; i < almanac_.NmrGlonassSV(); ++i) extend(almanac_.GetGlonassSV(i).time);
    return span;
}

OrbitState OrbitSource::ByAlmanac(char system, int number, const GPSTime& t) const {
    OrbitState state;
    if (system == 'G') {
        const GNSS::PRN prn(number);
        const int index = almanac_.Find(prn);
        if (index < 0) return state;
        const GNSS::Almanac::SV& record = almanac_.GetSV(index);
        state.age = (t - record.toa).Seconds();
        if (!IsWithin(state.age, MostGPSAlmanacDays)) return state;
        if (!calculator_.CalculatePosn(prn, t, state.posn, state.clock)) return state;
        state.health = record.health;
        state.isHealthy = record.health == 0;
    } else {
        const GNSS::Glonass::Slot slot(number);
        const int index = almanac_.Find(slot);
        if (index < 0) return state;
        const GNSS::Almanac::GlonassSV& record = almanac_.GetGlonassSV(index);
        // The record's date has its year; the node crossing comes round every four years.
        if (!IsWithin((t - record.time).Seconds(), MostGlonassAlmanacDays)) return state;
        state.age = GNSS::GloTime(t).Subtract(record.GetEpoch());
        if (!calculator_.CalculatePosn(slot, t, state.posn)) return state;
        state.posn = TurnDuringFlight(state.posn, -TurnedTooFar(state.age));
        state.health = record.health;
        state.isHealthy = record.health == 1;
    }
    if (std::isfinite(state.posn.Radius())) state.origin = OrbitOrigin::Almanac;
    return state;
}

OrbitState OrbitSource::Calculate(char system, int number, const GPSTime& t) const {
    if (!HasRecords(system, number)) return {};
    const SatelliteState found = ephemerides_.Calculate(system, number, t, selection_);
    OrbitState state;
    if (found.hasPosn) {
        state.origin = OrbitOrigin::Ephemeris;
        state.isHealthy = found.standing == Standing::Good;
        state.health = found.health;
        state.age = found.age;
        state.posn = found.posn;
        state.vely = found.vely;
        state.clock = found.clock;
    } else {
        state = ByAlmanac(system, number, t);
    }
    if (system == 'R' && shift_ != nullptr) shift_->Forward(state.posn, state.posn);
    return state;
}

std::optional<LineOfSight> OrbitSource::Look(char system, int number, const GNSS::LocalGrid& place,
                                             const GPSTime& reception, OrbitState& state) const {
    // By the orbit that is valid at reception, which need not be so a flight earlier.
    state = Calculate(system, number, reception);
    if (state.origin == OrbitOrigin::None) return std::nullopt;
    // A flight takes less than 0.1 s, over which an orbit is straight: 0.6 m/s^2 bend it by 3 mm. So the position is
    // worked out once instead of three times.
    return FindLineOfSight(place, reception, [&](const GPSTime& t, ECEF& posn) {
        if (state.vely) {
            posn = state.posn + *state.vely * (t - reception).Seconds();
        } else {
            const OrbitState then = Calculate(system, number, t);
            if (then.origin == OrbitOrigin::None) return false;
            posn = then.posn;
        }
        return true;
    });
}

}  // namespace Host
