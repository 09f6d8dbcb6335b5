#include "host/fix/SkyScan.h"

namespace Host {

using Corvane::Angle;
using GNSS::Constellation;

void ScanSky(const OrbitSource& source, const GNSS::LocalGrid& place, const GNSS::GPSTime& t, const SkyRules& rules,
             std::vector<SkySatellite>& sky) {
    sky.clear();
    const auto look = [&](char system, int number, std::uint64_t disabled, Constellation::State healthy) {
        SkySatellite satellite{system, number, healthy, {}, {}};
        const auto sight = source.Look(system, number, place, t, satellite.orbit);
        if (!sight || sight->direction.GetElevation() < Angle::Zero) return;
        satellite.sight = *sight;
        if ((disabled >> static_cast<unsigned>(number) & 1U) != 0) {
            satellite.state = Constellation::Disabled;
        } else if (!satellite.orbit.isHealthy) {
            satellite.state = Constellation::Unhealthy;
        } else if (sight->direction.GetElevation() < rules.mask) {
            satellite.state = Constellation::BelowMask;
        }
        sky.push_back(satellite);
    };
    if (GNSS::DopArt::ShowsGPS(rules.mode)) {
        for (int prn = 1; prn <= EphemerisSet::NmrGPS; ++prn)
            look('G', prn, rules.disabledGPS, Constellation::HealthyGPS);
    }
    if (GNSS::DopArt::ShowsGlonass(rules.mode)) {
        for (int slot = 1; slot <= EphemerisSet::NmrGlonass; ++slot)
            look('R', slot, rules.disabledGlonass, Constellation::HealthyGlonass);
    }
}

Constellation MakeConstellation(std::span<const SkySatellite> sky, SkyPart part) {
    Constellation made;
    for (const SkySatellite& satellite : sky) {
        if (part == SkyPart::Usable && !satellite.IsUsable()) continue;
        const GNSS::Grid::Polar& direction = satellite.sight.direction;
        if (satellite.system == 'G') {
            made.Add(GNSS::PRN(satellite.number), direction.GetElevation(), direction.GetAzimuth(), satellite.state,
                     false);
        } else {
            made.Add(GNSS::Glonass::Slot(satellite.number), direction.GetElevation(), direction.GetAzimuth(),
                     satellite.state);
        }
    }
    return made;
}

}  // namespace Host
