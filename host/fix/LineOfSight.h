// LineOfSight: the way of a satellite's signal to a place, and the direction it comes from.
#pragma once

#include <cmath>
#include <optional>

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/platform/Time.h"
#include "gnss/time/Constants.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// The geometry of a signal without the atmosphere. Times are system time (no clock offsets), lengths metres.
struct SignalPath {
    GNSS::GPSTime transmission;
    double flight = 0.0;  // s, range over the speed of light
    GNSS::ECEF posn;      // the satellite at transmission, in the earth-fixed frame of the time of reception
    double range = 0.0;   // straight from the receiver to that position
};

struct LineOfSight : SignalPath {
    GNSS::Grid::Polar direction;  // from the receiver, against the horizon of the ellipsoid; no refraction
};

// An earth-fixed position of the time of transmission in the earth-fixed frame of the time of reception, `flight`
// seconds later: x' = x cos a + y sin a, y' = -x sin a + y cos a, with a the earth's turn meanwhile
// (IS-GPS-200, 20.3.3.4.3.3.2). A signal from a navigation satellite comes from 130 m further west than one would
// think.
[[nodiscard]] GNSS::ECEF TurnDuringFlight(const GNSS::ECEF& posn, double flight);

// The longest flight that is looked for, s; 150,000 km are out of any navigation satellite's way.
inline constexpr double LongestFlight = 0.5;
// A first flight, half-way between those of a satellite in the zenith and on the horizon, s.
inline constexpr double TypicalFlight = 0.077;

// When a signal that arrives at `reception` was sent, and from where: the flight t solves
//     c t = | turned(satellite(reception - t), t) - receiver |
// by putting the last range in on the right. Each round makes the error smaller by the satellite's speed over that of
// light, 1.3e-5, so that two rounds leave less than 0.01 mm.
//
// The receiver's and the satellites' positions are earth-fixed, of one frame. `satelliteAt(GPSTime, ECEF&) -> bool`
// gives the satellite's position at a system time; it is called two to MaxRounds times with times some hundredths of a
// second apart. Nothing when it has no answer or one that is not finite, when the receiver's position is not finite, or
// when the rounds do not come to rest within LongestFlight. Allocates nothing.
template <typename SatelliteAt>
[[nodiscard]] std::optional<SignalPath> FindSignalPath(const GNSS::ECEF& receiver, const GNSS::GPSTime& reception,
                                                       const SatelliteAt& satelliteAt) {
    constexpr int MaxRounds = 8;
    constexpr double Rest = 1e-9;  // s, in which a satellite moves by 4 micrometres
    SignalPath path;
    path.flight = TypicalFlight;
    for (int round = 0; round < MaxRounds; ++round) {
        path.transmission = reception - Corvane::Time(path.flight);
        GNSS::ECEF posn;
        if (!satelliteAt(path.transmission, posn)) return std::nullopt;
        path.posn = TurnDuringFlight(posn, path.flight);
        path.range = (path.posn - receiver).Magnitude();
        const double flight = path.range / GNSS::LightSpeed;
        if (!(flight <= LongestFlight)) return std::nullopt;  // NaN too
        const double change = std::abs(flight - path.flight);
        path.flight = flight;
        if (change < Rest) return path;
    }
    return std::nullopt;
}

// The same with the direction, from the origin of a grid. Nothing also for a grid without an ellipsoid.
template <typename SatelliteAt>
[[nodiscard]] std::optional<LineOfSight> FindLineOfSight(const GNSS::LocalGrid& receiver,
                                                         const GNSS::GPSTime& reception,
                                                         const SatelliteAt& satelliteAt) {
    if (receiver.GetSpheriod() == nullptr) return std::nullopt;
    const std::optional<SignalPath> path = FindSignalPath(receiver.GetOriginECEF(), reception, satelliteAt);
    if (!path) return std::nullopt;
    return LineOfSight{*path, receiver.GetGridPolar(path->posn)};
}

}  // namespace Host
