// ConsoleStores: what the stores hold, as the library's views show it, for browsers.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "gnss/display/AlmanacView.h"
#include "gnss/display/EphemerisView.h"
#include "gnss/display/GlonassEphemerisView.h"
#include "host/console/ConsoleBackend.h"
#include "host/stores/StoreTree.h"
#include "host/stores/StoreWatch.h"

namespace Host {

// The views listen to the stores of a tree by themselves; what they show may be asked for by any thread.
class ConsoleStores {
public:
    ConsoleStores();

    // The run's thread, before anything is published. The tree may go first or last; another one may come in its place,
    // with which all begins empty.
    void Join(StoreTree& tree);
    // The panel's members: how many satellites each store has, and the number of its changes so far. The run's thread.
    [[nodiscard]] std::string Print();
    // As the updates of the stores made it; the operator's list is in it from when the tree was joined.
    [[nodiscard]] const GNSS::SVHealth::Set& GetHealth() const { return watch_->GetHealth(); }

    // "almanac", "ephemeris" or "glonass". Parameters: glonass=0 hides GLONASS, record=K shows the ephemerides that are
    // K before the newest. The style of a cell is told by "alerts" and "faint", lists of [row,column].
    [[nodiscard]] ConsoleAnswer Get(std::string_view store, const std::map<std::string, std::string>& parameters);

private:
    std::shared_ptr<GNSS::AlmanacView> almanac_;
    std::shared_ptr<GNSS::EphemerisView> ephemeris_;
    std::shared_ptr<GNSS::GlonassEphemerisView> glonass_;
    std::shared_ptr<StoreWatch> watch_;
    std::mutex showing_;  // while a view shows what one browser has chosen

    // What was published when the panel was last printed, kept so that nothing else can take its place in memory.
    std::array<std::shared_ptr<const void>, 4> seen_;
    std::array<std::int64_t, 4> changed_{};
};

}  // namespace Host
