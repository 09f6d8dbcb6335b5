// LittleEndian: numbers in bytes, the least significant byte first, as the binary protocols of receivers write them.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace Host {

// Some bytes, read by the place of a number in them. Whatever the alignment and the machine's own order. A number that
// does not lie within the bytes to its last byte is 0, so that a length that lies does no harm; who reads still checks
// the length, to tell it from a 0.
class LittleEndian {
public:
    explicit constexpr LittleEndian(std::string_view bytes) : bytes_(bytes) {}

    [[nodiscard]] constexpr std::size_t GetSize() const { return bytes_.size(); }

    // An integer in two's complement, or a float or double of IEEE 754, that begins at a byte.
    template <typename Number>
    requires(std::is_arithmetic_v<Number>) [[nodiscard]] Number Get(std::size_t at) const {
        Number number{};
        if (at > bytes_.size() || bytes_.size() - at < sizeof(Number)) return number;
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(&number, bytes_.data() + at, sizeof(Number));
        } else {
            std::array<char, sizeof(Number)> reversed;
            std::reverse_copy(bytes_.data() + at, bytes_.data() + at + sizeof(Number), reversed.data());
            std::memcpy(&number, reversed.data(), sizeof(Number));
        }
        return number;
    }

    // The bytes from one on; none when there are none.
    [[nodiscard]] constexpr LittleEndian From(std::size_t at) const {
        return LittleEndian(bytes_.substr(std::min(at, bytes_.size())));
    }

private:
    std::string_view bytes_;
};

}  // namespace Host
