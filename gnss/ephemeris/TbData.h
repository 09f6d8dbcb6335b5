// TbData: which tb is current for each GLONASS satellite. See DataAge.
#pragma once

#include "gnss/ephemeris/DataAge.h"
#include "gnss/ephemeris/GlonassEphemeris.h"

namespace GNSS {

extern template class DataAge<GlonassSystem>;

}  // namespace GNSS
