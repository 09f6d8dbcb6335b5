// Reconnector: how long a source waits before it tries again.
#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "host/live/SteadyClock.h"

namespace Host {

// Casters shut out those who come back too often. The first wait is First, each further one twice the one before, up to
// Longest; each is made up to Jitter longer or shorter, so that many receivers that lost the same caster do not return
// at the same moment. When data have flowed for Settled the next wait is First again.
class Reconnector {
public:
    static constexpr std::chrono::seconds First{10};
    static constexpr std::chrono::seconds Longest{300};
    static constexpr std::chrono::seconds Settled{60};
    static constexpr double Jitter = 0.2;
    // A number from 0 up to 1.
    using Random = std::function<double()>;

    explicit Reconnector(Random random) : random_(std::move(random)) {}

    void OnData(SteadyTime now);
    // The connection has ended or was not made: the wait before the next try. A slow one is the longest, for an answer
    // that will not be another one soon.
    [[nodiscard]] SteadySpan NextWait(bool isSlow);

private:
    Random random_;
    SteadySpan next_ = First;
    std::optional<SteadyTime> flowsSince_;
};

// One generator per source, started from the machine's.
[[nodiscard]] Reconnector::Random MakeJitter();

}  // namespace Host
