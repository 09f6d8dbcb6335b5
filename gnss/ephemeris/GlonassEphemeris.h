// Glonass::Ephemeris: the last four broadcast ephemerides of every GLONASS satellite. See EphemerisHistory.
#pragma once

#include "gnss/ephemeris/EphemerisHistory.h"
#include "gnss/ephemeris/GlonassEphemerisCalc.h"

namespace GNSS {

extern template class EphemerisHistory<GlonassSystem>;

}  // namespace GNSS
