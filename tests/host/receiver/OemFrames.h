// OEM messages made by hand.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tests/host/receiver/Bytes.h"

namespace tests {

// The register of the format's own description, bit by bit.
inline std::uint32_t OemChecksum(std::string_view bytes) {
    std::uint32_t crc = 0;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int i = 0; i < 8; ++i) crc = (crc & 1U) != 0 ? (crc >> 1U) ^ 0xEDB88320U : crc >> 1U;
    }
    return crc;
}

inline std::string OemSealed(std::string content) {
    return content + Bytes(4).Put(0, OemChecksum(content)).Get();
}

struct OemHeader {
    std::uint8_t type = 0;
    std::uint8_t status = 180;
    std::uint16_t week = 2209;
    std::uint32_t milliseconds = 512449000;
    std::uint8_t size = 28;
};

inline std::string OemFrame(std::uint16_t id, const std::string& body, const OemHeader& header = {}) {
    Bytes bytes(header.size);
    bytes.PutBytes(0, {0xAA, 0x44, 0x12, header.size}).Put(4, id).Put(6, header.type);
    bytes.Put(8, static_cast<std::uint16_t>(body.size())).Put(13, header.status).Put(14, header.week);
    return OemSealed(bytes.Put(16, header.milliseconds).Get() + body);
}

inline std::string OemShortFrame(std::uint16_t id, const std::string& body) {
    Bytes bytes(12);
    bytes.PutBytes(0, {0xAA, 0x44, 0x13, static_cast<unsigned>(body.size())}).Put(4, id);
    return OemSealed(bytes.Put(6, std::uint16_t{2209}).Put(8, std::uint32_t{1000}).Get() + body);
}

}  // namespace tests
