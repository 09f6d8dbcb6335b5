// PRN: the number of a GPS satellite, 1 to 32, or null; PRN::List is an ordered sequence of them. See SatelliteId.
#pragma once

#include "gnss/time/GPSSystem.h"
#include "gnss/time/SatelliteId.h"

namespace GNSS {

extern template Corvane::String SatelliteId<GPSSystem>::Print(bool, bool) const;
extern template void SatelliteId<GPSSystem>::PrintTo(std::ostream&) const;
extern template class SatelliteId<GPSSystem>::List;

}  // namespace GNSS
