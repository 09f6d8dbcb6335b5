// How good a range is.
#pragma once

#include "host/fix/FixSatellite.h"
#include "host/fix/FixSettings.h"

namespace Host {

// The variance of a satellite's range in m2 by the model of RangeWeights, from its elevation, signal strength and
// corrections. Elevations below 3 degrees count as these.
[[nodiscard]] double RangeVariance(const FixSatellite& satellite, const RangeWeights& weights, bool ionosphereModelled);

}  // namespace Host
