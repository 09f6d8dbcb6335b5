// GNSS::Almanac::GlonassSV::Orbit and Delta: the almanac algorithm of the GLONASS interface control document.
#pragma once

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/time/GloTime.h"

namespace GNSS {

// The elements of the orbit that osculates at one instant (edition 5.1 of the document, 3.2.2 of appendix 3): those of
// the last node passage before it, moved by the difference of what the second zonal harmonic does at both. Written in
// h = e sin w and l = e cos w, so that it holds for a circle too.
//
// Against an integration of the motion, radius and plane hold to some ten metres; along the track the algorithm falls
// behind by 0.12 m/s and makes up for it at each node passage, where the elements start anew (5 km at most).
class GNSS_EXPORT Almanac::GlonassSV::Orbit {
public:
    double a = 0.0;         // semi-major axis, km
    double h = 0.0;         // e sin w
    double l = 0.0;         // e cos w
    Corvane::Angle Omega;   // longitude of the ascending node, east of Greenwich at that instant
    Corvane::Angle i;       // inclination
    Corvane::Angle Lambda;  // mean longitude in the orbit: mean anomaly plus argument of perigee

    // The elements at a GLONASS time, for the interval that brings the record's epoch closest to it. Always true.
    bool Calculate(const GlonassSV& record, const GloTime& t);
    // Adds a change of the elements.
    void Update(const Delta& change);

    // Eccentricity and argument of perigee.
    [[nodiscard]] double CalcEccent() const;
    [[nodiscard]] Corvane::Angle Calcw() const;

    // Position and velocity (m, m/s) in an inertial frame which the earth, and with it Greenwich, has turned from by
    // siderealTime about the common z axis.
    void GetState(Corvane::Angle siderealTime, ECEF& posn, ECEF::Delta& vely) const;
    // Earth-fixed position and velocity.
    void GetEarthFixedState(ECEF& posn, ECEF::Delta& vely) const;
};

// What the second zonal harmonic adds to the elements by the time when the mean longitude has grown by n tau since the
// node: periodic terms, and secular ones of node, perigee and mean longitude.
class GNSS_EXPORT Almanac::GlonassSV::Delta {
public:
    double a = 0.0;  // as a fraction of the semi-major axis
    double h = 0.0;
    double l = 0.0;
    double Omega = 0.0;   // rad
    double i = 0.0;       // rad
    double Lambda = 0.0;  // rad

    // For an orbit at the node; `motion` is n tau in radians.
    void Calculate(const Orbit& node, double motion);
    // The difference to another.
    [[nodiscard]] Delta Subtract(const Delta& other) const;
};

}  // namespace GNSS
