// RefusalCount: says who was refused, without filling the log for someone who insists.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

#include "host/live/SteadyClock.h"

namespace Host {

class RefusalCount {
public:
    static constexpr std::chrono::seconds Pause{60};

    // One more. The number since they were last told, if they are to be told now.
    [[nodiscard]] std::optional<std::int64_t> Add(SteadyTime now) {
        ++untold_;
        if (told_ && now - *told_ < Pause) return std::nullopt;
        told_ = now;
        return std::exchange(untold_, 0);
    }

private:
    std::int64_t untold_ = 0;
    std::optional<SteadyTime> told_;
};

}  // namespace Host
