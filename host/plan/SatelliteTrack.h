// SatelliteTrack: one satellite followed through a plan, scan by scan, into its passes and gaps.
#pragma once

#include <array>
#include <optional>

#include "gnss/platform/Angle.h"
#include "gnss/time/GPSTime.h"
#include "host/plan/VisibilityPlan.h"

namespace Host {

// Whether a satellite counts: it has an orbit, is healthy, and stands at the mask or above.
[[nodiscard]] inline bool IsInUse(const PlanSight& sight, Corvane::Angle mask) {
    return sight.orbit != PlanSight::Orbit::None && sight.isHealthy && sight.elevation >= mask;
}

// Where something changes: the last time before and the first time after it, not more than ChangeWidth apart.
struct Change {
    GNSS::GPSTime before;
    GNSS::GPSTime after;
};
inline constexpr Corvane::Time ChangeWidth{0.25};

// Between a time at which `is` answers `was` and a later one at which it does not.
template <typename Is>
[[nodiscard]] Change FindChange(GNSS::GPSTime before, GNSS::GPSTime after, bool was, const Is& is) {
    while (after - before > ChangeWidth) {
        const GNSS::GPSTime middle = before + (after - before) * 0.5;
        (is(middle) == was ? before : after) = middle;
    }
    return {before, after};
}

class SatelliteTrack {
public:
    // What it finds it adds to the plan. Look and plan must outlive it.
    SatelliteTrack(const PlanSatellite& satellite, Corvane::Angle mask, const PlanLook& look, VisibilityPlan& plan)
        : satellite_(satellite), mask_(mask), look_(look), plan_(plan) {}

    [[nodiscard]] const PlanSatellite& Satellite() const { return satellite_; }
    // The next scan, later than the last.
    const PlanSight& Take(const GNSS::GPSTime& t);
    // After the last scan: the plan's end.
    void Finish();

private:
    struct Scan {
        GNSS::GPSTime time;
        PlanSight sight;
    };

    [[nodiscard]] PlanSight Look(const GNSS::GPSTime& t) const { return look_(satellite_, t); }
    [[nodiscard]] bool IsUp(const GNSS::GPSTime& t) const { return IsInUse(Look(t), mask_); }
    // The highest (sign 1) or lowest (-1) elevation between two times that have one such.
    [[nodiscard]] Scan FindExtreme(GNSS::GPSTime from, GNSS::GPSTime to, double sign) const;
    // A pass or a dip that lies between the scans: a turn of the elevation near the mask.
    void LookBetween(const Scan& first, const Scan& middle, const Scan& last);

    // `beyond` is on the side where it is not up; nothing at the plan's ends.
    [[nodiscard]] PlanPass::Moment MomentAt(const GNSS::GPSTime& t, const std::optional<GNSS::GPSTime>& beyond) const;
    void BeginPass(const GNSS::GPSTime& t, const std::optional<GNSS::GPSTime>& before);
    void EndPass(const GNSS::GPSTime& t, const std::optional<GNSS::GPSTime>& after);
    void Heighten(const GNSS::GPSTime& t, const PlanSight& sight);

    void TakeGap(PlanGap::Kind kind, const Scan& scan);

    PlanSatellite satellite_;
    Corvane::Angle mask_;
    const PlanLook& look_;
    VisibilityPlan& plan_;

    std::array<Scan, 3> scans_;  // the last three, the latest last
    int nmrScans_ = 0;           // of them
    std::optional<PlanPass> pass_;
    std::array<std::optional<PlanGap>, 3> gaps_;  // the open ones, by kind
};

}  // namespace Host
