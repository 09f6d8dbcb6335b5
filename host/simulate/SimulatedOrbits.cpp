#include "host/simulate/SimulatedOrbits.h"

#include <algorithm>
#include <cmath>

#include "host/simulate/SunMoon.h"

namespace Host {

namespace {

constexpr double SunGravity = 1.32712440018e20;  // m3/s2
constexpr double MoonGravity = 4.9028e12;

}  // namespace

using Vector = SimulatedOrbits::Vector;

SimulatedOrbits::SimulatedOrbits(const GNSS::GPSTime& origin, const std::vector<State>& states)
    : origin_(origin), sidereal_(SiderealAngle(origin)), states_(states) {
    std::vector<Node>& node = nodes_.emplace_back();
    const Bodies bodies = BodiesAt(0.0);
    for (const State& state : states_) node.push_back({state, Accelerate(state.posn, bodies)});
}

Vector SimulatedOrbits::Turn(const Vector& v, double angle) {
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    return {v.GetX() * c + v.GetY() * s, v.GetY() * c - v.GetX() * s, v.GetZ()};
}

SimulatedOrbits::State SimulatedOrbits::ToEarthFixed(const State& inertial, double t) {
    const double angle = EarthRate * t;
    const Vector posn = Turn(inertial.posn, angle);
    const Vector vely = Turn(inertial.vely, angle);
    return {posn, vely + Vector(EarthRate * posn.GetY(), -EarthRate * posn.GetX(), 0.0)};
}

// The axes are earth-fixed ones of the origin, which lie east of the equinox by the sidereal angle.
SimulatedOrbits::Bodies SimulatedOrbits::BodiesAt(double t) const {
    const SunMoon bodies(origin_ + Corvane::Time(t));
    return {Turn(bodies.sun, sidereal_), Turn(bodies.moon, sidereal_)};
}

Vector SimulatedOrbits::ThirdBodies(const Vector& posn, const Bodies& bodies) {
    const auto pull = [&posn](const Vector& body, double gravity) {
        const Vector way = body - posn;
        const double near = way.Magnitude();
        const double far = body.Magnitude();
        return way * (gravity / (near * near * near)) - body * (gravity / (far * far * far));
    };
    return pull(bodies.sun, SunGravity) + pull(bodies.moon, MoonGravity);
}

Vector SimulatedOrbits::Accelerate(const Vector& posn, const Bodies& bodies) {
    const double r2 = posn.Dot(posn);
    const double pull = Gravity / (r2 * std::sqrt(r2));
    const double flattening = 1.5 * J2 * EarthRadius * EarthRadius / r2;
    const double sine = 5.0 * posn.GetZ() * posn.GetZ() / r2;
    const double plane = -pull * (1.0 + flattening * (1.0 - sine));
    const double axis = -pull * (1.0 + flattening * (3.0 - sine));
    return Vector(posn.GetX() * plane, posn.GetY() * plane, posn.GetZ() * axis) + ThirdBodies(posn, bodies);
}

Vector SimulatedOrbits::GetLuniSolar(const Vector& earthFixed, double t) const {
    const double angle = EarthRate * t;
    return Turn(ThirdBodies(Turn(earthFixed, -angle), BodiesAt(t)), angle);
}

void SimulatedOrbits::Extend() {
    constexpr double Step = NodeStep / StepsPerNode;
    constexpr double Half = 0.5 * Step;
    const double from = static_cast<double>(first_ + static_cast<std::int64_t>(nodes_.size()) - 1) * NodeStep;
    Bodies before = BodiesAt(from);
    for (int i = 0; i < StepsPerNode; ++i) {
        const Bodies middle = BodiesAt(from + i * Step + Half);
        const Bodies after = BodiesAt(from + (i + 1) * Step);
        for (State& state : states_) {
            const Vector& p = state.posn;
            const Vector& v = state.vely;
            const Vector a1 = Accelerate(p, before);
            const Vector v2 = v + a1 * Half;
            const Vector a2 = Accelerate(p + v * Half, middle);
            const Vector v3 = v + a2 * Half;
            const Vector a3 = Accelerate(p + v2 * Half, middle);
            const Vector v4 = v + a3 * Step;
            const Vector a4 = Accelerate(p + v3 * Step, after);
            const Vector move = (v + (v2 + v3) * 2.0 + v4) * (Step / 6.0);
            state.vely += (a1 + (a2 + a3) * 2.0 + a4) * (Step / 6.0);
            state.posn += move;
        }
        before = after;
    }
    std::vector<Node> node;
    node.reserve(states_.size());
    for (const State& state : states_) node.push_back({state, Accelerate(state.posn, before)});
    nodes_.push_back(std::move(node));
}

SimulatedOrbits::State SimulatedOrbits::At(std::size_t satellite, double t) {
    const auto at = static_cast<std::int64_t>(std::floor(t / NodeStep));
    const auto index = static_cast<std::size_t>(std::max<std::int64_t>(at - first_, 0));
    while (index + 1 >= nodes_.size()) Extend();
    const Node& a = nodes_[index][satellite];
    const Node& b = nodes_[index + 1][satellite];

    // The quintic about a, in u = time since a: posn, vely and half the acceleration, and three terms that lead to b.
    constexpr double H = NodeStep;
    const double u = (t - static_cast<double>(at) * NodeStep) / H;
    const Vector dp = b.state.posn - (a.state.posn + a.state.vely * H + a.accel * (0.5 * H * H));
    const Vector dv = (b.state.vely - (a.state.vely + a.accel * H)) * H;
    const Vector da = (b.accel - a.accel) * (H * H);
    const Vector c3 = dp * 10.0 - dv * 4.0 + da * 0.5;
    const Vector c4 = dp * -15.0 + dv * 7.0 - da;
    const Vector c5 = dp * 6.0 - dv * 3.0 + da * 0.5;
    State state;
    state.posn = a.state.posn + a.state.vely * (H * u) + a.accel * (0.5 * H * H * u * u) +
                 (c3 + (c4 + c5 * u) * u) * (u * u * u);
    state.vely = a.state.vely + a.accel * (H * u) + (c3 * 3.0 + (c4 * 4.0 + c5 * (5.0 * u)) * u) * (u * u / H);
    return state;
}

void SimulatedOrbits::Forget(double t) {
    const auto keep = static_cast<std::int64_t>(std::floor(t / NodeStep));
    while (first_ < keep && nodes_.size() > 2) {
        nodes_.pop_front();
        ++first_;
    }
}

}  // namespace Host
