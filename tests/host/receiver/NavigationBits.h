// Navigation words and strings made bit by bit, for the tests.
#pragma once

#include <array>
#include <cstdlib>
#include <string>

#include "gnss/icd/ICDGlonass.h"
#include "host/receiver/GPSParity.h"

namespace bits {

using Words = std::array<unsigned long, 10>;

// Bits of a word, numbered from 1 at the first transmitted one, as the documents do; the word from 1.
inline void Put(Words& words, int word, int first, int count, unsigned value) {
    const int shift = 30 - (first - 1) - count;
    const unsigned long mask = ((1UL << count) - 1) << shift;
    unsigned long& w = words.at(static_cast<std::size_t>(word - 1));
    w = (w & ~mask) | (static_cast<unsigned long>(value) << shift & mask);
}

// The parity of ten words of data.
inline void AddParity(Words& words) {
    unsigned long before = 0;
    for (unsigned long& word : words) {
        const auto data = static_cast<unsigned>(word >> 6U);
        word = static_cast<unsigned long>(data) << 6U | Host::GPSParityOf(data, (before & 2U) != 0, (before & 1U) != 0);
        before = word;
    }
}

// Bits first to first + count - 1 of a string.
inline void Put(GNSS::ICDGlonass::String& string, unsigned first, unsigned count, unsigned value) {
    for (unsigned i = 0; i < count; ++i) {
        const unsigned n = first + i - 1;
        unsigned char& byte = string[10 - static_cast<int>(n / 8)];
        const unsigned mask = 1U << (n % 8);
        byte = static_cast<unsigned char>((value >> i & 1U) != 0 ? byte | mask : byte & ~mask);
    }
}

// 85 bits in 22 hexadecimal digits, bit 85 first.
inline GNSS::ICDGlonass::String FromLeftAligned(const std::string& hex) {
    GNSS::ICDGlonass::String string;
    for (unsigned i = 0; i < 85; ++i) {
        const unsigned long digit = std::strtoul(hex.substr(i / 4, 1).c_str(), nullptr, 16);
        Put(string, 85 - i, 1, static_cast<unsigned>(digit >> (3 - i % 4)) & 1U);
    }
    return string;
}

}  // namespace bits
