// UbxKinds: the numbers and names of UBX messages.
#pragma once

#include <cstdint>
#include <string>

namespace Host::UbxKinds {

// A kind of message: its class in the high byte, its identifier in the low one.
[[nodiscard]] constexpr std::uint32_t Of(std::uint32_t messageClass, std::uint32_t id) {
    return messageClass << 8U | id;
}

// Those that are decoded.
inline constexpr std::uint32_t NavPOSLLH = Of(0x01, 0x02);
inline constexpr std::uint32_t NavDOP = Of(0x01, 0x04);
inline constexpr std::uint32_t NavPVT = Of(0x01, 0x07);
inline constexpr std::uint32_t NavTIMEGPS = Of(0x01, 0x20);
inline constexpr std::uint32_t NavSAT = Of(0x01, 0x35);
inline constexpr std::uint32_t RxmRAW = Of(0x02, 0x10);
inline constexpr std::uint32_t RxmSFRB = Of(0x02, 0x11);
inline constexpr std::uint32_t RxmSFRBX = Of(0x02, 0x13);
inline constexpr std::uint32_t RxmRAWX = Of(0x02, 0x15);

// The maker's name of a kind, "NAV-PVT"; its two bytes, "0x0A 0x3F", where none is known.
[[nodiscard]] std::string Name(std::uint32_t kind);

}  // namespace Host::UbxKinds
