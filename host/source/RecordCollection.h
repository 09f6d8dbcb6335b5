// The navigation records of a whole log, as a navigation file would hold them.
#pragma once

#include <optional>

#include "gnss/time/GPSTime.h"
#include "host/receiver/RinexNavigation.h"
#include "host/source/Input.h"

namespace Host {

// Decodes an open stream to its end and keeps the ephemerides, each with the time at which it was received, and the
// first ionosphere parameters. What a receiver hears again is kept once. The date is for streams that tell no week.
[[nodiscard]] RinexNavigation CollectRecords(Input& input, const std::optional<GNSS::GPSTime>& date);

}  // namespace Host
