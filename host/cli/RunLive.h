// gnss run with live sources.
#pragma once

#include "host/run/RunSettings.h"

namespace Host {

// Whether one of the inputs is live, or there is none: then the simulated receiver is.
[[nodiscard]] bool IsLive(const RunRequest& request);
// Returns the exit code.
[[nodiscard]] int RunLive(RunSettings settings);

}  // namespace Host
