#include "host/fix/PositionFix.h"

#include <algorithm>
#include <cmath>

#include "gnss/position/UKOOAResid.h"
#include "host/fix/SatelliteStates.h"

namespace Host {
namespace {

using GNSS::Constellation;

Constellation::State StateOf(const FixSatellite& satellite) {
    switch (satellite.use) {
        case SatelliteUse::Used:
        case SatelliteUse::Lone:
            return satellite.glonass ? Constellation::HealthyGlonass : Constellation::HealthyGPS;
        case SatelliteUse::Rejected:
            return Constellation::Rejected;
        case SatelliteUse::BelowMask:
        case SatelliteUse::LowSignal:
            return Constellation::BelowMask;
        case SatelliteUse::SystemOff:
        case SatelliteUse::Disabled:
            return Constellation::Disabled;
        default:
            return Constellation::Unhealthy;
    }
}

void AddTo(Constellation& constellation, const FixSatellite& satellite) {
    const Corvane::Angle elevation(satellite.elevation);
    const Corvane::Angle azimuth(satellite.azimuth);
    if (satellite.glonass) {
        constellation.Add(GNSS::Glonass::Slot(satellite.number), elevation, azimuth, StateOf(satellite));
    } else {
        constellation.Add(GNSS::PRN(satellite.number), elevation, azimuth, StateOf(satellite), false);
    }
}

// How much |w| differ at most, as a share, that are equal but for rounding.
constexpr double SameW = 1e-8;

FixTest TestOf(const Corvane::LLSq::Stats& stats) {
    if (!stats.IsTestable()) return FixTest::NotTestable;
    bool failed = stats.FTestFailed();
    for (int i = 0; i < stats.NmrResid(); ++i) {
        const Corvane::LLSq::Resid& resid = stats.GetResid(i);
        failed = failed || (!resid.IsRejected() && resid.WTestFailed());
    }
    if (failed) return FixTest::Failed;
    return stats.IsIdentifiable() ? FixTest::Passed : FixTest::NotIdentifiable;
}

}  // namespace

const char* Name(FixTest test) {
    switch (test) {
        case FixTest::None:
            return "no fix";
        case FixTest::Passed:
            return "passed";
        case FixTest::Failed:
            return "failed";
        case FixTest::NotTestable:
            return "not testable";
        case FixTest::NotIdentifiable:
            return "not identifiable";
    }
    return "";
}

const char* Name(SatelliteUse use) {
    switch (use) {
        case SatelliteUse::Used:
            return "used";
        case SatelliteUse::Rejected:
            return "rejected";
        case SatelliteUse::SystemOff:
            return "system not used";
        case SatelliteUse::NoRange:
            return "no range";
        case SatelliteUse::ReceiverWarning:
            return "receiver's warning";
        case SatelliteUse::Disabled:
            return "disabled";
        case SatelliteUse::Unhealthy:
            return "unhealthy";
        case SatelliteUse::NoEphemeris:
            return "no ephemeris";
        case SatelliteUse::StaleEphemeris:
            return "ephemeris too old";
        case SatelliteUse::NoPosition:
            return "impossible orbit";
        case SatelliteUse::BelowMask:
            return "below the mask";
        case SatelliteUse::LowSignal:
            return "weak signal";
        case SatelliteUse::Lone:
            return "alone of its system";
    }
    return "";
}

const FixSatellite* FixResult::FindRow(int row) const {
    if (row < 0) return nullptr;
    for (const FixSatellite& satellite : satellites) {
        if (satellite.row == row) return &satellite;
    }
    return nullptr;
}

// What the satellites had to do with the fix: counts, constellation, geometry.
void PositionFix::Describe() {
    result_.gps = result_.glonass = {};
    result_.constellation.Reset();
    used_.Reset();
    for (const FixSatellite& satellite : result_.satellites) {
        FixResult::Count& count = satellite.glonass ? result_.glonass : result_.gps;
        ++count.tracked;
        if (std::isfinite(satellite.elevation)) AddTo(result_.constellation, satellite);
        if (!result_.valid) continue;
        if (satellite.use == SatelliteUse::Used) {
            ++count.used;
            AddTo(used_, satellite);
        } else if (satellite.use == SatelliteUse::Rejected) {
            ++count.rejected;
        }
    }
    result_.dop.Set(used_, true, result_.heightAided && !result_.heightRejected);
}

void PositionFix::TakeStatistics() {
    const Corvane::LLSq& adjustment = solver_.GetAdjustment();
    const Corvane::LLSq::Stats& stats = adjustment.GetStats();
    descs_.assign(static_cast<std::size_t>(stats.NmrResid()), GNSS::UKOOA::Height);
    for (const FixSatellite& satellite : result_.satellites) {
        if (satellite.row < 0) continue;
        GNSS::UKOOA::Desc& desc = descs_[static_cast<std::size_t>(satellite.row)];
        if (satellite.glonass) {
            desc = GNSS::UKOOA::Desc(GNSS::UKOOA::Desc::UnCorrID, GNSS::Glonass::Slot(satellite.number));
        } else {
            desc = GNSS::UKOOA::Desc(GNSS::UKOOA::Desc::UnCorrID, GNSS::PRN(satellite.number));
        }
    }
    result_.ukooa.Set(descs_, stats, solver_.GetGrid(), adjustment.GetCovar(), 0);
    static_cast<void>(solver_.GetGrid().GetGridCovarFromECEF(adjustment.GetCovar(), result_.covar));
    // Worked out once for each number of degrees of freedom: it takes as long as a good part of the fix.
    const auto freedom = static_cast<std::size_t>(std::max(stats.NmrFreedom(), 0));
    if (freedom >= fLimits_.size()) fLimits_.resize(freedom + 1, -1.0);
    if (fLimits_[freedom] < 0.0) {
        fLimits_[freedom] = Corvane::LLSq::GetFLimit(settings_.fLimit, settings_.confidence, settings_.power,
                                                     static_cast<int>(freedom));
    }
    result_.fLimit = fLimits_[freedom];
    result_.wLimit = Corvane::LLSq::GetWLimit(settings_.confidence);
    result_.test = TestOf(stats);
    result_.maxW = 0.0;
    result_.maxWRow = -1;
    for (int i = 0; i < stats.NmrResid(); ++i) {
        const Corvane::LLSq::Resid& resid = stats.GetResid(i);
        if (resid.IsRejected() || resid.GetWTest() == Corvane::LLSq::WNotTestable) continue;
        // Ranges whose faults cannot be told apart have the same |w| but for rounding: of these the first.
        if (result_.maxWRow < 0 || std::abs(resid.GetStandardised()) > std::abs(result_.maxW) * (1.0 + SameW)) {
            result_.maxW = resid.GetStandardised();
            result_.maxWRow = i;
        }
    }
}

const FixResult& PositionFix::Compute(const GNSS::MeasSet& set, const FixInputs& inputs) {
    result_.time = set.GetGPSTime();
    FindSatellites(set, inputs, settings_, result_.satellites);
    result_.valid = solver_.Solve(result_.time, inputs, result_.satellites);
    result_.failure = solver_.GetFailure();
    result_.usedIonosphere = solver_.UsedIonosphere();
    result_.heightAided = settings_.heightAid;
    result_.heightRejected = result_.valid && solver_.IsHeightRejected();
    Describe();
    if (result_.valid && !(result_.dop.IsValid() && result_.dop.GetGDOP() <= settings_.maxGDOP)) {
        result_.valid = false;
        result_.failure = FixFailure::BadGeometry;
        solver_.Reset();
        Describe();
    }
    result_.velocity = {};
    result_.test = FixTest::None;
    if (!result_.valid) {
        result_.ecef = {};
        result_.geog = {};
        result_.dop.Reset();
        result_.ukooa.Reset();
        result_.covar.Reset();
        result_.clockGPS = result_.clockGlonass = std::nullopt;
        result_.maxW = result_.fLimit = result_.wLimit = 0.0;
        result_.maxWRow = -1;
        return result_;
    }
    result_.ecef = solver_.GetPosition();
    result_.geog = solver_.GetGeog();
    result_.clockGPS = solver_.GetClock(false);
    result_.clockGlonass = solver_.GetClock(true);
    TakeStatistics();
    result_.velocity = velocity_.Solve(result_.satellites, solver_.GetGrid());
    return result_;
}

}  // namespace Host
