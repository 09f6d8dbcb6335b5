#include "host/plan/SatelliteTrack.h"

#include <algorithm>
#include <utility>

namespace Host {

using Corvane::Angle;
using Corvane::Time;
using GNSS::GPSTime;

namespace {

// Beyond this distance from the mask no turn of the elevation between two scans reaches it: a satellite of either
// system moves by less than 0.6 degrees in the longest scan.
constexpr Angle NearMask = Angle::FromDegrees(0.6);

bool IsOfKind(const PlanSight& sight, PlanGap::Kind kind) {
    switch (kind) {
        case PlanGap::Kind::NoOrbit:
            return sight.orbit == PlanSight::Orbit::None;
        case PlanGap::Kind::Unhealthy:
            return sight.orbit != PlanSight::Orbit::None && !sight.isHealthy;
        case PlanGap::Kind::ByAlmanac:
            return sight.orbit == PlanSight::Orbit::Almanac;
    }
    return false;
}

}  // namespace

const PlanSight& SatelliteTrack::Take(const GPSTime& t) {
    std::ranges::rotate(scans_, scans_.begin() + 1);
    Scan& scan = scans_[2];
    scan = {t, Look(t)};
    const Scan& last = scans_[1];
    const bool isFirst = nmrScans_ == 0;
    nmrScans_ = std::min(nmrScans_ + 1, 3);

    for (const PlanGap::Kind kind : {PlanGap::Kind::NoOrbit, PlanGap::Kind::Unhealthy, PlanGap::Kind::ByAlmanac})
        TakeGap(kind, scan);
    const bool isUp = IsInUse(scan.sight, mask_);
    if (isFirst) {
        if (isUp) BeginPass(t, std::nullopt);
        return scan.sight;
    }
    const bool wasUp = IsInUse(last.sight, mask_);
    if (isUp != wasUp) {
        const Change change = FindChange(last.time, t, wasUp, [this](const GPSTime& time) { return IsUp(time); });
        if (isUp) BeginPass(change.after, change.before);
        if (wasUp) EndPass(change.before, change.after);
    } else if (nmrScans_ == 3) {
        LookBetween(scans_[0], last, scan);
    }
    if (isUp) Heighten(t, scan.sight);
    return scan.sight;
}

void SatelliteTrack::Finish() {
    if (nmrScans_ == 0) return;
    const GPSTime& end = scans_[2].time;
    if (pass_) EndPass(end, std::nullopt);
    for (std::optional<PlanGap>& gap : gaps_) {
        if (!gap) continue;
        gap->to = end;
        gap->isToEnd = true;
        plan_.gaps.push_back(*std::exchange(gap, std::nullopt));
    }
}

SatelliteTrack::Scan SatelliteTrack::FindExtreme(GPSTime from, GPSTime to, double sign) const {
    const auto at = [this](const GPSTime& t) { return Scan{t, Look(t)}; };
    const auto isAbove = [sign](const Scan& a, const Scan& b) {
        return sign * a.sight.elevation.Radians() > sign * b.sight.elevation.Radians();
    };
    while (to - from > ChangeWidth) {
        const Time third = (to - from) / 3.0;
        const Scan low = at(from + third);
        const Scan high = at(to - third);
        if (isAbove(low, high))
            to = high.time;
        else
            from = low.time;
    }
    return at(from + (to - from) * 0.5);
}

void SatelliteTrack::LookBetween(const Scan& first, const Scan& middle, const Scan& last) {
    const bool isUp = pass_.has_value();
    if (IsInUse(first.sight, mask_) != isUp) return;
    for (const Scan* scan : {&first, &middle, &last}) {
        if (scan->sight.orbit == PlanSight::Orbit::None || !scan->sight.isHealthy) return;
    }
    // Below the mask a peak may reach above it, above the mask a dip below it.
    const double sign = isUp ? -1.0 : 1.0;
    const auto height = [&](const Scan& scan) { return sign * (scan.sight.elevation - mask_).Radians(); };
    if (height(middle) <= height(first) || height(middle) < height(last)) return;
    if (height(middle) < -NearMask.Radians()) return;
    const Scan turn = FindExtreme(first.time, last.time, sign);
    if (IsInUse(turn.sight, mask_) == isUp) return;
    const auto up = [this](const GPSTime& t) { return IsUp(t); };
    const Change there = FindChange(first.time, turn.time, isUp, up);
    const Change back = FindChange(turn.time, last.time, !isUp, up);
    if (isUp) {
        EndPass(there.before, there.after);
        BeginPass(back.after, back.before);
    } else {
        BeginPass(there.after, there.before);
        Heighten(turn.time, turn.sight);
        EndPass(back.before, back.after);
    }
}

PlanPass::Moment SatelliteTrack::MomentAt(const GPSTime& t, const std::optional<GPSTime>& beyond) const {
    PlanPass::Moment moment{PlanPass::End::Plan, t, Look(t).azimuth};
    if (!beyond) return moment;
    const PlanSight sight = Look(*beyond);
    moment.end = sight.orbit == PlanSight::Orbit::None ? PlanPass::End::Orbit
                 : !sight.isHealthy                    ? PlanPass::End::Health
                                                       : PlanPass::End::Mask;
    return moment;
}

void SatelliteTrack::BeginPass(const GPSTime& t, const std::optional<GPSTime>& before) {
    pass_.emplace();
    pass_->satellite = satellite_;
    pass_->rise = MomentAt(t, before);
    pass_->highest = mask_;
    Heighten(t, Look(t));
}

void SatelliteTrack::EndPass(const GPSTime& t, const std::optional<GPSTime>& after) {
    Heighten(t, Look(t));
    pass_->set = MomentAt(t, after);
    // The highest scan is next to the highest point, unless that is an end of the pass.
    const GPSTime from = std::max(pass_->rise.time, pass_->highestTime - PlanSettings::LongestScan);
    const GPSTime to = std::min(t, pass_->highestTime + PlanSettings::LongestScan);
    const Scan highest = FindExtreme(from, to, 1.0);
    if (IsInUse(highest.sight, mask_)) Heighten(highest.time, highest.sight);
    plan_.passes.push_back(*std::exchange(pass_, std::nullopt));
}

void SatelliteTrack::Heighten(const GPSTime& t, const PlanSight& sight) {
    if (sight.orbit == PlanSight::Orbit::Almanac) pass_->isByAlmanac = true;
    if (pass_->highestTime != GPSTime::Zero && sight.elevation <= pass_->highest) return;
    pass_->highest = sight.elevation;
    pass_->highestTime = t;
}

void SatelliteTrack::TakeGap(PlanGap::Kind kind, const Scan& scan) {
    std::optional<PlanGap>& gap = gaps_[static_cast<std::size_t>(kind)];
    const bool isNow = IsOfKind(scan.sight, kind);
    if (isNow == gap.has_value()) return;
    const bool isFirst = nmrScans_ == 1;
    const Change change = isFirst ? Change{scan.time, scan.time}
                                  : FindChange(scans_[1].time, scan.time, !isNow,
                                               [this, kind](const GPSTime& t) { return IsOfKind(Look(t), kind); });
    if (isNow) {
        gap = PlanGap{satellite_, kind, change.after, change.after, isFirst, false};
    } else {
        gap->to = change.before;
        plan_.gaps.push_back(*std::exchange(gap, std::nullopt));
    }
}

}  // namespace Host
