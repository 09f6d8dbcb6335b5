// An encoder of navigation messages for the tests, bit by bit after the interface documents, and the comparison of what
// comes back from the library's decoder.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/icd/ICD.h"
#include "gnss/icd/ICDGlonass.h"

namespace tests {

using Words = std::array<unsigned long, 10>;

// Bits of a GPS word are numbered from the first transmitted one, and the first of a field is the most significant.
inline void Encode(Words& words, int word, int first, int width, std::uint64_t value) {
    unsigned long& target = words[static_cast<std::size_t>(word - 1)];
    for (int i = 0; i < width; ++i) {
        const unsigned long mask = 1UL << static_cast<unsigned>(30 - (first + i));
        const bool isSet = ((value >> static_cast<unsigned>(width - 1 - i)) & 1U) != 0;
        target = isSet ? target | mask : target & ~mask;
    }
}

// A subframe with preamble, count, ID and, for pages, SV ID.
inline Words MakeSubframe(int id, int tow, int svId = 0) {
    Words words{};
    Encode(words, 1, 1, 8, 0x8B);
    Encode(words, 2, 1, 17, static_cast<std::uint64_t>(tow));
    Encode(words, 2, 20, 3, static_cast<std::uint64_t>(id));
    if (id >= 4) Encode(words, 3, 3, 6, static_cast<std::uint64_t>(svId));
    return words;
}

// Bits of a GLONASS string are numbered from the last transmitted one, which is the least significant.
inline void Encode(GNSS::ICDGlonass::String& string, int first, int width, std::uint64_t value) {
    for (int i = 0; i < width; ++i) {
        const int fromFront = 88 - (first + i);
        unsigned char& target = string[fromFront / 8];
        const auto mask = static_cast<unsigned char>(0x80U >> static_cast<unsigned>(fromFront % 8));
        const bool isSet = ((value >> static_cast<unsigned>(i)) & 1U) != 0;
        target = static_cast<unsigned char>(isSet ? target | mask : target & ~mask);
    }
}

struct Part {
    int unit;  // word or string
    int first;
    int last;
    [[nodiscard]] int Width() const { return last - first + 1; }
};

enum class Code : std::uint8_t { Unsigned, TwosComplement, SignMagnitude };

// A field as its document describes it, and how the record tells it, in the document's unit.
template <typename Records>
struct Row {
    const char* name;
    int message;              // subframe or kind of page
    std::vector<Part> parts;  // the most significant first
    Code code;
    double scale;
    double (*get)(const Records&);  // null: the test looks itself
    std::uint64_t bits = 0;         // as drawn

    [[nodiscard]] int Width() const { return parts[0].Width() + (parts.size() > 1 ? parts[1].Width() : 0); }
    // Any bits, and often the ends of the range.
    void Draw(std::mt19937_64& random) {
        const std::uint64_t ones = (std::uint64_t{1} << static_cast<unsigned>(Width())) - 1;
        const std::array<std::uint64_t, 6> choices = {
            0, ones, ones >> 1U, (ones >> 1U) + 1, random() & ones, random() & ones};
        bits = choices[random() % choices.size()];
    }
    template <typename Put>
    void EncodeWith(const Put& put) const {
        std::uint64_t left = bits;
        for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
            put(*part, left & ((std::uint64_t{1} << static_cast<unsigned>(part->Width())) - 1));
            left >>= static_cast<unsigned>(part->Width());
        }
    }
    void Expect(const Records& records) const {
        if (get == nullptr) return;
        const double half = std::ldexp(1.0, Width() - 1);
        double number = static_cast<double>(bits);
        if (code == Code::TwosComplement && number >= half) number -= 2.0 * half;
        if (code == Code::SignMagnitude && number >= half) number = half - number;
        EXPECT_NEAR(get(records), number * scale, scale / 2.0) << name;
    }
};

}  // namespace tests
