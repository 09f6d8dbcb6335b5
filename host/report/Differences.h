// Broadcast orbits and clocks against precise ones.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/HelmertShift.h"
#include "gnss/time/GPSTime.h"
#include "host/receiver/EphemerisSet.h"
#include "host/receiver/Sp3.h"

namespace Host {

// Broadcast minus precise, metres. Radial away from the earth's centre; cross-track along the orbit's normal;
// along-track completes the right-handed frame of the precise orbit, whose velocity is taken in inertial space (v +
// omega x r).
struct OrbitDifference {
    double radial = 0.0;
    double along = 0.0;
    double cross = 0.0;
    [[nodiscard]] double Length() const;
};
[[nodiscard]] OrbitDifference Resolve(const GNSS::ECEF& broadcast, const GNSS::ECEF& precise,
                                      const GNSS::ECEF::Delta& preciseVely);

// One satellite at one precise epoch.
struct Comparison {
    GNSS::GPSTime time;
    char system = 'G';
    int number = 0;
    SatelliteState state;
    bool hasPrecise = false;
    bool isCompared = false;  // counts in the figures
    OrbitDifference orbit;
    // Broadcast minus precise in metres, the median of the system's satellites at the epoch taken away (the time scales
    // differ), the periodic relativistic term out of both. Absent without a precise clock, and where no other satellite
    // of the system has one.
    std::optional<double> clock;
};

// Root mean square, mean, median, 95th percentile and maximum of a row of numbers; of their sizes the last three.
struct Figures {
    std::size_t count = 0;
    double rms = 0.0;
    double mean = 0.0;
    double median = 0.0;
    double percentile95 = 0.0;
    double max = 0.0;
};
[[nodiscard]] Figures MakeFigures(std::vector<double> values);

struct ComparisonOptions {
    Selection rule = Selection::Received;
    const GNSS::HelmertShift* shift = nullptr;  // of GLONASS positions
    // Called before each precise epoch, for what depends on the time (the leap-second rule).
    std::function<void(const GNSS::GPSTime&)> atEpoch;
    std::optional<double> glonassMaxAge;  // s from tb; the rule's own limit when absent
};

// Every satellite of every precise epoch, whether it can be compared or not. A satellite at an epoch that several files
// hold is taken from the first of them.
[[nodiscard]] std::vector<Comparison> Compare(const EphemerisSet& set, const std::vector<Sp3>& precise,
                                              const ComparisonOptions& options);

}  // namespace Host
