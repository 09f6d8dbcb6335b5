// ConsoleSky: the sky plot of the last fix, drawn as a browser asks for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "gnss/position/Constellation.h"
#include "host/console/ConsoleBackend.h"

namespace Host {

// The run's thread sets the satellites, any thread asks for pictures: drawing works on a copy. Pictures are kept as
// long as the sky looks the same, so that many browsers cost as much as one.
class ConsoleSky {
public:
    // Pictures that are kept.
    static constexpr std::size_t MaxKept = 32;
    // The sky has changed when a satellite comes, goes, changes its state, or has moved by more than this, degrees.
    static constexpr double LeastMove = 0.25;
    static constexpr int MaxSize = 2000;

    // The thread of the run. Returns the number of changes so far.
    std::int64_t Set(const GNSS::Constellation& constellation);

    // SVG. Parameters, each with what holds without it:
    //   mode=both        gps, glonass, both, or alternate: both, either in front in its turn
    //   turn=0           alternate: which turn it is, any whole number
    //   border, circles, squares, elevations=1; diagonals, norvi=0
    //   azimuths=letters none, letters, upright, turned1 or turned2
    //   palette=light    or dark
    //   size=600         pixels, 100 to MaxSize; font=10 points, 6 to 40
    //   key=0            1: the colours and what they mean at the right of the plot
    [[nodiscard]] ConsoleAnswer Get(const std::map<std::string, std::string>& parameters);

private:
    using Picture = std::shared_ptr<const std::string>;

    std::mutex mutex_;
    std::shared_ptr<const GNSS::Constellation> constellation_;  // null before the first
    std::int64_t changed_ = 0;

    std::mutex drawing_;  // held while a picture is drawn: the second browser waits for it
    std::int64_t drawn_ = -1;
    std::list<std::pair<std::string, Picture>> kept_;  // by style, the newest first
};

}  // namespace Host
