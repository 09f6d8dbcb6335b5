#include "gnss/platform/Clock.h"

#include <chrono>
#include <cmath>
#include <memory>
#include <mutex>

namespace Corvane {

namespace {

constexpr Date UnixEpoch(1970, 1, 1);

struct State {
    std::mutex mutex;
    std::shared_ptr<const Clock::Source> source;
};

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
State& TheState() {
    static State state;
    return state;
}
[[maybe_unused]] const State& madeEarly = TheState();

TimeDate SystemNow() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const auto today = floor<days>(now);
    return {UnixEpoch + today.time_since_epoch().count(), TimeOfDay(duration<double>(now - today).count())};
}

}  // namespace

TimeDate Clock::Now() {
    std::shared_ptr<const Source> source;
    {
        const std::lock_guard lock(TheState().mutex);
        source = TheState().source;
    }
    if (source) {
        try {
            return (*source)();
        } catch (...) {  // NOLINT(bugprone-empty-catch): who asks for the time is often telling a failure already
        }
    }
    return SystemNow();
}

void Clock::SetSource(Source source) {
    auto replacement = source ? std::make_shared<const Source>(std::move(source)) : nullptr;
    const std::lock_guard lock(TheState().mutex);
    TheState().source.swap(replacement);
}

void Clock::SetTo(const TimeDate& utc) {
    SetSource([utc] { return utc; });
}

void Clock::UseSystem() {
    SetSource(nullptr);
}

}  // namespace Corvane

namespace pt {

std::int64_t now() {
    const Corvane::TimeDate now = Corvane::Clock::Now();
    // Whole milliseconds of every date there is are exact in double, which a time of day of any size cannot overflow.
    const double midnight = (now.GetDate() - Corvane::UnixEpoch) * 86'400'000.0;
    return Corvane::ToInt64(midnight + std::floor(now.GetTimeOfDay().Seconds() * 1000.0));
}

}  // namespace pt
