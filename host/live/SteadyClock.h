// The monotonic time of everything that waits: retries, silence, timeouts. It never reaches an output.
#pragma once

#include <chrono>
#include <functional>

namespace Host {

using SteadyTime = std::chrono::steady_clock::time_point;
using SteadySpan = std::chrono::steady_clock::duration;
// The time now; a test passes one of its own making.
using SteadyClock = std::function<SteadyTime()>;

}  // namespace Host
