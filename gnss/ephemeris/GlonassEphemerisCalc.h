// Glonass::EphemerisCalc: GLONASS satellite positions from the ephemerides in force. See EphemerisCalculator.
#pragma once

#include "gnss/ephemeris/EphemerisCalculator.h"

namespace GNSS {

extern template class EphemerisCalculator<GlonassSystem>;

}  // namespace GNSS
