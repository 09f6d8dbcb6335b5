// StoreTree: the component tree of a replay: navigation, the three stores, and who listens to them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "gnss/platform/Component.h"
#include "gnss/platform/Root.h"
#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"
#include "host/stores/Navigation.h"

namespace Host {

// Makes the navigation component, and the almanac store and both ephemeris stores from their factories, and joins them
// in this order: one cycle of the tree takes a record from navigation to whoever has joined after. Tells them that they
// work on a replay.
//
// The tree is cycled by the data's time instead of a timer. One thread leads it; others may join components of their
// own, send on links and ask calculators meanwhile.
class StoreTree {
public:
    // The stores' own period.
    static constexpr std::int32_t CycleMS = 100;
    // A longer silence than this, or a step back, is not played through.
    static constexpr Corvane::Time MaxSpan{600.0};

    StoreTree();

    [[nodiscard]] Corvane::Root& GetRoot() { return root_; }
    [[nodiscard]] Navigation& GetNavigation() { return *navigation_; }
    // Joins who is to listen; false when it is joined already.
    bool Join(const std::shared_ptr<Corvane::Component>& component) { return root_.Join(component); }

    // Gives every component the path that its files begin with: the almanac store keeps root + ".alm" from now on. The
    // file that stands there is loaded; where there is none the almanac of now is saved.
    void SetRootPath(const std::string& root);
    // Whether another process keeps the almanac of this path: its number, or 0 when its lock file does not tell.
    // Nothing when the path is free or cannot be locked for another reason.
    [[nodiscard]] static std::optional<std::int64_t> FindHolder(const std::string& root);
    [[nodiscard]] static std::string GetAlmanacPath(const std::string& root) { return root + ".alm"; }

    // Cycles the tree every CycleMS from the time of the last call up to t, so that whatever was sent meanwhile is
    // handled under the clock as it stands: who leads the process's clock sets it to t after this call. After a longer
    // silence or a step back, and at the first call, one cycle stands for all. Once a cycle leaves all queues empty the
    // further ones of the call are counted but left out: nothing in the tree works in its Cycle() alone.
    void AdvanceTo(const GNSS::GPSTime& t);
    // Cycles until all queues are empty.
    void Drain();

    // The time of the last AdvanceTo; while that goes on, of the one before.
    [[nodiscard]] const std::optional<GNSS::GPSTime>& GetTime() const { return time_; }
    // Cycles that have fallen due, those that were left out for want of work included.
    [[nodiscard]] std::int64_t GetNmrCycles() const { return nmrCycles_; }

private:
    void Cycle();

    Corvane::Root root_;
    const std::shared_ptr<Navigation> navigation_;
    std::optional<GNSS::GPSTime> time_;
    double rest_ = 0.0;  // seconds since the last cycle
    std::int64_t nmrCycles_ = 0;
};

}  // namespace Host
