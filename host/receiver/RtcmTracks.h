// RtcmTracks: what must be remembered from epoch to epoch to make continuous phases of RTCM 3 observations.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "host/receiver/RtcmObservations.h"

namespace Host {

// Phases come as their difference from a range. Three things have to be put back:
//
// Rollover  an encoder whose difference leaves the range of its field takes 1500 cycles off (DF012, DF042). With the
//           lock unbroken, a difference within 250 cycles of a multiple of 1500 from the one before, and not of zero,
//           is that multiple.
// Modulus   a range without its milliseconds jumps at every one; the phase that is counted from it does not. A step of
//           more than half the modulus is a turn: right up to a minute or so without the signal.
// Slips     by the lock time: the phase has slipped when the lock time is less than it was, or less than the time
// since.
//           A change of the tracked code is a slip, too. Of a signal that has not been seen for an hour nothing is
//           said.
//
// Messages 1001 to 1012 and MSM are remembered apart, for a stream may have both.
class RtcmTracks {
public:
    struct Phase {
        std::optional<double> cycles;  // empty without a phase, or where the wavelength is not known
        std::optional<bool> slipped;   // empty when nothing is known of the signal's past
    };

    // A signal of a message; wavelength in m where it is known. Each signal of an epoch once, in the order of time.
    Phase Follow(const RtcmObservations& message, const RtcmSignal& signal, std::optional<double> wavelength);

    // Forgets the signals, not the channels.
    void ForgetSignals() { tracks_ = {}; }

    // The frequency channel of a slot, as the stream has said it last.
    void SetChannel(int slot, int channel) { channels_.at(static_cast<std::size_t>(slot)) = channel; }
    [[nodiscard]] std::optional<int> GetChannel(int slot) const { return channels_.at(static_cast<std::size_t>(slot)); }

private:
    struct Track {
        bool known = false;
        std::uint8_t code = 0;
        std::int64_t ms = 0;
        double lockMin = 0.0;
        double base = 0.0;           // m
        double turns = 0.0;          // moduli put back
        double rolled = 0.0;         // cycles put back
        std::optional<double> diff;  // cycles, with these
    };

    std::array<Track, std::size_t{2} * 2 * 3 * 32> tracks_{};  // by system, kind of message, signal, satellite
    std::array<std::optional<int>, 25> channels_{};            // by slot
};

}  // namespace Host
