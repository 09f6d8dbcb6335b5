// GPSEphemeris: the last three broadcast ephemerides of every GPS satellite. See EphemerisHistory.
#pragma once

#include "gnss/ephemeris/EphemerisHistory.h"
#include "gnss/ephemeris/GPSEphemerisCalc.h"

namespace GNSS {

extern template class EphemerisHistory<GPSSystem>;

}  // namespace GNSS
