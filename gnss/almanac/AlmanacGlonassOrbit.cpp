#include "gnss/almanac/AlmanacGlonassOrbit.h"

#include <cmath>
#include <numbers>

#include "gnss/almanac/GlonassAlmanacModel.h"
#include "gnss/geodesy/Kepler.h"

namespace GNSS {

using Corvane::Angle;

namespace {

constexpr double MetresPerKm = 1000.0;

// Three halves of the harmonic, scaled to an orbit of this size; below zero as C20 is.
double Flattening(double size) {
    const double ratio = Almanac::GlonassSV::Radius / size;
    return 1.5 * Almanac::GlonassSV::C20 * ratio * ratio;
}

}  // namespace

double Almanac::GlonassSV::CalcA() const {
    // The draconic period follows from the osculating one and that from the axis: a fixed point that is reached to a
    // metre in two or three steps.
    constexpr int MaxSteps = 10;
    constexpr double Enough = 1e-3;  // km
    const double period = GetDraconicPeriod();
    const double shape = 1.0 - Eccent * Eccent;
    const double atNode = 1.0 + Eccent * cos(W);  // the argument of perigee is minus the true anomaly there
    const double sinI = sin(GetInclination());
    const double share =
        (2.0 - 2.5 * sinI * sinI) * shape * std::sqrt(shape) / (atNode * atNode) + atNode * atNode * atNode / shape;
    const auto axisOf = [](double osculating) {
        const double n = 2.0 * std::numbers::pi / osculating;
        return std::cbrt(Gravity / (n * n));
    };
    double axis = axisOf(period);
    for (int step = 0; step < MaxSteps; ++step) {
        const double next = axisOf(period / (1.0 + Flattening(axis * shape) * share));
        const double change = std::abs(next - axis);
        axis = next;
        if (change < Enough) break;
    }
    return axis;
}

Almanac::GlonassSV::Orbit GlonassAlmanacModel::CalculateOrbit(const Almanac::GlonassSV& record, double dt,
                                                              double earthRate) {
    const double e = record.Eccent;
    const double period = record.GetDraconicPeriod();
    const double n = 2.0 * std::numbers::pi / period;

    Almanac::GlonassSV::Orbit node;
    node.a = record.CalcA();
    node.h = e * sin(record.W);
    node.l = e * cos(record.W);
    node.i = record.GetInclination();
    const double E = 2.0 * std::atan(std::sqrt((1.0 - e) / (1.0 + e)) * tan(record.W * -0.5));
    node.Lambda = Angle(E - e * std::sin(E)) + record.W;

    // The last node passage before, `revolutions` after the almanac's, and the time since it.
    const double revolutions = std::floor(dt / period);
    const double passage = period * revolutions + record.DDracDot * revolutions * revolutions;
    const double tau = dt - passage;
    const double shape = 1.0 - e * e;
    const double nodeRate = Flattening(node.a) * n * cos(node.i) / (shape * shape);
    node.Omega = record.Lambda + Angle(nodeRate - earthRate) * passage - Angle(earthRate) * tau;

    Almanac::GlonassSV::Delta before;
    before.Calculate(node, 0.0);
    Almanac::GlonassSV::Delta after;
    after.Calculate(node, n * tau);
    Almanac::GlonassSV::Orbit orbit = node;
    orbit.Lambda += Angle(n * tau);
    orbit.Update(after.Subtract(before));
    return orbit;
}

bool Almanac::GlonassSV::Orbit::Calculate(const GlonassSV& record, const GloTime& t) {
    *this = GlonassAlmanacModel::CalculateOrbit(record, t.Subtract(record.GetEpoch()), EarthRate);
    return true;
}

void Almanac::GlonassSV::Orbit::Update(const Delta& change) {
    a += a * change.a;
    h += change.h;
    l += change.l;
    Omega += Angle(change.Omega);
    i += Angle(change.i);
    Lambda += Angle(change.Lambda);
}

double Almanac::GlonassSV::Orbit::CalcEccent() const {
    return std::sqrt(h * h + l * l);
}

Angle Almanac::GlonassSV::Orbit::Calcw() const {
    return Calcwi(h, l, CalcEccent());
}

void Almanac::GlonassSV::Orbit::GetState(Angle siderealTime, ECEF& posn, ECEF::Delta& vely) const {
    const double e = CalcEccent();
    const Angle w = Calcw();
    const auto anomaly = SolveKepler((Lambda - w).Radians(), e, KeplerStop::AtOrBelow);
    const double minorAxis = std::sqrt(1.0 - e * e);
    const double shrink = 1.0 - e * anomaly.cosE;
    const double nu = std::atan2(minorAxis * anomaly.sinE, anomaly.cosE - e);
    const Angle u = w + Angle(nu);
    const double radius = a * shrink;
    const double speed = std::sqrt(Gravity / a) / minorAxis;
    const double vRadial = speed * e * std::sin(nu);
    const double vAlong = speed * (1.0 + e * std::cos(nu));

    const Angle node = Omega + siderealTime;
    const double cu = cos(u);
    const double su = sin(u);
    const double cO = cos(node);
    const double sO = sin(node);
    const double ci = cos(i);
    const double si = sin(i);
    const ECEF::Delta up(cu * cO - su * sO * ci, cu * sO + su * cO * ci, su * si);
    const ECEF::Delta along(-su * cO - cu * sO * ci, -su * sO + cu * cO * ci, cu * si);
    posn = ECEF() + up * (radius * MetresPerKm);
    vely = (up * vRadial + along * vAlong) * MetresPerKm;
}

void Almanac::GlonassSV::Orbit::GetEarthFixedState(ECEF& posn, ECEF::Delta& vely) const {
    GetState(Angle::Zero, posn, vely);
    vely += ECEF::Delta(EarthRate * posn.GetY(), -EarthRate * posn.GetX(), 0.0);
}

void Almanac::GlonassSV::Delta::Calculate(const Orbit& node, double motion) {
    const double B = -Flattening(node.a);
    const double hh = node.h;
    const double ll = node.l;
    const double si = sin(node.i);
    const double ci = cos(node.i);
    const double s2 = si * si;
    const double c2 = ci * ci;
    const double mean = 1.0 - 1.5 * s2;

    const double lambda = node.Lambda.Radians() + motion;
    const double sin1 = std::sin(lambda);
    const double cos1 = std::cos(lambda);
    const double sin2 = std::sin(2.0 * lambda);
    const double cos2 = std::cos(2.0 * lambda);
    const double sin3 = std::sin(3.0 * lambda);
    const double cos3 = std::cos(3.0 * lambda);
    const double sin4 = std::sin(4.0 * lambda);
    const double cos4 = std::cos(4.0 * lambda);

    a = 2.0 * B * mean * (ll * cos1 + hh * sin1) +
        B * s2 * (0.5 * hh * sin1 - 0.5 * ll * cos1 + cos2 + 3.5 * ll * cos3 + 3.5 * hh * sin3);
    h = B * mean * (ll * motion + sin1 + 1.5 * ll * sin2 - 1.5 * hh * cos2) -
        0.25 * B * s2 * (sin1 - 7.0 / 3.0 * sin3 + 5.0 * ll * sin2 - 8.5 * ll * sin4 + 8.5 * hh * cos4 + hh * cos2) +
        B * c2 * (ll * motion - 0.5 * ll * sin2);
    l = B * mean * (-hh * motion + cos1 + 1.5 * ll * cos2 + 1.5 * hh * sin2) -
        0.25 * B * s2 * (-cos1 - 7.0 / 3.0 * cos3 - 5.0 * hh * sin2 - 8.5 * ll * cos4 - 8.5 * hh * sin4 + ll * cos2) +
        B * c2 * (-hh * motion + 0.5 * hh * sin2);
    const double nodal =
        motion + 3.5 * ll * sin1 - 2.5 * hh * cos1 - 0.5 * sin2 - 7.0 / 6.0 * ll * sin3 + 7.0 / 6.0 * hh * cos3;
    Omega = -B * ci * nodal;
    i = 0.5 * B * si * ci * (-ll * cos1 + hh * sin1 + cos2 + 7.0 / 3.0 * ll * cos3 + 7.0 / 3.0 * hh * sin3);
    Lambda = 2.0 * B * mean * (motion + 1.75 * ll * sin1 - 1.75 * hh * cos1) +
             3.0 * B * s2 *
                 (-7.0 / 24.0 * hh * cos1 - 7.0 / 24.0 * ll * sin1 - 49.0 / 72.0 * hh * cos3 + 49.0 / 72.0 * ll * sin3 +
                  0.25 * sin2) +
             B * c2 * nodal;
}

Almanac::GlonassSV::Delta Almanac::GlonassSV::Delta::Subtract(const Delta& other) const {
    Delta d;
    d.a = a - other.a;
    d.h = h - other.h;
    d.l = l - other.l;
    d.Omega = Omega - other.Omega;
    d.i = i - other.i;
    d.Lambda = Lambda - other.Lambda;
    return d;
}

}  // namespace GNSS
