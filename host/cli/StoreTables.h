// What the stores hold, as tables.
#pragma once

#include <optional>

#include "gnss/time/GPSTime.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"
#include "host/stores/StoreWatch.h"

namespace Host {

// Writes the almanacs, the newest ephemeris of each satellite, ionosphere and UTC, data age and health. Ages count to
// `now`; there are none without it. The watch is joined to a tree.
void WriteStores(const StoreWatch& watch, const std::optional<GNSS::GPSTime>& now, Form form, Sink& sink);

}  // namespace Host
