// BroadcastOrbit: the elements of a GPS message, fitted to an orbit as the control segment does.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "host/simulate/SimulatedOrbits.h"

namespace Host {

// The sixteen elements of IS-GPS-200, table 20-III, before they are rounded; radians, metres, seconds. Those of an
// almanac have no corrections: they stay 0.
//
// The gravitational constant is that of GNSS::GPSEphemeride, 3.986004418e14 and not the 3.986005e14 of the document:
// who computes with the latter reads the fitted mean motion otherwise and is off by a metre along the track.
struct BroadcastOrbit {
    double sqrtA = 0.0;
    double e = 0.0;
    double M0 = 0.0;
    double omega = 0.0;
    double node = 0.0;  // longitude of the ascending node at the reference time itself, not at the week's start
    double i0 = 0.0;
    double deltaN = 0.0;
    double nodeRate = 0.0;  // in inertial space
    double iRate = 0.0;
    double Crc = 0.0, Crs = 0.0;
    double Cuc = 0.0, Cus = 0.0;
    double Cic = 0.0, Cis = 0.0;

    // Kepler's equation.
    [[nodiscard]] double GetEccentricAnomaly(double tk) const;
    // tk seconds from the reference time, in the inertial axes that are earth-fixed at it, m.
    [[nodiscard]] SimulatedOrbits::Vector At(double tk) const;
    // The relativistic part of the satellite's clock that the user works out from these, s (20.3.3.3.3.1).
    [[nodiscard]] double GetRelativity(double tk) const;
    // Omega0 of the message: the node at the start of the week that the reference time belongs to, between minus and
    // plus pi.
    [[nodiscard]] double GetNodeAtWeekStart(double secondsOfWeek) const;
};

// A place of the orbit to be fitted, as At gives it.
struct OrbitSample {
    double tk = 0.0;
    SimulatedOrbits::Vector posn;
    double sd = 1.0;  // against the others
};

// Least squares on all elements, or on those of an almanac, from the state at the reference time on (inertial, in the
// same axes). The corrections, the difference of the mean motion and the rates, which a third of a revolution
// determines badly, are held near their usual values by weak observations of their own.
[[nodiscard]] BroadcastOrbit FitBroadcastOrbit(const SimulatedOrbits::State& state,
                                               std::span<const OrbitSample> samples, bool almanac);

}  // namespace Host
