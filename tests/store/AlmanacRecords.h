// Almanac records for the tests of the store.
#pragma once

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/time/GloTime.h"

namespace tests {

// All are dated `seconds` into a week after those of the built-in records.
inline GNSS::GPSTime DateOf(double seconds) {
    return {2300, seconds};
}

inline GNSS::Almanac::SV MakeSV(int prn, double seconds, int health = 0) {
    GNSS::Almanac::SV sv;
    sv.prn = GNSS::PRN(prn);
    sv.time = sv.toa = DateOf(seconds);
    sv.health = health;
    sv.sqrtA = 5153.7;
    sv.M0 = Corvane::Angle(0.1 * prn);
    return sv;
}

// Of a node crossing at that time.
inline GNSS::Almanac::GlonassSV MakeGlonassSV(int slot, double seconds, int health = 1) {
    GNSS::Almanac::GlonassSV sv;
    sv.slot = GNSS::Glonass::Slot(slot);
    sv.time = DateOf(seconds);
    const GNSS::GloTime crossing(sv.time);
    sv.day = crossing.GetDay();
    sv.TLambda = crossing.GetSeconds();
    sv.health = health;
    return sv;
}

inline GNSS::Almanac::Iono MakeIono(double seconds) {
    GNSS::Almanac::Iono iono;
    iono.time = DateOf(seconds);
    return iono;
}

// A leap of two seconds, as no other rule has it.
inline GNSS::Almanac::UTC MakeUTC(double seconds) {
    GNSS::Almanac::UTC utc;
    utc.time = DateOf(seconds);
    utc.WNLSF = 2301;
    utc.DN = 7;
    utc.DtLS = 18;
    utc.DtLSF = 20;
    return utc;
}

inline GNSS::Almanac MakeAlmanac(int nmrSV, int nmrGlonassSV) {
    GNSS::Almanac almanac;
    for (int i = 1; i <= nmrSV; ++i) almanac.UpdateSV(MakeSV(i, 0.0));
    for (int i = 1; i <= nmrGlonassSV; ++i) almanac.UpdateGlonassSV(MakeGlonassSV(i, 0.0));
    almanac.UpdateIono(MakeIono(0.0));
    almanac.UpdateUTC(MakeUTC(0.0));
    return almanac;
}

}  // namespace tests
