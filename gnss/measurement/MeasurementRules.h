// What is particular to one system among the measurements.
#pragma once

#include "gnss/fwd.h"

namespace GNSS {

template <typename System>
struct MeasurementRules;

template <>
struct MeasurementRules<GPSSystem> {
    // Whether a satellite carries the number of the receiver channel that tracks it.
    static constexpr bool HasReceiverChannel = false;
    // Whether two ranges give a measured ionospheric delay.
    static constexpr bool HasIonoDelay = true;
};

// Both differences from GPS are intended.
template <>
struct MeasurementRules<GlonassSystem> {
    // A satellite may be tracked before its slot is known; the receiver channel then tells it from the others.
    static constexpr bool HasReceiverChannel = true;
    // The delay is not provided: callers treat these satellites as having none measured.
    static constexpr bool HasIonoDelay = false;
};

}  // namespace GNSS
