#include "host/fix/MissingSatellites.h"

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/platform/Angle.h"
#include "host/fix/FixNotes.h"

namespace Host {
namespace {

using GNSS::GPSTime;

// By the ephemeris, or by the almanac when that has become too old.
template <typename Calculator, typename Id>
std::optional<GNSS::ECEF> FindPlace(const Calculator& ephemerides, const FixInputs& inputs, const Id& id,
                                    const GPSTime& t) {
    typename Calculator::Result result;
    if (ephemerides.CalculateHealthyPosn(id, t, result)) return result.posn;
    GNSS::ECEF posn;
    if (inputs.almanac != nullptr && inputs.almanac->CalculatePosn(id, t, posn)) return posn;
    return std::nullopt;
}

std::optional<GNSS::ECEF> FindPlace(const FixInputs& inputs, int param, const GPSTime& t) {
    if (param > GlonassParam) return FindPlace(inputs.glonass, inputs, GNSS::Glonass::Slot(param - GlonassParam), t);
    return FindPlace(inputs.gps, inputs, GNSS::PRN(param), t);
}

}  // namespace

void MissingSatellites::Update(const FixResult& result, const FixInputs& inputs, const FixSettings& settings,
                               GNSS::Notes& notes) {
    for (const FixSatellite& satellite : result.satellites) {
        const int param = satellite.number + (satellite.glonass ? GlonassParam : 0);
        if (result.valid && satellite.use == SatelliteUse::Used) {
            lastMeasured_.insert_or_assign(param, result.time);
        } else if (const auto known = lastMeasured_.find(param); known != lastMeasured_.end()) {
            known->second = result.time;
        }
    }
    if (result.valid) place_ = result.ecef;
    if (!place_) return;
    const GNSS::LocalGrid grid(*place_, GNSS::Spheroid::WGS84);
    for (auto known = lastMeasured_.begin(); known != lastMeasured_.end();) {
        const auto& [param, time] = *known;
        if ((result.time - time).Seconds() < Patience) {
            ++known;
            continue;
        }
        const std::optional<GNSS::ECEF> posn = FindPlace(inputs, param, result.time);
        if (!posn || grid.GetGridPolar(*posn).GetElevation().Degrees() < settings.elevationMask) {
            known = lastMeasured_.erase(known);
            continue;
        }
        notes.AddNote(static_cast<int>(FixNote::Missing), param,
                      Corvane::String(SatelliteName(param) + ": above the mask, but no longer received"));
        ++known;
    }
}

}  // namespace Host
