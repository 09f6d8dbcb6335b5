#include "gnss/ephemeris/GlonassOrbit.h"

#include <cmath>
#include <limits>

namespace GNSS::Glonass {

namespace {

// What the two derivatives have in common: the factors of x, y and of z in the earth's attraction, km/s^2 per km.
struct Attraction {
    double plane;
    double axis;
};

inline Attraction Attract(const Orbit& s) {
    const double squared = s.x * s.x + s.y * s.y + s.z * s.z;
    // One division, beside the root and not after it: 1/r is r/r^2. What else the two need is at hand before they end.
    const double inverse = 1.0 / squared;
    const double r = std::sqrt(squared);
    const double fiveZZ = 5.0 * (s.z * s.z);
    const double sine = fiveZZ * inverse;  // 5 z^2 / r^2
    const double flattening = (1.5 * Orbit::C20 * Orbit::Radius * Orbit::Radius) * inverse;
    const double pull = Orbit::Gravity * inverse * inverse * r;  // of the point mass, per km
    return {((1.0 - sine) * flattening - 1.0) * pull, ((3.0 - sine) * flattening - 1.0) * pull};
}

struct RotatingDerivative {
    Orbit operator()(const Orbit& s, const ECEF& a) const {
        constexpr double W = Orbit::EarthRate;
        const Attraction pull = Attract(s);
        return {s.vx,
                s.vy,
                s.vz,
                (W * W * s.x + 2.0 * W * s.vy + a.GetX()) + s.x * pull.plane,
                (W * W * s.y - 2.0 * W * s.vx + a.GetY()) + s.y * pull.plane,
                s.z * pull.axis + a.GetZ()};
    }
};

template <typename Function>
inline Orbit Step(const Orbit& y, double h, const ECEF& a, Function f) {
    const Orbit k1 = f(y, a);
    const Orbit k2 = f(y + k1 * (h * 0.5), a);
    const Orbit k3 = f(y + k2 * (h * 0.5), a);
    const Orbit k4 = f(y + k3 * h, a);
    return y + (k1 + k2 * 2.0 + k3 * 2.0 + k4) * (h * (1.0 / 6.0));
}

template <typename Function>
inline Orbit Run(Orbit state, double interval, double step, const ECEF& a, Function f) {
    constexpr double MostSteps = 1e6;
    if (!(step > 0.0) || !(std::abs(interval) <= step * MostSteps)) {
        constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
        return {NaN, NaN, NaN, NaN, NaN, NaN};
    }
    double left = interval;
    if (interval >= 0.0) {
        for (; left >= step; left -= step) state = Step(state, step, a, f);
        if (left > 0.0) state = Step(state, left, a, f);
    } else {
        for (; left <= -step; left += step) state = Step(state, -step, a, f);
        if (left < 0.0) state = Step(state, left, a, f);
    }
    return state;
}

}  // namespace

void Orbit::InitStraight(const ECEF& posn, const ECEF& vely) {
    *this = {posn.GetX(), posn.GetY(), posn.GetZ(), vely.GetX(), vely.GetY(), vely.GetZ()};
}

void Orbit::Init(const ECEF& posn, const ECEF& vely, Corvane::Angle theta) {
    const double s = sin(theta);
    const double c = cos(theta);
    const double vxStill = vely.GetX() - EarthRate * posn.GetY();
    const double vyStill = vely.GetY() + EarthRate * posn.GetX();
    *this = {posn.GetX() * c - posn.GetY() * s, posn.GetX() * s + posn.GetY() * c, posn.GetZ(),
             vxStill * c - vyStill * s,         vxStill * s + vyStill * c,         vely.GetZ()};
}

Orbit Orbit::Rotating(const Orbit& state, const ECEF& acceleration) {
    return RotatingDerivative()(state, acceleration);
}

Orbit Orbit::Absolute(const Orbit& s, const ECEF& a) {
    const Attraction pull = Attract(s);
    return {s.vx, s.vy, s.vz, s.x * pull.plane + a.GetX(), s.y * pull.plane + a.GetY(), s.z * pull.axis + a.GetZ()};
}

Orbit Orbit::Integrate(double h, const ECEF& acceleration, Derivative derivative) const {
    return Step(*this, h, acceleration, derivative);
}

void Orbit::Integrate(double interval, double step, const ECEF& acceleration, Orbit& out, Derivative derivative) const {
    out = Run(*this, interval, step, acceleration, derivative);
}

Orbit Orbit::IntegrateRotating(double interval, double step, const ECEF& acceleration) const {
    return Run(*this, interval, step, acceleration, RotatingDerivative());
}

}  // namespace GNSS::Glonass
