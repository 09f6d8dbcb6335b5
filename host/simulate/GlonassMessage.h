// The navigation message of a GLONASS satellite, from its contents to its bits.
#pragma once

#include "gnss/geodesy/ECEF.h"
#include "gnss/icd/ICDGlonass.h"

namespace Host {

// Everything in the units of the interface control document (edition 5.1, tables 4.5 and 4.9).
// Strings 1 to 4: immediate data.
struct GlonassBroadcast {
    int slot = 0;
    double tb = 0.0;   // seconds of the Moscow day, a multiple of 900
    bool odd = false;  // the flag P2
    bool healthy = true;
    GNSS::ECEF::Delta posn;   // km
    GNSS::ECEF::Delta vely;   // km/s
    GNSS::ECEF::Delta accel;  // km/s2
    double tau = 0.0;         // tau_n, s
    double gamma = 0.0;
};
// String 5.
struct GlonassSystemTime {
    int dayOfAlmanac = 0;  // N^A
    double tauC = 0.0;     // s
    int fourYears = 0;     // N4, 1 from 1996
    double tauGPS = 0.0;   // s
    bool healthy = true;   // the satellite that sends it
};
// Two strings of a frame.
struct GlonassAlmanacEntry {
    int slot = 0;
    int channel = 0;
    bool healthy = true;
    double tau = 0.0;     // s
    double lambda = 0.0;  // semicircles
    double di = 0.0;      // semicircles, against 63 degrees
    double e = 0.0;
    double w = 0.0;        // semicircles
    double tLambda = 0.0;  // s
    double dT = 0.0;       // s, against 43200
    double dTRate = 0.0;   // s per revolution
    bool senderHealthy = true;
};

// String 1, 2, 3 or 4 of a frame that begins at a second of the Moscow day, of a day of the four-year interval.
[[nodiscard]] GNSS::ICDGlonass::String MakeImmediateString(const GlonassBroadcast& broadcast, int number,
                                                           double frameTime, int day);
[[nodiscard]] GNSS::ICDGlonass::String MakeSystemString(const GlonassSystemTime& time);
// An even one, 6 to 14, or the odd one that follows it.
[[nodiscard]] GNSS::ICDGlonass::String MakeAlmanacString(const GlonassAlmanacEntry& entry, int number);
[[nodiscard]] GNSS::ICDGlonass::String MakeEmptyString(int number);

}  // namespace Host
