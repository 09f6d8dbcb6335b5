// The receiver's velocity from the Doppler of one epoch.
#pragma once

#include <vector>

#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/platform/LLSq.h"
#include "host/fix/FixSatellite.h"
#include "host/fix/FixSettings.h"

namespace Host {

struct Velocity {
    bool valid = false;
    bool suspect = false;  // the range rates contradict each other, and none can be rejected for it
    // East, north and up, m/s, and their standard deviations.
    GNSS::Grid::Delta vely;
    GNSS::Grid::Delta sd;
    double clockDrift = 0.0;  // of the receiver, m/s
    int nmrUsed = 0;
    int nmrRejected = 0;
};

// Least squares on range rates, a bad one rejected at a time by the w-test. One object for a series of epochs.
class FixVelocity {
public:
    explicit FixVelocity(const FixSettings& settings) : settings_(settings) {}

    // From the satellites that the position used, at that position. Both systems share the drift of the receiver's one
    // oscillator. Not valid with fewer than four range rates or where they do not determine the velocity.
    [[nodiscard]] Velocity Solve(const std::vector<FixSatellite>& satellites, const GNSS::LocalGrid& grid);

private:
    FixSettings settings_;
    Corvane::LLSq llsq_;
};

}  // namespace Host
