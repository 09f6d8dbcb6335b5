// GNSS::Almanac::GlonassSV: the almanac of one GLONASS satellite.
#pragma once

#include "gnss/almanac/Almanac.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Date.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GloTime.h"
#include "gnss/time/GlonassSlot.h"

namespace GNSS {

// What the odd and the even string of a slot say (GLONASS interface control document, edition 5.1, 4.5), and where that
// puts the satellite.
//
// CalculatePosn and GermanCalc turn a Kepler ellipse with the secular drifts of node and perigee. With the same earth
// rate they stay within five kilometres, over a revolution, of the full almanac algorithm of the document, which Orbit
// and Delta (AlmanacGlonassOrbit.h) follow.
//
// The class's own earth rate, which is intended, puts every position further west: by 1e-6 rad per second since the
// node crossing, 2.5 degrees after half a day and 4.95 after a day, without end as the almanac ages. In a log of June
// 2023, 13 to 15 hours after the node, the positions of R02, R03, R11 and R12 were 1009, 553, 660 and 782 km from the
// ephemerides, and 1.67, 1.91, 3.72 and 2.91 km once turned back. Seen from middle latitudes within half a day of the
// node, directions are up to 3.0 degrees off and risings and settings up to 5.7 minutes; within a day up to 5.9 degrees
// and, for passes that graze the mask, 19 minutes (docs/accuracy.md).
//
// NaN or infinite fields give positions of NaN.
class GNSS_EXPORT Almanac::GlonassSV {
public:
    class Orbit;  // the document's almanac algorithm: the elements at one instant
    class Delta;  // and what the earth's flattening adds to them

    // Second zonal harmonic of the earth.
    static constexpr double C20 = -0.00108263;
    // Gravitational constant of the earth, km^3/s^2.
    static constexpr double Gravity = 398600.44;
    // Equatorial radius of the earth, km.
    static constexpr double Radius = 6378.136;
    // Rotation of the earth, rad/s. Not the usual 7.292115e-05, and intended: every position of a GLONASS almanac lies
    // 1e-6 rad further west for each second since the node crossing (92 km at the equator of the orbit after an hour).
    static constexpr double EarthRate = 7.392115e-05;

    Glonass::Slot slot;
    int channel = 0;        // frequency channel, -7 to 24
    GPSTime time;           // dates the record; the node crossing must lie within two weeks of it
    int health = 0;         // 1 = usable
    int day = 0;            // day of the four-year interval that the node crossing belongs to, 1 to 1461
    Corvane::Angle Lambda;  // longitude of the first ascending node of the day, earth-fixed
    double TLambda = 0.0;   // time of that crossing, seconds of the day of GLONASS time
    double Eccent = 0.0;    // eccentricity
    Corvane::Angle W;       // argument of perigee
    Corvane::Angle Di;      // correction to the mean inclination of 63 degrees
    double DDrac = 0.0;     // correction to the mean draconic period of 43200 s, s
    double DDracDot = 0.0;  // rate of that correction, seconds per revolution squared
    double TauN = 0.0;      // correction of the satellite's clock to GLONASS time, s

    void Reset() { *this = GlonassSV(); }

    // The instant of the node crossing, its four-year interval left to be resolved.
    [[nodiscard]] GloTime GetEpoch() const { return {day, TLambda, GloTime::UnknownYear}; }
    // The mean inclination and the draconic period in seconds, corrections included.
    [[nodiscard]] Corvane::Angle GetInclination() const { return Corvane::Angle::FromDegrees(63.0) + Di; }
    [[nodiscard]] double GetDraconicPeriod() const { return 43200.0 + DDrac; }

    // Position in metres (PZ-90, earth-fixed) at a GPS time, by GermanCalc. Always true. The clock offset is left
    // untouched; intended. Takes the leap-second rule in force; allocates nothing.
    bool CalculatePosn(const GPSTime& t, ECEF& posn, double& clockOffset) const;
    bool CalculatePosn(const GPSTime& t, ECEF& posn) const;
    // Position and velocity (m, m/s, PZ-90, earth-fixed) at a GLONASS time, for the interval that brings the epoch
    // closest to it. The rate of the draconic period is not used. Always true.
    bool GermanCalc(const GloTime& t, ECEF& posn, ECEF::Delta& vely) const;

    // True when the node crossing lies no more than two weeks before or after the time of reception.
    [[nodiscard]] bool IsTimeConsistentWithToI() const;

    // Parts of the full algorithm (appendix 3.2.2 of the document).
    // Semi-major axis in kilometres of the orbit that osculates at the node crossing.
    [[nodiscard]] double CalcA() const;
    // Argument of perigee of an orbit with h = e sin w, l = e cos w: in (-180, +180] degrees; 0 when e is 0.
    [[nodiscard]] static Corvane::Angle Calcwi(double h, double l, double e);
    // Day of a date of GLONASS time in the four-year interval, 1 to 1461.
    [[nodiscard]] static int CalcDayNumber(const Corvane::Date& date);
    // Greenwich mean sidereal time at 0 h UT of a date, in [0, 360) degrees, by the polynomial of IAU 1982, counted
    // from noon of 1 January 2000 as it should be (unlike GloTime's). The true one differs by up to 1.2 s of time.
    [[nodiscard]] static Corvane::Angle CalcSiderealTime(const Corvane::Date& date);

    // False when the stream fails or a number does not fit into 16 bits; a failed read leaves the object as it was.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);
};

}  // namespace GNSS
