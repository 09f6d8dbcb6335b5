#include "host/stores/StoreTree.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>

#include "gnss/platform/FileLock.h"
#include "gnss/store/AlmanacStore.h"
#include "gnss/store/GPSEphemStore.h"
#include "gnss/store/GlonassEphemStore.h"

namespace Host {

using Corvane::Component;

StoreTree::StoreTree() : navigation_(std::make_shared<Navigation>()) {
    root_.Join(navigation_);
    root_.Join(GNSS::AlmanacStore::TheFactory.CreateComponent());
    root_.Join(GNSS::GPSEphemStore::TheFactory.CreateComponent());
    root_.Join(GNSS::Glonass::EphemStore::TheFactory.CreateComponent());
    root_.ForEach([](Component& component) { component.ReplayChange(true); });
    root_.ForEach([](Component& component) { component.Run(); });
}

void StoreTree::SetRootPath(const std::string& root) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(GetAlmanacPath(root), error);
    const bool save = status.type() == std::filesystem::file_type::not_found;
    root_.ForEach([&](Component& component) { component.RootPathChange(Corvane::String(root), save); });
}

std::optional<std::int64_t> StoreTree::FindHolder(const std::string& root) {
    Corvane::FileLock lock;
    const auto result = lock.Take(Corvane::String(GetAlmanacPath(root) + ".lock"));
    if (result != Corvane::FileLock::Held) return std::nullopt;
    return lock.GetHolder();
}

void StoreTree::AdvanceTo(const GNSS::GPSTime& t) {
    constexpr double Period = CycleMS / 1000.0;
    const Corvane::Time span = time_ ? t - *time_ : -Corvane::Time::Second;
    // Also where the span is no number.
    if (!(span >= Corvane::Time::Zero && span <= MaxSpan)) {
        rest_ = 0.0;
        Cycle();
        time_ = t;
        return;
    }
    // Within a period's rounding: a hundred milliseconds are no whole number of the clock's steps.
    rest_ += span.Seconds();
    while (rest_ > Period - GNSS::GPSTime::Tolerance) {
        Cycle();
        rest_ -= Period;
        if (root_.NmrQueued() != 0) continue;
        const double idle = std::max(std::floor((rest_ + GNSS::GPSTime::Tolerance) / Period), 0.0);
        nmrCycles_ += static_cast<std::int64_t>(idle);
        rest_ -= idle * Period;
    }
    time_ = t;
}

void StoreTree::Drain() {
    while (root_.NmrQueued() != 0) Cycle();
}

void StoreTree::Cycle() {
    root_.CycleAll();
    ++nmrCycles_;
}

}  // namespace Host
