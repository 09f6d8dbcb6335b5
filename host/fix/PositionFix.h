// PositionFix: from the measurements of one epoch to a fix with its quality.
#pragma once

#include <vector>

#include "gnss/measurement/MeasSet.h"
#include "gnss/position/UKOOADesc.h"
#include "host/fix/FixInputs.h"
#include "host/fix/FixResult.h"
#include "host/fix/FixSettings.h"
#include "host/fix/FixSolver.h"
#include "host/fix/FixVelocity.h"

namespace Host {

// One object for a series of epochs, each of which begins at the last position. A step in time of any length is fine.
class PositionFix {
public:
    explicit PositionFix(const FixSettings& settings) : settings_(settings), solver_(settings), velocity_(settings) {}

    [[nodiscard]] const FixSettings& GetSettings() const { return settings_; }
    // The fix of an epoch; good until the next call.
    const FixResult& Compute(const GNSS::MeasSet& set, const FixInputs& inputs);
    // Forgets the last position.
    void Reset() { solver_.Reset(); }

private:
    void Describe();
    void TakeStatistics();

    FixSettings settings_;
    FixSolver solver_;
    FixVelocity velocity_;
    GNSS::UKOOA::Desc::List descs_;
    GNSS::Constellation used_;
    std::vector<double> fLimits_;  // by degrees of freedom; negative where not worked out yet
    FixResult result_;
};

}  // namespace Host
