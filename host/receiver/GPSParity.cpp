#include "host/receiver/GPSParity.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace Host {

namespace {

// What a parity bit sums up: D29* or D30* of the word before, and some of the data bits.
struct Row {
    bool isD30;  // else D29*
    std::uint32_t mask;
};

template <typename... Bits>
constexpr std::uint32_t Mask(Bits... d) {
    return (0U | ... | (1U << (24 - d)));
}

// D25 to D30.
constexpr std::array<Row, 6> Table{{
    {false, Mask(1, 2, 3, 5, 6, 10, 11, 12, 13, 14, 17, 18, 20, 23)},
    {true, Mask(2, 3, 4, 6, 7, 11, 12, 13, 14, 15, 18, 19, 21, 24)},
    {false, Mask(1, 3, 4, 5, 7, 8, 12, 13, 14, 15, 16, 19, 20, 22)},
    {true, Mask(2, 4, 5, 6, 8, 9, 13, 14, 15, 16, 17, 20, 21, 23)},
    {true, Mask(1, 3, 5, 6, 7, 9, 10, 14, 15, 16, 17, 18, 21, 22, 24)},
    {false, Mask(3, 5, 6, 8, 9, 10, 11, 13, 15, 19, 22, 23, 24)},
}};

}  // namespace

unsigned GPSParityOf(unsigned data, bool d29, bool d30) {
    unsigned parity = 0;
    for (const Row& row : Table) {
        const auto ones = static_cast<unsigned>(std::popcount(data & row.mask)) + (row.isD30 ? d30 : d29);
        parity = parity << 1U | (ones & 1U);
    }
    return parity;
}

bool HasGPSParity(const std::array<unsigned long, 10>& words) {
    unsigned long before = 0;
    for (const unsigned long word : words) {
        const auto data = static_cast<unsigned>(word >> 6U) & 0xFFFFFFU;
        if (GPSParityOf(data, (before & 2U) != 0, (before & 1U) != 0) != (word & 0x3FU)) return false;
        before = word;
    }
    return true;
}

}  // namespace Host
