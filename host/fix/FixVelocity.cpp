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

// How fast the way to a satellite grows for a receiver at rest. With S the satellite and V its velocity, both turned
// into the frame of reception, w the earth's rate and e the direction, the length r = |S - receiver| of the way, of
// which the time of sending is a function, satisfies r' (1 + e (V + w x S) / c) = e V.
struct RangeRate {
    double rate = 0.0;   // m/s
    double scale = 1.0;  // by which e times the receiver's velocity is to be multiplied
    RangeRate(const FixSatellite& satellite, const Sight& sight) {
        const double omega = GNSS::GPSEphemeride::EarthRate.Radians();
        const ECEF posn = Sight::AtReception(satellite.posn, sight.range);
        const ECEF vely = Sight::AtReception(ECEF() + satellite.vely, sight.range);
        const ECEF::Delta inSpace(vely.GetX() - omega * posn.GetY(), vely.GetY() + omega * posn.GetX(), vely.GetZ());
        scale = 1.0 / (1.0 + sight.direction.Dot(inSpace) / GNSS::LightSpeed);
        rate = sight.direction.Dot(vely - ECEF()) * scale;
    }
};

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
        const RangeRate way(satellite, sight);
        // In the grid's axes. The receiver measures in its own seconds.
        const std::array<double, NmrUnknown> row{-way.scale * e.Dot(grid.GetEast()),
                                                 -way.scale * e.Dot(grid.GetNorth()), -way.scale * e.Dot(grid.GetUp()),
                                                 1.0 - satellite.rangeRate / GNSS::LightSpeed};
        const double computed = way.rate * (1.0 + satellite.clockDrift) - GNSS::LightSpeed * satellite.clockDrift;
        const double sd = settings_.dopplerSD / std::max(std::sin(satellite.elevation), 0.05);
        static_cast<void>(llsq_.AddObs(row, satellite.rangeRate - computed, sd));
    }
    for (int nmrRejected = 0;; ++nmrRejected) {
        if (!llsq_.Solve()) return {};
        const Corvane::LLSq::Stats& stats = llsq_.GetStats();
        const int index = settings_.rejects ? stats.IndexToReject() : -1;
        if (index >= 0) {
            llsq_.SetRejected(index, true);
            continue;
        }
        velocity.valid = true;
        velocity.nmrRejected = nmrRejected;
        velocity.nmrUsed = llsq_.NmrObs() - nmrRejected;
        velocity.suspect = stats.FTestFailed();
        for (int i = 0; i < stats.NmrResid(); ++i) {
            const Corvane::LLSq::Resid& resid = stats.GetResid(i);
            velocity.suspect = velocity.suspect || (!resid.IsRejected() && resid.WTestFailed());
        }
        velocity.vely.Set(llsq_.GetUnknown(0), llsq_.GetUnknown(1), llsq_.GetUnknown(2));
        velocity.clockDrift = llsq_.GetUnknown(3);
        const Corvane::Matrix& covar = llsq_.GetCovar();
        velocity.sd.Set(std::sqrt(covar(0, 0)), std::sqrt(covar(1, 1)), std::sqrt(covar(2, 2)));
        return velocity;
    }
}

}  // namespace Host
