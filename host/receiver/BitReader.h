// BitReader: numbers of any width in a message whose bits are counted from the most significant of its first byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Host {

// Widths are 1 to 56 bits. Bits beyond the end read as 0; whoever reads has compared the size before. The bytes must
// outlive the reader.
class BitReader {
public:
    explicit constexpr BitReader(std::string_view bytes) : bytes_(bytes) {}

    [[nodiscard]] constexpr std::size_t NmrBits() const { return bytes_.size() * 8; }

    // The `width` bits from `first` on, counted from 0.
    [[nodiscard]] constexpr std::uint64_t Unsigned(std::size_t first, std::size_t width) const {
        const std::size_t byte = first / 8;
        std::uint64_t window = 0;
        if (byte + 8 <= bytes_.size()) {
            // A load and a swap to the compiler.
            for (std::size_t k = 0; k < 8; ++k) window = (window << 8U) | ByteAt(byte + k);
        } else {
            for (std::size_t k = 0; k < 8; ++k) {
                window = (window << 8U) | (byte + k < bytes_.size() ? ByteAt(byte + k) : 0U);
            }
        }
        return (window << (first % 8)) >> (64U - width);
    }
    // Two's complement.
    [[nodiscard]] constexpr std::int64_t Signed(std::size_t first, std::size_t width) const {
        const std::uint64_t bits = Unsigned(first, width);
        const std::uint64_t sign = std::uint64_t{1} << (width - 1);
        return static_cast<std::int64_t>(bits ^ sign) - static_cast<std::int64_t>(sign);
    }
    // The sign in the first bit, then the magnitude; no negative zero.
    [[nodiscard]] constexpr std::int64_t SignMagnitude(std::size_t first, std::size_t width) const {
        const std::uint64_t bits = Unsigned(first, width);
        const std::uint64_t sign = std::uint64_t{1} << (width - 1);
        const auto magnitude = static_cast<std::int64_t>(bits & (sign - 1));
        return (bits & sign) != 0 ? -magnitude : magnitude;
    }

    // The same one after the other.
    constexpr std::uint64_t TakeUnsigned(std::size_t width) { return Unsigned(Pass(width), width); }
    constexpr std::int64_t TakeSigned(std::size_t width) { return Signed(Pass(width), width); }
    constexpr int TakeInt(std::size_t width) { return static_cast<int>(TakeUnsigned(width)); }
    constexpr bool TakeFlag() { return TakeUnsigned(1) != 0; }
    constexpr void Skip(std::size_t width) { at_ += width; }
    // The next bit to be taken.
    [[nodiscard]] constexpr std::size_t At() const { return at_; }

private:
    [[nodiscard]] constexpr std::uint64_t ByteAt(std::size_t n) const { return static_cast<unsigned char>(bytes_[n]); }
    constexpr std::size_t Pass(std::size_t width) {
        const std::size_t first = at_;
        at_ += width;
        return first;
    }

    std::string_view bytes_;
    std::size_t at_ = 0;
};

}  // namespace Host
