// StoreLog: files of any kind that hold navigation records, played into the stores.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "gnss/time/GPSTime.h"
#include "host/receiver/LeapRule.h"
#include "host/stores/StoreTree.h"

namespace Host {

struct StoreLogOptions {
    std::string_view command;  // for what is said of a file that is not read
    bool allWarnings = false;
    // About when streams that tell no week (RTCM 3) were recorded, to half a week.
    std::optional<GNSS::GPSTime> date;
};

// Plays a receiver's log, a navigation file or an almanac file, which is known by all or most of its bytes making one,
// into the stores of the tree by its own time. Leads the clock and the rule along. False, with the reason on standard
// error, when it cannot be read or is none of these.
[[nodiscard]] bool PlayLog(const std::string& path, const StoreLogOptions& options, StoreTree& tree, LeapRule& leaps);

}  // namespace Host
