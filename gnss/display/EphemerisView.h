// GNSS::EphemerisView: the stored GPS ephemerides parameter by parameter. See HistoryView.
#pragma once

#include "gnss/display/HistoryView.h"
#include "gnss/ephemeris/GPSEphemeris.h"

namespace GNSS {

extern template class HistoryView<GPSSystem>;

}  // namespace GNSS
