// Where the sun and the moon are, as far as their pull on satellites needs it.
#pragma once

#include "gnss/geodesy/ECEF.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// Geocentric, m, axes of the mean equator and equinox of date: the low-precision formulas of the Astronomical Almanac,
// 0.01 degrees for the sun and 0.3 degrees for the moon.
struct SunMoon {
    GNSS::ECEF::Delta sun;
    GNSS::ECEF::Delta moon;

    explicit SunMoon(const GNSS::GPSTime& t);
};

// Greenwich mean sidereal time, rad, unlimited: UT is taken for GPS time, which turns the sky by 0.1 degrees at most.
[[nodiscard]] double SiderealAngle(const GNSS::GPSTime& t);

}  // namespace Host
