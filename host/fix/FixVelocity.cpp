#include "host/fix/FixVelocity.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "gnss/time/Constants.h"
#include "host/fix/Sight.h"

namespace Host {
namespace {

using GNSS::ECEF;

constexpr int NmrUnknown = 4;
// No receiver measures range rates beyond this, m/s.
constexpr double MaxRate = 20000.0;

// The share of the range rate that the turning of the frame during the flight adds: the time derivative of
// earth rate / c (x_s y_r - y_s x_r), the receiver at rest; m/s, at most a few mm/s.
double TurnRate(const FixSatellite& satellite, const ECEF& receiver) {
    return GNSS::GPSEphemeride::EarthRate.Radians() / GNSS::LightSpeed *
           (satellite.vely.GetY() * receiver.GetX() - satellite.vely.GetX() * receiver.GetY());
}

}  // namespace

Velocity FixVelocity::Solve(const std::vector<FixSatellite>& satellites, const GNSS::LocalGrid& grid) {
    Velocity velocity;
    if (!settings_.velocity) return velocity;
    llsq_.Reset(NmrUnknown);
    llsq_.SetTests(settings_.confidence, settings_.power, settings_.fLimit);
    const ECEF& receiver = grid.GetOriginECEF();
    for (const FixSatellite& satellite : satellites) {
        if (satellite.use != SatelliteUse::Used || !(std::abs(satellite.rangeRate) < MaxRate)) continue;
        const Sight sight(satellite.posn, receiver);
        const ECEF::Delta& e = sight.direction;
        // In the grid's axes.
        const std::array<double, NmrUnknown> row{-e.Dot(grid.GetEast()), -e.Dot(grid.GetNorth()), -e.Dot(grid.GetUp()),
                                                 1.0};
        const double computed =
            e.Dot(satellite.vely) + TurnRate(satellite, receiver) - GNSS::LightSpeed * satellite.clockDrift;
        const double sd = settings_.dopplerSD / std::max(std::sin(satellite.elevation), 0.05);
        static_cast<void>(llsq_.AddObs(row, satellite.rangeRate - computed, sd));
    }
    while (llsq_.Solve()) {
        const Corvane::LLSq::Stats& stats = llsq_.GetStats();
        velocity.valid = true;
        velocity.nmrUsed = llsq_.NmrObs() - velocity.nmrRejected;
        velocity.vely.Set(llsq_.GetUnknown(0), llsq_.GetUnknown(1), llsq_.GetUnknown(2));
        velocity.clockDrift = llsq_.GetUnknown(3);
        const Corvane::Matrix& covar = llsq_.GetCovar();
        velocity.sd.Set(std::sqrt(covar(0, 0)), std::sqrt(covar(1, 1)), std::sqrt(covar(2, 2)));
        const int index = settings_.rejects ? stats.IndexToReject() : -1;
        if (index < 0) break;
        llsq_.SetRejected(index, true);
        ++velocity.nmrRejected;
    }
    return velocity;
}

}  // namespace Host
