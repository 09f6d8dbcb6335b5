// RtcmMsm: the multiple signal messages of RTCM 3 for GPS and GLONASS.
#pragma once

#include <cstdint>
#include <string_view>

#include "host/receiver/RtcmObservations.h"

namespace Host {

// MSM4, MSM5 and MSM7: 1074, 1075, 1077 for GPS and 1084, 1085, 1087 for GLONASS.
[[nodiscard]] constexpr bool IsRtcmMsm(std::uint32_t kind) {
    const std::uint32_t form = kind % 10;
    return (kind / 10 == 107 || kind / 10 == 108) && (form == 4 || form == 5 || form == 7);
}

// Decodes one of these messages (RTCM 10403, fields DF393 to DF420). C/A is C/A, the P codes of L1 are L1, everything
// on L2 is L2; of several signals on L2 that one counts which stands first in the order P(Y), P, then the civil ones.
// Other signals and satellite numbers beyond the system's are left out. False, with `to` in any state, when the message
// is too short or says what cannot be.
[[nodiscard]] bool DecodeRtcmMsm(std::uint32_t kind, std::string_view payload, RtcmObservations& to);

}  // namespace Host
