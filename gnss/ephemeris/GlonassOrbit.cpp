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

template <typename Function>
inline Orbit Step(const Orbit& y, double h, const ECEF& a, Function f) {
    const Orbit k1 = f(y, a);
    const Orbit k2 = f(y + k1 * (h * 0.5), a);
    const Orbit k3 = f(y + k2 * (h * 0.5), a);
    const Orbit k4 = f(y + k3 * h, a);
    return y + (k1 + k2 * 2.0 + k3 * 2.0 + k4) * (h * (1.0 / 6.0));
}

// One Runge-Kutta step of the rotating frame, in the form that the method takes for second derivatives: the velocities
// of the stages are put into the positions by hand, p3 = p2 + (h/2)^2 a1, p4 = p + h v + h^2/2 a2 and p' = p + h v +
// h^2/6 (a1 + a2 + a3). The same step but for the order of roundings, with a third less to wait for from one attraction
// to the next: what each position needs besides is worked out meanwhile.
struct RotatingStep {
    struct Vector {
        double x, y, z;
    };

    // What the acceleration has besides the earth's attraction.
    static Vector Base(const Vector& p, const Vector& v, const ECEF& a) {
        constexpr double W = Orbit::EarthRate;
        return {W * W * p.x + 2.0 * W * v.y + a.GetX(), W * W * p.y - 2.0 * W * v.x + a.GetY(), a.GetZ()};
    }
    static Attraction Pull(const Vector& p) { return Attract({p.x, p.y, p.z, 0.0, 0.0, 0.0}); }
    static Vector Add(const Vector& base, const Vector& p, const Attraction& pull) {
        return {base.x + p.x * pull.plane, base.y + p.y * pull.plane, base.z + p.z * pull.axis};
    }
    static Vector Add(const Vector& a, double f, const Vector& b) {
        return {a.x + f * b.x, a.y + f * b.y, a.z + f * b.z};
    }
    // start + f (base + p pull), with the product that is ready last taken last.
    static Vector Move(const Vector& start, double f, const Vector& base, const Vector& p, const Attraction& pull) {
        return {(start.x + f * base.x) + (f * p.x) * pull.plane, (start.y + f * base.y) + (f * p.y) * pull.plane,
                (start.z + f * base.z) + (f * p.z) * pull.axis};
    }

    // Inlined: a state that goes through memory costs more than the step's own arithmetic saves.
    [[gnu::always_inline]] Orbit operator()(const Orbit& s, double h, const ECEF& a) const {
        const double half = h * 0.5;
        const Vector p{s.x, s.y, s.z};
        const Vector v{s.vx, s.vy, s.vz};
        const Attraction pull1 = Pull(p);
        const Vector p2 = Add(p, half, v);
        const Attraction pull2 = Pull(p2);
        const Vector far = Add(p, h, v);  // p + h v

        const Vector base1 = Base(p, v, a);
        const Vector p3 = Move(p2, half * half, base1, p, pull1);
        const Vector a1 = Add(base1, p, pull1);
        const Attraction pull3 = Pull(p3);
        const Vector base2 = Base(p2, Add(v, half, a1), a);
        const Vector p4 = Move(far, h * half, base2, p2, pull2);
        const Vector a2 = Add(base2, p2, pull2);
        const Attraction pull4 = Pull(p4);
        const Vector base3 = Base(p3, Add(v, half, a2), a);
        const Vector a3 = Add(base3, p3, pull3);
        const Vector base4 = Base(p4, Add(v, h, a3), a);

        const double sixth = h * (1.0 / 6.0);
        const Vector posn = Move(Add(Add(far, h * sixth, a1), h * sixth, a2), h * sixth, base3, p3, pull3);
        const Vector early = Add(Add(Add(v, sixth, a1), 2.0 * sixth, a2), 2.0 * sixth, a3);
        const Vector vely = Move(early, sixth, base4, p4, pull4);
        return {posn.x, posn.y, posn.z, vely.x, vely.y, vely.z};
    }
};

// A whole interval in steps of `step` and a last shorter one; `take` is one step of an orbit.
template <typename Take>
inline Orbit Run(Orbit state, double interval, double step, Take take) {
    constexpr double MostSteps = 1e6;
    if (!(step > 0.0) || !(std::abs(interval) <= step * MostSteps)) {
        constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
        return {NaN, NaN, NaN, NaN, NaN, NaN};
    }
    double left = interval;
    if (interval >= 0.0) {
        while (left >= step) {
            state = take(state, step);
            left -= step;
        }
        if (left > 0.0) state = take(state, left);
    } else {
        while (left <= -step) {
            state = take(state, -step);
            left += step;
        }
        if (left < 0.0) state = take(state, left);
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

Orbit Orbit::Rotating(const Orbit& s, const ECEF& a) {
    constexpr double W = EarthRate;
    const Attraction pull = Attract(s);
    return {s.vx,
            s.vy,
            s.vz,
            (W * W * s.x + 2.0 * W * s.vy + a.GetX()) + s.x * pull.plane,
            (W * W * s.y - 2.0 * W * s.vx + a.GetY()) + s.y * pull.plane,
            s.z * pull.axis + a.GetZ()};
}

Orbit Orbit::Absolute(const Orbit& s, const ECEF& a) {
    const Attraction pull = Attract(s);
    return {s.vx, s.vy, s.vz, s.x * pull.plane + a.GetX(), s.y * pull.plane + a.GetY(), s.z * pull.axis + a.GetZ()};
}

Orbit Orbit::Integrate(double h, const ECEF& acceleration, Derivative derivative) const {
    return Step(*this, h, acceleration, derivative);
}

void Orbit::Integrate(double interval, double step, const ECEF& acceleration, Orbit& out, Derivative derivative) const {
    out = Run(*this, interval, step,
              [&](const Orbit& state, double h) { return Step(state, h, acceleration, derivative); });
}

Orbit Orbit::IntegrateRotating(double interval, double step, const ECEF& acceleration) const {
    return Run(
        *this, interval, step, [&](const Orbit& state, double h) __attribute__((always_inline)) {
            return RotatingStep()(state, h, acceleration);
        });
}

}  // namespace GNSS::Glonass
