// ScanSky: which satellites stand above a place, and which of them a fix there could use.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "gnss/display/DopArt.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/platform/Angle.h"
#include "gnss/position/Constellation.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/OrbitSource.h"

namespace Host {

// What counts in a fix, besides a satellite's health.
struct SkyRules {
    GNSS::DopArt::Mode mode = GNSS::DopArt::Both;  // the systems that are looked at
    Corvane::Angle mask;                           // a satellite at or above it counts
    // By the operator: bit n stands for satellite n.
    std::uint64_t disabledGPS = 0;
    std::uint64_t disabledGlonass = 0;
    bool heightAid = false;  // for the DOP: the height is known
};

struct SkySatellite {
    char system = 'G';  // G or R
    int number = 0;
    GNSS::Constellation::State state = GNSS::Constellation::BelowMask;
    OrbitState orbit;
    LineOfSight sight;

    // Counts in a fix.
    [[nodiscard]] bool IsUsable() const {
        return state == GNSS::Constellation::HealthyGPS || state == GNSS::Constellation::HealthyGlonass;
    }
};

// The satellites above the horizon, GPS first, in the order of their numbers. A satellite that is disabled is Disabled
// whatever else it is; a satellite that calls itself unhealthy is Unhealthy also below the mask. Replaces what `sky`
// holds, so that its memory serves again.
void ScanSky(const OrbitSource& source, const GNSS::LocalGrid& place, const GNSS::GPSTime& t, const SkyRules& rules,
             std::vector<SkySatellite>& sky);

// For the displays all of them, for DOP those that a fix could use.
enum class SkyPart : std::uint8_t { All, Usable };
[[nodiscard]] GNSS::Constellation MakeConstellation(std::span<const SkySatellite> sky, SkyPart part);

}  // namespace Host
