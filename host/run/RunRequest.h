// RunRequest: what a run is to do.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "gnss/time/GPSTime.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"
#include "host/fix/FixSettings.h"

namespace Host {

struct RunRequest {
    std::vector<std::string> inputs;  // "-" is standard input
    FixSettings settings;
    // About when it was, to half a week: for streams that do not tell the week. Without it the other inputs are asked.
    std::optional<GNSS::GPSTime> date;
    // Each ephemeris of a log only from when it was received, as live; otherwise the log's ephemerides are known from
    // its beginning, as those of a navigation file are. Standard input is always as received.
    bool asReceived = false;
    // The operator's list.
    std::vector<GNSS::PRN> disabledGPS;
    std::vector<GNSS::Glonass::Slot> disabledGlonass;
};

}  // namespace Host
