// RtcmObservations: what an observation message of RTCM 3 says, before it has a date; and the messages 1001 to 1004
// and 1009 to 1012.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace Host {

// One signal of one satellite.
struct RtcmSignal {
    std::uint8_t satellite = 0;    // PRN or slot, within the system's range
    std::uint8_t ident = 0;        // 1 = C/A, 2 = L1, 3 = L2
    std::uint8_t code = 0;         // the message's own number of the tracked code
    bool halfCycle = false;        // the phase may be wrong by half a cycle
    std::optional<double> range;   // m; less than `modulus` where that is not 0
    double modulus = 0.0;          // m: the range lacks an unknown multiple of this
    double base = 0.0;             // m: the range that `diff` is counted from
    std::optional<double> diff;    // m: phase range minus base
    std::optional<double> rate;    // m/s: growth of the phase range
    std::optional<double> snr;     // dB-Hz
    double lockMin = 0.0;          // s: the lock time is at least this
    double lockMax = 0.0;          // s: and less than this; infinite when there is no limit
    std::optional<int> channel{};  // GLONASS frequency channel, -7 to 13
};

struct RtcmObservations {
    // A message has up to 31 satellites with two signals, or 64 cells.
    static constexpr std::size_t MaxSignals = 64;

    enum class System : std::uint8_t { GPS, GLONASS };
    // What `ms` counts: of the GPS week, or of the week or the day of Moscow time.
    enum class Clock : std::uint8_t { GPSWeek, MoscowWeek, MoscowDay };

    System system = System::GPS;
    Clock clock = Clock::GPSWeek;
    bool isMsm = false;
    std::int64_t ms = 0;
    bool more = false;  // further messages of the same epoch follow
    std::size_t nmrSignals = 0;
    std::array<RtcmSignal, MaxSignals> signals;

    [[nodiscard]] std::span<const RtcmSignal> GetSignals() const { return std::span(signals).first(nmrSignals); }
    void Add(const RtcmSignal& signal) {
        if (nmrSignals < MaxSignals) signals[nmrSignals++] = signal;
    }
};

// Reads the 30 bits of an epoch: GPS time of week in ms, or GLONASS time of day in the last 27 after a day of week (0
// is Sunday, 7 unknown). False for a time that cannot be.
[[nodiscard]] bool ReadGPSEpoch(std::uint64_t bits, RtcmObservations& to);
[[nodiscard]] bool ReadGlonassEpoch(std::uint64_t dayOfWeek, std::uint64_t msOfDay, RtcmObservations& to);

[[nodiscard]] constexpr bool IsRtcmObservations(std::uint32_t kind) {
    return (kind >= 1001 && kind <= 1004) || (kind >= 1009 && kind <= 1012);
}

// Decodes one of these messages (RTCM 10403, fields DF002 to DF050). Satellites of other systems, which the messages of
// GPS may carry (SBAS), GLONASS satellites without a slot and reserved numbers are left out. Without the extended
// fields (1001, 1003, 1009, 1011) ranges lack a multiple of a light-millisecond, GLONASS of two. False, with `to` in
// any state, when the message is too short or says what cannot be.
[[nodiscard]] bool DecodeRtcmObservations(std::uint32_t kind, std::string_view payload, RtcmObservations& to);

}  // namespace Host
