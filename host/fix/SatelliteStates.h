// From the measurements of an epoch to satellites with a range, a place and a clock.
#pragma once

#include <vector>

#include "gnss/measurement/MeasSet.h"
#include "host/fix/FixInputs.h"
#include "host/fix/FixSatellite.h"
#include "host/fix/FixSettings.h"

namespace Host {

// Every satellite of the set, GPS before GLONASS, each in the order of the set: the range that the settings ask for
// and, for those that may be used, the state at the time of transmission. That time is the time of reception by the
// receiver's clock less the range's flight time, less the satellite's clock: an error of the receiver's clock is in
// both and cancels (IS-GPS-200, 20.3.3.3.3.1). A satellite that is there twice counts the first time.
//
// A satellite that cannot be used has the reason in `use`. Into `satellites`, which keeps its memory.
void FindSatellites(const GNSS::MeasSet& set, const FixInputs& inputs, const FixSettings& settings,
                    std::vector<FixSatellite>& satellites);

}  // namespace Host
