// GNSS::GlonassEphemerisView: the stored GLONASS ephemerides parameter by parameter. See HistoryView.
#pragma once

#include "gnss/display/HistoryView.h"
#include "gnss/ephemeris/GlonassEphemeris.h"

namespace GNSS {

extern template class HistoryView<GlonassSystem>;

}  // namespace GNSS
