#include "host/live/Reconnector.h"

#include <algorithm>
#include <memory>
#include <random>
#include <utility>

namespace Host {

void Reconnector::OnData(SteadyTime now) {
    if (!flowsSince_) flowsSince_ = now;
    if (now - *flowsSince_ >= Settled) next_ = First;
}

SteadySpan Reconnector::NextWait(bool isSlow) {
    flowsSince_.reset();
    const SteadySpan wait = isSlow ? SteadySpan(Longest) : next_;
    next_ = std::min<SteadySpan>(2 * wait, Longest);
    const std::chrono::duration<double> varied = wait * (1.0 + Jitter * (2.0 * random_() - 1.0));
    return std::chrono::duration_cast<SteadySpan>(varied);
}

Reconnector::Random MakeJitter() {
    std::random_device device;
    return [engine = std::mt19937(device())]() mutable { return std::uniform_real_distribution<double>()(engine); };
}

}  // namespace Host
