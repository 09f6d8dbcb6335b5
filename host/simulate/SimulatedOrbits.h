// SimulatedOrbits: the motion of satellites by integration.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// The simulation's truth, independent of every orbit model of the messages: the earth's point mass and flattening (J2),
// the sun and the moon, integrated in an inertial frame that coincides with the earth-fixed one at the origin of time.
// All satellites go together, by the classical Runge-Kutta method in steps of 30 s (1 mm in a day); between nodes every
// 300 s the quintic through position, velocity and acceleration (some micrometres).
class SimulatedOrbits {
public:
    using Vector = GNSS::ECEF::Delta;
    struct State {
        Vector posn;  // m
        Vector vely;  // m/s
    };
    static constexpr double Gravity = 3.986004418e14;     // m3/s2
    static constexpr double EarthRadius = 6378137.0;      // m
    static constexpr double J2 = 1.08262982e-3;           //
    static constexpr double EarthRate = 7.2921151467e-5;  // rad/s

    // The inertial states at the origin, t = 0.
    SimulatedOrbits(const GNSS::GPSTime& origin, const std::vector<State>& states);

    // Inertial, t in seconds from the origin on, not before what has been forgotten.
    [[nodiscard]] State At(std::size_t satellite, double t);
    // Earth-fixed at that time.
    [[nodiscard]] State AtEarthFixed(std::size_t satellite, double t) { return ToEarthFixed(At(satellite, t), t); }
    [[nodiscard]] static State ToEarthFixed(const State& inertial, double t);
    // Turned by an angle about the earth's axis into axes that lie that much further east.
    [[nodiscard]] static Vector Turn(const Vector& v, double angle);
    // The sun's and the moon's part in the acceleration of an earth-fixed place, along earth-fixed axes.
    [[nodiscard]] Vector GetLuniSolar(const Vector& earthFixed, double t) const;

    // Frees what lies before a time.
    void Forget(double t);
    [[nodiscard]] double GetFirst() const { return static_cast<double>(first_) * NodeStep; }

private:
    static constexpr double NodeStep = 300.0;
    static constexpr int StepsPerNode = 10;
    struct Node {
        State state;
        Vector accel;
    };
    struct Bodies {
        Vector sun;
        Vector moon;
    };

    [[nodiscard]] Bodies BodiesAt(double t) const;
    [[nodiscard]] static Vector ThirdBodies(const Vector& posn, const Bodies& bodies);
    [[nodiscard]] static Vector Accelerate(const Vector& posn, const Bodies& bodies);
    void Extend();

    GNSS::GPSTime origin_;
    double sidereal_;         // at the origin
    std::int64_t first_ = 0;  // number of the first node kept
    std::deque<std::vector<Node>> nodes_;
    std::vector<State> states_;  // at the last node
};

}  // namespace Host
