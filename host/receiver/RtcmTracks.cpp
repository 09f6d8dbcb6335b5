#include "host/receiver/RtcmTracks.h"

#include <cmath>

namespace Host {

namespace {

constexpr double RolloverCycles = 1500.0;
constexpr double RolloverTolerance = 250.0;  // cycles: the noise of the range, and the ionosphere's change
constexpr double Forget = 3600.0;            // s

// Seconds between two epochs of a clock that starts anew every week or day.
double Since(const RtcmObservations& message, std::int64_t before) {
    constexpr std::int64_t Day = 86'400'000;
    const std::int64_t period = message.clock == RtcmObservations::Clock::MoscowDay ? Day : 7 * Day;
    std::int64_t ms = message.ms - before;
    // A division is slow, and is hardly ever needed.
    if (ms >= period || ms < 0) ms = ms % period + (ms % period < 0 ? period : 0);
    return static_cast<double>(ms) * 1e-3;
}

}  // namespace

RtcmTracks::Phase RtcmTracks::Follow(const RtcmObservations& message, const RtcmSignal& signal,
                                     std::optional<double> wavelength) {
    const std::size_t system = message.system == RtcmObservations::System::GPS ? 0 : 1;
    const std::size_t index =
        ((system * 2 + (message.isMsm ? 1 : 0)) * 3 + (signal.ident - 1U)) * 32 + (signal.satellite - 1U);
    Track& track = tracks_.at(index);

    Phase phase;
    const double since = Since(message, track.ms);
    const bool isKnown = track.known && since <= Forget;
    bool isContinuous = isKnown && track.code == signal.code && signal.lockMin >= track.lockMin &&
                        (since == 0.0 || since < signal.lockMax);

    double turns = isContinuous ? track.turns : 0.0;
    double rolled = isContinuous ? track.rolled : 0.0;
    std::optional<double> diff;
    if (wavelength && signal.diff) diff = *signal.diff / *wavelength + rolled;
    if (isContinuous && signal.modulus > 0.0) turns -= std::round((signal.base - track.base) / signal.modulus);
    // In MSM the difference from a rough range says nothing: that one jumps.
    const bool isComparable = !message.isMsm || signal.range.has_value();
    if (isContinuous && isComparable && diff && track.diff) {
        const double step = *track.diff - *diff;
        const bool isNear = std::abs(step) < RolloverCycles / 2;
        const double taken = isNear ? 0.0 : RolloverCycles * std::round(step / RolloverCycles);
        if (std::abs(step - taken) <= RolloverTolerance) {
            rolled += taken;
            *diff += taken;
        } else if (taken != 0.0) {
            isContinuous = false;
        }
    }
    if (diff) phase.cycles = (signal.base + turns * signal.modulus) / *wavelength + *diff;
    if (isKnown) phase.slipped = !isContinuous;

    // An epoch without what can be compared does not end the comparison.
    const std::optional<double> kept = isContinuous ? track.diff : std::nullopt;
    track = {true,        signal.code, message.ms, signal.lockMin,
             signal.base, turns,       rolled,     isComparable && diff ? diff : kept};
    return phase;
}

}  // namespace Host
