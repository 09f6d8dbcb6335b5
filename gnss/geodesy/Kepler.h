// Kepler's equation, M = E - e sin E, as the GPS user algorithm solves it.
#pragma once

#include "gnss/platform/Export.h"

namespace GNSS {

// An eccentric anomaly in radians with its sine and cosine.
struct EccentricAnomalyResult {
    double E;
    double sinE;
    double cosE;
};

// Newton's iteration from E = 3.1415926535898, at most ten steps. A step's residual is that of the estimate before it;
// the step that meets the stop test is still applied. The two users stop at different residuals: below 1e-15, or at
// 1e-15 and below. NaN and infinite arguments give NaN; e is meant to be below 1.
enum class KeplerStop { Below, AtOrBelow };
[[nodiscard]] GNSS_EXPORT EccentricAnomalyResult SolveKepler(double M, double e, KeplerStop stop);

}  // namespace GNSS
