// The checksum of RTCM 3 frames.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Host {

namespace Crc24qTables {

// Eight bytes are taken at a time: Tables[k][b] is what the byte b does to the sum once k more bytes have followed it.
// The sum stands in the upper 24 bits of a word of 32.
inline constexpr auto Tables = [] {
    constexpr std::uint32_t Polynomial = 0x864CFBU << 8U;
    std::array<std::array<std::uint32_t, 256>, 8> tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t sum = byte << 24U;
        for (int bit = 0; bit < 8; ++bit) sum = (sum << 1U) ^ ((sum & 0x80000000U) != 0 ? Polynomial : 0U);
        tables[0][byte] = sum;
    }
    for (std::size_t k = 1; k < tables.size(); ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t sum = tables[k - 1][byte];
            tables[k][byte] = (sum << 8U) ^ tables[0][sum >> 24U];
        }
    }
    return tables;
}();

}  // namespace Crc24qTables

// CRC-24Q: polynomial 1864CFB, most significant bit first, starting from 0.
[[nodiscard]] constexpr std::uint32_t Crc24q(std::string_view bytes) {
    const auto& tables = Crc24qTables::Tables;
    const auto at = [&](std::size_t n) { return std::uint32_t{static_cast<unsigned char>(bytes[n])}; };
    std::uint32_t sum = 0;
    std::size_t n = 0;
    for (; n + 8 <= bytes.size(); n += 8) {
        sum ^= (at(n) << 24U) | (at(n + 1) << 16U) | (at(n + 2) << 8U) | at(n + 3);
        sum = tables[7][sum >> 24U] ^ tables[6][(sum >> 16U) & 0xFFU] ^ tables[5][(sum >> 8U) & 0xFFU] ^
              tables[4][sum & 0xFFU] ^ tables[3][at(n + 4)] ^ tables[2][at(n + 5)] ^ tables[1][at(n + 6)] ^
              tables[0][at(n + 7)];
    }
    for (; n < bytes.size(); ++n) sum = (sum << 8U) ^ tables[0][(sum >> 24U) ^ at(n)];
    return sum >> 8U;
}
static_assert(Crc24q("123456789") == 0xCDE703);

// For OverlappingRuns, of runs up to the longest frame of RTCM 3.
struct Crc24qRuns {
    using Sum = std::uint32_t;
    static Sum Of(std::string_view run) { return Crc24q(run); }
    static constexpr Sum Step(Sum sum, char c) {
        return ((sum << 8U) ^ (Crc24qTables::Tables[0][(sum >> 16U) ^ static_cast<unsigned char>(c)] >> 8U)) &
               0xFFFFFFU;
    }
    // The sum of the bytes before, carried on over n zeros: times x to the 8 n, modulo the polynomial.
    static constexpr Sum Between(Sum a, Sum b, std::size_t n) {
        const Sum power = Powers[n];
        Sum carried = 0;
        for (unsigned bit = 24; bit-- > 0;) {
            carried = (carried << 1U) ^ ((carried & 0x800000U) != 0 ? 0x1864CFBU : 0U);
            if ((power >> bit & 1U) != 0) carried ^= a;
        }
        return carried ^ b;
    }

private:
    static constexpr auto Powers = [] {
        std::array<Sum, 1027> powers{1};
        for (std::size_t n = 1; n < powers.size(); ++n) {
            powers[n] = powers[n - 1];
            for (int bit = 0; bit < 8; ++bit)
                powers[n] = (powers[n] << 1U) ^ ((powers[n] & 0x800000U) != 0 ? 0x1864CFBU : 0U);
        }
        return powers;
    }();
};

}  // namespace Host
