// RtcmEphemeris: the messages 1019 and 1020 of RTCM 3, the broadcast ephemerides of GPS and GLONASS.
#pragma once

#include <optional>
#include <string_view>

#include "host/receiver/ReceiverSink.h"

namespace Host {

// Decodes 1019 (RTCM 10403, DF071 to DF103, DF137). The week is as the message has it, modulo 1024. False, with `to` in
// any state, for a message that is too short, a satellite that is none, times beyond the week, no orbit (GPSOrbit.h),
// or an IODE that is not of the IODC.
[[nodiscard]] bool DecodeRtcm1019(std::string_view payload, GPSDecodedEphemeride& to);

// What 1020 says beside the ephemeride.
struct RtcmGlonassMessage {
    GlonassDecodedEphemeride record;      // fourYears where the message has it
    std::optional<Corvane::Date> date{};  // N_T in N4, of a GLONASS-M satellite: the Moscow date
};

// Decodes 1020 (RTCM 10403, DF104 to DF136). False, with `to` in any state, for a message that is too short, a slot or
// a channel that is none, or times and days that no calendar has. N_T may be 0: satellites before GLONASS-M do not send
// it.
[[nodiscard]] bool DecodeRtcm1020(std::string_view payload, RtcmGlonassMessage& to);

}  // namespace Host
