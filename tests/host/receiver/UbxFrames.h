// UBX messages made by hand.
#pragma once

#include <cstdint>
#include <string>

#include "tests/host/receiver/Bytes.h"

namespace tests {

inline std::string UbxFrame(std::uint32_t kind, const Bytes& payload) {
    const std::size_t size = payload.Get().size();
    std::string frame("\xB5\x62");
    for (const std::size_t byte : {std::size_t{kind >> 8U}, std::size_t{kind & 0xFFU}, size & 0xFFU, size >> 8U})
        frame += static_cast<char>(byte);
    frame += payload.Get();
    std::uint8_t a = 0;
    std::uint8_t b = 0;
    for (const char c : frame.substr(2)) {
        a = static_cast<std::uint8_t>(a + static_cast<std::uint8_t>(c));
        b = static_cast<std::uint8_t>(b + a);
    }
    return frame + static_cast<char>(a) + static_cast<char>(b);
}

}  // namespace tests
