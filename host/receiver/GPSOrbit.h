// What is an orbit.
#pragma once

namespace Host {

// Whether a satellite can go round so, by the root of its semi-major axis (m^1/2) and its eccentricity: not through the
// earth, and not farther out than 100000 km. Messages of zeros fail.
[[nodiscard]] constexpr bool IsGPSOrbit(double sqrtA, double e) {
    constexpr double LeastPerigee = 6.4e6;  // m
    constexpr double MostAxis = 1.0e8;      // m
    const double axis = sqrtA * sqrtA;
    return sqrtA > 0.0 && axis <= MostAxis && e >= 0.0 && axis * (1.0 - e) >= LeastPerigee;
}

}  // namespace Host
