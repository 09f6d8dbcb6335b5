// Glonass::Slot: the number of a GLONASS orbital slot, 1 to 24, or null; Glonass::Slot::List is an ordered sequence of
// them. See SatelliteId.
#pragma once

#include "gnss/time/GlonassSystem.h"
#include "gnss/time/SatelliteId.h"

namespace GNSS {

extern template Corvane::String SatelliteId<GlonassSystem>::Print(bool, bool) const;
extern template void SatelliteId<GlonassSystem>::PrintTo(std::ostream&) const;
extern template class SatelliteId<GlonassSystem>::List;

}  // namespace GNSS
