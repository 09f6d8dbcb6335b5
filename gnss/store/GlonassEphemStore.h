// Glonass::EphemStore: keeps and publishes the broadcast ephemerides of GLONASS. See EphemerisStore.
#pragma once

#include "gnss/store/EphemerisStore.h"

namespace GNSS {

extern template class EphemerisStore<GlonassSystem>;

}  // namespace GNSS
