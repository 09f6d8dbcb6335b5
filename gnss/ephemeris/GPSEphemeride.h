// GNSS::GPSEphemeride: one broadcast ephemeris of one GPS satellite.
#pragma once

#include "gnss/ephemeris/GPSEphemerideStatus.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/Time.h"
#include "gnss/time/Constants.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// The Keplerian orbit with its harmonic corrections, the clock polynomial and the status words of one broadcast of one
// GPS satellite, after IS-GPS-200, 20.3.3.3 and 20.3.3.4. Positions are earth-centred, earth-fixed in WGS 84, of the
// antenna's phase centre, at the GPS system time of the request: neither the signal's time of flight nor the earth's
// turning meanwhile is in them. Against precise orbits they are good to 1 to 2 m within the fit interval.
//
// The seconds of week toe and toc are placed into the week that brings them closest to the reference time; no other
// wrap at half a week is made. NaN or infinite fields give NaN positions and never more than ten Kepler steps.
class GNSS_EXPORT GPSEphemeride {
public:
    // The orbit. Angles and their rates in radians and radians per second.
    struct GNSS_EXPORT Posn {
        int IODE = 0;             // issue of data, ephemeris
        double toe = 0.0;         // reference time, seconds of week
        double sqrtA = 0.0;       // root of the semi-major axis, m^0.5
        double e = 0.0;           // eccentricity
        Corvane::Angle M0;        // mean anomaly at toe
        Corvane::Angle Omega0;    // longitude of the ascending node at the week's start
        Corvane::Angle i0;        // inclination at toe
        Corvane::Angle omega;     // argument of perigee
        Corvane::Angle deltaN;    // correction of the mean motion, per second
        Corvane::Angle OmegaDot;  // rate of right ascension, per second
        Corvane::Angle IDOT;      // rate of inclination, per second
        double Crc = 0.0;         // cosine and sine corrections to the radius, metres
        double Crs = 0.0;
        Corvane::Angle Cuc;  // to the argument of latitude
        Corvane::Angle Cus;
        Corvane::Angle Cic;  // to the inclination
        Corvane::Angle Cis;

        void Reset() { *this = Posn(); }
        // False when the stream fails; a failed read leaves the object as it was.
        bool Write(Corvane::Stream::Output& output) const;
        bool Read(Corvane::Stream::Input& input);
    };

    // The satellite clock's offset from GPS time: af0 + af1 dt + af2 dt^2, dt counted from toc.
    struct GNSS_EXPORT Clock {
        int IODC = 0;      // issue of data, clock
        double toc = 0.0;  // reference time, seconds of week
        double Tgd = 0.0;  // group delay of L1 against the ionosphere-free signal, s
        double af2 = 0.0;  // s/s^2
        double af1 = 0.0;  // s/s
        double af0 = 0.0;  // s

        void Reset() { *this = Clock(); }
        // False when the stream fails; a failed read leaves the object as it was.
        bool Write(Corvane::Stream::Output& output) const;
        bool Read(Corvane::Stream::Input& input);
    };

    using Status = GPSEphemerideStatus;

    // What a position calculation returns.
    struct Result {
        bool valid = false;            // a position was computed
        ECEF posn;                     // metres, earth-fixed at the time of the calculation
        double clockCorrection = 0.0;  // s: polynomial plus relativistic term, group delay not applied
        double groupDelay = 0.0;       // s: the clock's Tgd
        int IODE = -1;                 // of the ephemeride used
        bool healthy = false;          // its health word was 0

        void Reset() { *this = Result(); }
        // True for a valid position of a healthy satellite from the ephemeride with this IODE.
        [[nodiscard]] bool IsOK(int iode) const { return valid && IODE == iode && healthy; }
    };

    // WGS 84 gravitational constant of the earth, m^3/s^2, as the user algorithm of IS-GPS-200 is asked here.
    static constexpr double Gravity = 3.986004418e14;
    // Rotation of the earth, per second.
    static constexpr Corvane::Angle EarthRate{7.2921151467e-5};
    // Relativistic clock constant, s/m^0.5.
    static constexpr double F = -4.442807633e-10;

    PRN prn;
    GPSTime reference;  // near which the record is valid; places toe and toc in their week
    Posn posn;
    Clock clock;
    Status status;

    void Reset() { *this = GPSEphemeride(); }

    // Position and clock at a GPS system time. An unhealthy satellite is an answer: true with Result::valid false.
    // False when t lies outside the validity interval about toc. Allocates nothing.
    bool CalculatePosn(const GPSTime& t, Result& result) const;
    // Velocity at a GPS system time, metres per second in the earth-fixed frame: the time derivative of the position
    // that CalculatePosn gives, without its tests of health and age.
    [[nodiscard]] ECEF::Delta CalculateVely(const GPSTime& t) const;
    // True when t lies more than the validity interval from toc: 7500 s, or with a fit interval half of it (whole
    // hours) plus 300 s. Both ends are valid.
    [[nodiscard]] bool IsTooOld(const GPSTime& t) const;

    // toc and toe with their week.
    [[nodiscard]] GPSTime GetTOC() const { return reference.GetClosest(clock.toc); }
    [[nodiscard]] GPSTime GetTOE() const { return reference.GetClosest(posn.toe); }

    // M0 + n tk, lifted by one turn when negative; no other wrap.
    [[nodiscard]] Corvane::Angle MeanAnomaly(const Corvane::Time& tk, const Corvane::Angle& n) const;
    // Kepler's equation for this record's eccentricity.
    [[nodiscard]] Corvane::Angle EccentricAnomaly(const Corvane::Angle& M) const;

    // False when the stream fails or the week does not fit into 16 bits; a failed read leaves the object as it was. A
    // stored satellite number is taken as by PRN::Set: 0, as a record without a satellite has it, becomes PRN 32.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);
};

}  // namespace GNSS
