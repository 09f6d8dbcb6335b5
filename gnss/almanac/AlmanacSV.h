// GNSS::Almanac::SV: the almanac of one GPS satellite.
#pragma once

#include "gnss/almanac/Almanac.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// What subframes 4 and 5 say about one satellite, and the user algorithm of IS-GPS-200 (20.3.3.5.2 and table 20-IV)
// without its harmonic corrections, which the almanac does not have. Positions one and a half to two and a half days
// before toa were 0.5 to 3.6 km from the ephemerides (nine satellites, April 2025).
//
// NaN or infinite fields, and the zeros of a fresh record, give positions of NaN.
class GNSS_EXPORT Almanac::SV {
public:
    PRN prn;
    GPSTime time;             // dates the record; set by whoever delivers it, and orders updates
    GPSTime toa;              // reference time of the orbit and the clock, with its full week
    int health = 0;           // the 8 bits of the page; 0 = all well
    double e = 0.0;           // eccentricity
    Corvane::Angle i;         // inclination: the broadcast difference plus 0.3 semicircles
    Corvane::Angle OmegaDot;  // rate of right ascension, per second
    double sqrtA = 0.0;       // root of the semi-major axis, m^0.5
    Corvane::Angle Omega0;    // longitude of the ascending node at the start of toa's week
    Corvane::Angle w;         // argument of perigee
    Corvane::Angle M0;        // mean anomaly at toa
    double af0 = 0.0;         // clock offset at toa, s
    double af1 = 0.0;         // clock drift, s/s

    void Reset() { *this = SV(); }

    // M0 + n dt, lifted by one turn when negative; no other wrap.
    [[nodiscard]] Corvane::Angle MeanAnomaly(Corvane::Time dt, Corvane::Angle n) const;
    // Kepler's equation for this record's eccentricity.
    [[nodiscard]] Corvane::Angle EccentricAnomaly(Corvane::Angle M) const;

    // Position in metres (WGS 84, earth-fixed) at a GPS system time, and the satellite clock's offset from GPS time in
    // seconds, relativistic term included. Always true: how old the record may be is for the caller to say. Allocates
    // nothing.
    bool CalculatePosn(const GPSTime& t, ECEF& posn, double& clockOffset) const;
    bool CalculatePosn(const GPSTime& t, ECEF& posn) const;

    // False when the stream fails or a number does not fit into 16 bits; a failed read leaves the object as it was. A
    // stored number that is no satellite's, 0 included, gives a record without a satellite.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);
};

}  // namespace GNSS
