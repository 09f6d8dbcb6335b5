// UbxSystems: how UBX numbers satellite systems, satellites and signals.
#pragma once

#include <optional>

#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"
#include "host/receiver/StreamDecoder.h"

namespace Host::UbxSystems {

// gnssId
inline constexpr int GPS = 0;
inline constexpr int SBAS = 1;
inline constexpr int Galileo = 2;
inline constexpr int BeiDou = 3;
inline constexpr int QZSS = 5;
inline constexpr int Glonass = 6;
inline constexpr int NavIC = 7;

// sigId, which counts within a system
inline constexpr int GPSL1CA = 0;
inline constexpr int GPSL2CL = 3;
inline constexpr int GPSL2CM = 4;
inline constexpr int GlonassL1 = 0;
inline constexpr int GlonassL2 = 2;

// A number that the library's identifier holds.
template <typename Id>
[[nodiscard]] constexpr bool IsNumber(int number) {
    return number >= Id::Min && number <= Id::Max;
}

// svId of GLONASS: 1 to 32, of which the library knows 24, and the mark of a slot that the receiver does not know yet.
inline constexpr int MaxGlonass = 32;
inline constexpr int UnknownSlot = 255;
[[nodiscard]] constexpr bool IsGlonassNumber(int number) {
    return (number >= 1 && number <= MaxGlonass) || number == UnknownSlot;
}

// freqId of GLONASS: the frequency channel plus 7; nothing beyond channels -7 to 6.
[[nodiscard]] constexpr std::optional<int> ChannelOf(int freqId) {
    if (freqId < 0 || freqId > 13) return std::nullopt;
    return freqId - 7;
}

}  // namespace Host::UbxSystems
