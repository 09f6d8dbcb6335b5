// IODEData: which IODE is current for each GPS satellite. See DataAge.
#pragma once

#include "gnss/ephemeris/DataAge.h"
#include "gnss/ephemeris/GPSEphemeris.h"

namespace GNSS {

extern template class DataAge<GPSSystem>;

}  // namespace GNSS
