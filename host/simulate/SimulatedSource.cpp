#include "host/simulate/SimulatedSource.h"

#include <algorithm>
#include <cmath>
#include <unistd.h>

#include <fmt/format.h>
#include <sys/timerfd.h>

namespace Host {

namespace {

// At a time, so that other sources have their turn.
constexpr std::uint64_t MaxEpochs = 64;

timespec SpanOf(double seconds) {
    const auto nanoseconds = static_cast<std::int64_t>(std::max(1.0, std::round(seconds * 1e9)));
    return {static_cast<time_t>(nanoseconds / 1'000'000'000), static_cast<long>(nanoseconds % 1'000'000'000)};
}

}  // namespace

SimulatedSource::SimulatedSource(const SimulatorSettings& settings, double speed, std::optional<double> duration,
                                 const LiveSettings& live, LiveSink& sink)
    : LiveSource(Address, live, sink), settings_(settings), speed_(std::clamp(speed, 1e-3, MaxSpeed)) {
    if (duration) lastEpoch_ = static_cast<std::int64_t>(std::floor(*duration / settings.interval));
}

void SimulatedSource::AddWanted(std::vector<pollfd>& wanted) const {
    if (timer_.IsOpen()) wanted.push_back({timer_.Get(), POLLIN, 0});
}

void SimulatedSource::Open() {
    timer_ = Descriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
    const itimerspec when{SpanOf(settings_.interval / speed_), SpanOf(1e-3)};
    if (!timer_.IsOpen() || ::timerfd_settime(timer_.Get(), 0, &when, nullptr) != 0) {
        Fail("the system gives no timer");
        return;
    }
    simulator_ = std::make_unique<Simulator>(settings_);
    Begin(fmt::format("a simulated sky and receiver, at {:g} times real speed", speed_));
}

void SimulatedSource::OnDescriptor(const pollfd& /*ready*/) {
    std::uint64_t expired = 0;
    if (::read(timer_.Get(), &expired, sizeof(expired)) == sizeof(expired)) due_ += expired;
    for (std::uint64_t i = 0; due_ > 0 && i < MaxEpochs && timer_.IsOpen(); ++i) {
        --due_;
        bytes_.clear();
        const SimulatedTruth truth = simulator_->Next(bytes_);
        Deliver(bytes_);
        if (!lastEpoch_ || truth.epoch < *lastEpoch_) continue;
        Tell("the simulation has ended");
        Stop();
    }
}

}  // namespace Host
