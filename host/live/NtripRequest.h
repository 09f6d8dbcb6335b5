// The request for a stream of an NTRIP caster, and the position that is sent to it.
#pragma once

#include <string>

#include "host/live/Secret.h"
#include "host/live/SourceAddress.h"

namespace Host {

// What this program calls itself; the word before the blank is prescribed.
inline constexpr const char* NtripAgent = "NTRIP gnss/0.1";

// In the form of the address's version. The password goes along with a user alone: a caster whose address names none is
// not told that of another one. `gga`, if not empty, goes along in version 2.
[[nodiscard]] Secret MakeNtripRequest(const SourceAddress& address, const Secret& password, const std::string& gga);

struct GgaPosition {
    double secondsOfDay = 0.0;  // UTC
    double latitude = 0.0;      // degrees, north positive
    double longitude = 0.0;     // degrees, east positive
    double height = 0.0;        // metres above mean sea level
    double undulation = 0.0;    // metres, mean sea level above the ellipsoid
    int quality = 1;            // 1: single point, 2: differential
    int satellites = 0;
    double hdop = 0.0;
};

// The NMEA 0183 sentence GGA with its checksum and line end; empty for what is not a number or not on the earth.
[[nodiscard]] std::string MakeGga(const GgaPosition& position);

}  // namespace Host
