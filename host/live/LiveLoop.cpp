#include "host/live/LiveLoop.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <system_error>
#include <utility>

#include <sys/eventfd.h>

namespace Host {

LiveLoop::LiveLoop(SteadyClock clock) : clock_(std::move(clock)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake_.IsOpen()) throw std::system_error(errno, std::generic_category(), "eventfd");
}

void LiveLoop::Every(SteadySpan span, std::function<void()> function) {
    timers_.push_back({span, clock_() + span, std::move(function)});
}

void LiveLoop::WakeUp() const {
    static_cast<void>(::eventfd_write(wake_.Get(), 1));
}

int LiveLoop::GetTimeout(std::chrono::milliseconds most) const {
    std::optional<SteadyTime> deadline;
    const auto take = [&deadline](const std::optional<SteadyTime>& time) {
        if (time && (!deadline || *time < *deadline)) deadline = time;
    };
    for (const LiveSource* source : sources_) take(source->GetDeadline());
    for (const Timer& timer : timers_) take(timer.due);
    std::int64_t wait = most.count() < 0 ? -1 : most.count();
    if (deadline) {
        // Upwards, or it would come back too early and turn in a circle until it is time.
        const std::int64_t left =
            std::max<std::int64_t>(std::chrono::ceil<std::chrono::milliseconds>(*deadline - clock_()).count(), 0);
        wait = wait < 0 ? left : std::min(wait, left);
    }
    return static_cast<int>(std::min<std::int64_t>(wait, std::numeric_limits<int>::max()));
}

void LiveLoop::RunOnce(std::chrono::milliseconds most) {
    wanted_.assign(1, {wake_.Get(), POLLIN, 0});
    owners_.assign(1, nullptr);
    for (LiveSource* source : sources_) {
        source->AddWanted(wanted_);
        owners_.resize(wanted_.size(), source);
    }
    // An error is a signal, or a want of memory that may pass.
    if (::poll(wanted_.data(), wanted_.size(), GetTimeout(most)) > 0) {
        if (wanted_[0].revents != 0) {
            eventfd_t nmr = 0;
            static_cast<void>(::eventfd_read(wake_.Get(), &nmr));
        }
        for (std::size_t i = 1; i < wanted_.size(); ++i) {
            if (wanted_[i].revents != 0) owners_[i]->OnReady(wanted_[i]);
        }
    }
    // After the data: what has come while this program was held up breaks a silence.
    for (LiveSource* source : sources_) source->OnTimer();
    RunTimers();
}

void LiveLoop::RunTimers() {
    const SteadyTime now = clock_();
    for (std::size_t i = 0; i < timers_.size(); ++i) {
        if (now < timers_[i].due) continue;
        timers_[i].due += timers_[i].span * std::max<std::int64_t>((now - timers_[i].due) / timers_[i].span + 1, 1);
        const std::function<void()> function = timers_[i].function;
        function();
    }
}

}  // namespace Host
