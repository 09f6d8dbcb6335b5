// GPSEphemStore: keeps and publishes the broadcast ephemerides of GPS. See EphemerisStore.
#pragma once

#include "gnss/store/EphemerisStore.h"

namespace GNSS {

extern template class EphemerisStore<GPSSystem>;

}  // namespace GNSS
