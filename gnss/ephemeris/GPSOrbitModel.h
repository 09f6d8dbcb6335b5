// The GPS user algorithm with the gravitational constant as an argument. Not part of the public interface: the record
// computes with GPSEphemeride::Gravity, and the tests compare with programs that take the constant of IS-GPS-200.
#pragma once

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Export.h"
#include "gnss/time/GPSTime.h"

namespace GNSS::GPSOrbitModel {

// GPSEphemeride::CalculatePosn and CalculateVely, the constant in m^3/s^2.
GNSS_EXPORT bool CalculatePosn(const GPSEphemeride& record, const GPSTime& t, double gravity,
                               GPSEphemeride::Result& result);
[[nodiscard]] GNSS_EXPORT ECEF::Delta CalculateVely(const GPSEphemeride& record, const GPSTime& t, double gravity);

}  // namespace GNSS::GPSOrbitModel
