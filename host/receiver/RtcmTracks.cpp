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
    const std::int64_t ms = (message.ms - before) % period;
    return static_cast<double>(ms < 0 ? ms + period : ms) * 1e-3;
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

    double turns = 0.0;
    std::optional<double> diff;
    if (wavelength && signal.diff) diff = *signal.diff / *wavelength;
    if (isContinuous) {
        if (signal.modulus > 0.0) {
            turns = track.turns - std::round((signal.base - track.base) / signal.modulus);
        }
        if (diff && track.diff) {
            const double step = *track.diff - *diff;
            const double rolled = RolloverCycles * std::round(step / RolloverCycles);
            if (std::abs(step - rolled) <= RolloverTolerance) {
                *diff += rolled;
            } else if (rolled != 0.0) {
                isContinuous = false;
            }
        }
    }
    if (diff) phase.cycles = (signal.base + turns * signal.modulus) / *wavelength + *diff;
    if (isKnown) phase.slipped = !isContinuous;
    // An epoch without a phase does not end it.
    if (!diff && isContinuous) diff = track.diff;

    track = {true, signal.code, message.ms, signal.lockMin, signal.base, turns, diff};
    return phase;
}

}  // namespace Host
