// GNSS::MeasAvail: which kinds of measurement are in use, per system and signal.
#pragma once

#include <array>
#include <cstdint>

#include "gnss/measurement/MeasSet.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/String.h"

namespace GNSS {

// Five switches for each of the signals C/A, L1 and L2 of both systems. A signal that is none of these has nothing in
// use and cannot be set.
class GNSS_EXPORT MeasAvail {
public:
    // The bits of the records' flags. Masks may join several.
    enum Kind : std::uint32_t {
        None = 0,
        SNR = GPSMeas::SNR,
        Range = GPSMeas::Range,
        Phase = GPSMeas::Phase,
        Doppler = GPSMeas::Doppler,
        SmoothRange = GPSMeas::SmoothRange,
        All = SNR | Range | Phase | Doppler | SmoothRange,
    };

    // Everything in use.
    constexpr MeasAvail() { kinds_.fill(static_cast<std::uint8_t>(All)); }
    // Nothing in use.
    static constexpr MeasAvail Nothing() {
        MeasAvail nothing;
        nothing.kinds_.fill(std::uint8_t{0});
        return nothing;
    }

    // Switches the kinds of a signal, and leaves its other kinds. Bits that are no kinds are ignored.
    void Set(const GPSFreqy& signal, std::uint32_t kinds, bool inUse = true) { Switch(0, signal, kinds, inUse); }
    void Set(const Glonass::Frequency& signal, std::uint32_t kinds, bool inUse = true) {
        Switch(NmrSignals, signal, kinds, inUse);
    }
    // The kinds of a signal that are in use.
    [[nodiscard]] std::uint32_t GetKinds(const GPSFreqy& signal) const { return KindsOf(0, signal); }
    [[nodiscard]] std::uint32_t GetKinds(const Glonass::Frequency& signal) const { return KindsOf(NmrSignals, signal); }
    // True when all kinds of the mask are in use.
    [[nodiscard]] bool IsInUse(const GPSFreqy& signal, std::uint32_t kinds) const {
        return (GetKinds(signal) & kinds) == kinds;
    }
    [[nodiscard]] bool IsInUse(const Glonass::Frequency& signal, std::uint32_t kinds) const {
        return (GetKinds(signal) & kinds) == kinds;
    }

    // Clears from the records what is not in use, and removes those that have none of the five kinds left, so that
    // HasMeas and the data age no longer count them. Satellites stay, without records too, for their directions are
    // still worth showing; lock times, slips and warnings stay with their records. A set from which nothing is to go
    // keeps sharing its body.
    void Apply(MeasSet& set) const;

    // "GPS CA NRPDS, L1 RP, L2 -; GLONASS CA NRPDS, L1 -, L2 -": N is SNR, R range, P phase, D Doppler, S smoothed
    // range, - none of them.
    [[nodiscard]] Corvane::String Print() const;
    // Reads that. The letters stand in any order; systems and signals may be left out, which leaves nothing in use on
    // them; the empty text is Nothing(). Blanks may surround the words. False, with nothing changed, for anything else:
    // other words or letters, lower case, one of them twice, a signal without letters.
    bool Parse(const Corvane::String& text);

    // One byte of kinds each for C/A, L1 and L2 of GPS and of GLONASS. False when the stream fails; a failed read,
    // other bits than those of kinds among the failures, leaves the object as it was.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);

    friend constexpr bool operator==(const MeasAvail&, const MeasAvail&) = default;

private:
    static constexpr std::size_t NmrSignals = 3;

    // Calls for the signals of the system that starts at `first`; idents count from 1.
    template <typename Signal>
    void Switch(std::size_t first, const Signal& signal, std::uint32_t kinds, bool inUse) {
        if (signal.GetIdent() < 1 || signal.GetIdent() > static_cast<int>(NmrSignals)) return;
        std::uint8_t& now = kinds_[first + static_cast<std::size_t>(signal.GetIdent()) - 1];
        now = static_cast<std::uint8_t>(inUse ? now | (kinds & All) : now & ~kinds);
    }
    template <typename Signal>
    [[nodiscard]] std::uint32_t KindsOf(std::size_t first, const Signal& signal) const {
        if (signal.GetIdent() < 1 || signal.GetIdent() > static_cast<int>(NmrSignals)) return None;
        return kinds_[first + static_cast<std::size_t>(signal.GetIdent()) - 1];
    }

    std::array<std::uint8_t, 2 * NmrSignals> kinds_{};  // C/A, L1, L2 of GPS, then of GLONASS
};

}  // namespace GNSS
