// GNSS::Glonass::Orbit: the state of a GLONASS satellite and its equations of motion.
#pragma once

#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"

namespace GNSS::Glonass {

// Position and velocity in kilometres and kilometres per second, moved by the equations of the GLONASS interface
// control document (edition 5.1, 3.1.2 of appendix 3): the earth's point mass, its second zonal harmonic and a
// lunisolar acceleration that is held constant, integrated by the classical Runge-Kutta method of fourth order. In
// steps of 60 s the integration itself is good to some millimetres over 30 minutes.
class GNSS_EXPORT Orbit {
public:
    static constexpr double Gravity = 398600.44;      // km^3/s^2
    static constexpr double Radius = 6378.136;        // equatorial radius, km
    static constexpr double C20 = -0.00108263;        // second zonal harmonic
    static constexpr double EarthRate = 7.292115e-5;  // rad/s

    // The time derivative of a state under an acceleration in km/s^2.
    using Derivative = Orbit (*)(const Orbit& state, const ECEF& acceleration);

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double vx = 0.0;
    double vy = 0.0;
    double vz = 0.0;

    void Zero() { *this = Orbit(); }
    void ScaleBy(double factor) { *this = *this * factor; }
    void IncreaseBy(const Orbit& other) { *this = *this + other; }
    friend Orbit operator*(const Orbit& a, double f) {
        return {a.x * f, a.y * f, a.z * f, a.vx * f, a.vy * f, a.vz * f};
    }
    friend Orbit operator+(const Orbit& a, const Orbit& b) {
        return {a.x + b.x, a.y + b.y, a.z + b.z, a.vx + b.vx, a.vy + b.vy, a.vz + b.vz};
    }

    // From a position (km) and velocity (km/s), as they are.
    void InitStraight(const ECEF& posn, const ECEF& vely);
    // From an earth-fixed position and velocity into the inertial frame that the earth-fixed one has turned from by
    // `theta`: axes turned back, and the velocity freed of the earth's rotation.
    void Init(const ECEF& posn, const ECEF& vely, Corvane::Angle theta);

    // From the position and velocity of a record's parts (Ephemeride::Posn) likewise.
    template <typename Posn>
    void Init(const Posn& posn, Corvane::Angle theta) {
        Init(posn.posn, posn.vely, theta);
    }
    // Hands the state over in metres and metres per second. The direction is that of an inertial frame at the start,
    // which the rotating integration does not need: its sine and cosine are worked out and not used. Intended.
    template <typename Result>
    void Extract(Result& result, Corvane::Angle theta) const {
        [[maybe_unused]] const double sine = sin(theta);
        [[maybe_unused]] const double cosine = cos(theta);
        result.posn.Set(x * 1000.0, y * 1000.0, z * 1000.0);
        result.vely.Set(vx * 1000.0, vy * 1000.0, vz * 1000.0);
    }

    // The derivative in the rotating, earth-fixed frame.
    [[nodiscard]] static Orbit Rotating(const Orbit& state, const ECEF& acceleration);
    // The derivative in an inertial frame with the same z axis; the acceleration along its axes.
    [[nodiscard]] static Orbit Absolute(const Orbit& state, const ECEF& acceleration);

    // One Runge-Kutta step of h seconds.
    [[nodiscard]] Orbit Integrate(double h, const ECEF& acceleration, Derivative derivative) const;
    // A whole interval in seconds, of either sign, in steps of `step` > 0 seconds and one shorter last one. An interval
    // that is not finite, or of more than a million steps, gives a state of NaN.
    void Integrate(double interval, double step, const ECEF& acceleration, Orbit& out, Derivative derivative) const;
    // The same with Rotating, equal but for rounding (below a micrometre), and faster.
    [[nodiscard]] Orbit IntegrateRotating(double interval, double step, const ECEF& acceleration) const;
};

}  // namespace GNSS::Glonass
