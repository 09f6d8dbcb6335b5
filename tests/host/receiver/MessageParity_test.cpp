// The checks of the navigation messages: GPS parity and the Hamming code of GLONASS.
#include <array>
#include <random>

#include <gtest/gtest.h>

#include "host/receiver/GPSParity.h"
#include "host/receiver/GlonassHamming.h"
#include "tests/host/receiver/NavigationBits.h"
#include "tests/host/receiver/Table.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::ICDGlonass;

// Page 0 of subframe 4 as PRN 12 sent it on 25 April 2025 (u-blox log): alternating ones and zeros.
constexpr std::array<unsigned long, 10> Received{0x22C13B3C, 0x25198D0C, 0x102AAAAC, 0x2AAAAABC, 0x2AAAAABC,
                                                 0x2AAAAABC, 0x2AAAAABC, 0x2AAAAABC, 0x2AAAAABC, 0x2AAAAABC};

TEST(GPSParity, FindsEveryErrorOfUpToThreeBits) {
    EXPECT_TRUE(Host::HasGPSParity(Received));

    std::mt19937 random(1);  // NOLINT: the same numbers every time
    for (const unsigned before : {0U, 1U, 2U, 3U}) {
        const unsigned data = random() & 0xFFFFFFU;
        const bool d29 = (before & 2U) != 0;
        const bool d30 = (before & 1U) != 0;
        const unsigned word = data << 6U | Host::GPSParityOf(data, d29, d30);
        const auto isFound = [&](unsigned error) {
            const unsigned wrong = word ^ error;
            return Host::GPSParityOf(wrong >> 6U, d29, d30) != (wrong & 0x3FU);
        };
        EXPECT_FALSE(isFound(0));
        for (unsigned i = 0; i < 30; ++i) {
            for (unsigned j = i; j < 30; ++j) {
                // Equal positions leave one or two of the three.
                for (unsigned k = j; k < 30; ++k) ASSERT_TRUE(isFound((1U << i) | (1U << j) | (1U << k)));
            }
        }
    }
}

TEST(GPSParity, FindsEveryWrongBitOfASubframe) {
    std::mt19937 random(2);  // NOLINT: the same numbers every time
    unsigned long seen = 0;
    for (int nmr = 0; nmr < 8; ++nmr) {
        std::array<unsigned long, 10> words{};
        for (unsigned long& word : words) word = (random() & 0xFFFFFFU) << 6U;
        bits::AddParity(words);
        ASSERT_TRUE(Host::HasGPSParity(words));
        for (std::size_t i = 0; i < words.size(); ++i) {
            seen |= 1UL << (words[i] & 3U);
            for (unsigned bit = 0; bit < 30; ++bit) {
                std::array<unsigned long, 10> wrong = words;
                wrong[i] ^= 1UL << bit;
                ASSERT_FALSE(Host::HasGPSParity(wrong)) << i << " " << bit;
            }
        }
    }
    EXPECT_EQ(seen, 0xFU) << "all four endings of a word";
}

TEST(GlonassHamming, AcceptsRealStringsAndFindsEveryErrorOfUpToThreeBits) {
    GNSS_REQUIRE_TEST_DATA(path, "reference/glo_strings_ublox_2023179.csv");
    const auto rows = tests::ReadTable(path);
    ASSERT_EQ(rows.size(), 584U);
    for (const auto& row : rows) {
        const std::string& hex = row.at("bits85_to_1_hex_left_aligned");
        ASSERT_TRUE(Host::HasGlonassCheck(bits::FromLeftAligned(hex))) << hex;
    }
    // The check is linear: what finds an error in one string finds it in all.
    const ICDGlonass::String good = bits::FromLeftAligned(rows[0].at("bits85_to_1_hex_left_aligned"));
    for (unsigned i = 1; i <= 85; ++i) {
        for (unsigned j = i; j <= 85; ++j) {
            for (unsigned k = j; k <= 85; ++k) {
                ICDGlonass::String wrong = good;
                bits::Put(wrong, i, 1, 1U ^ good.GetUnsigned(i, 1));
                bits::Put(wrong, j, 1, 1U ^ good.GetUnsigned(j, 1));
                bits::Put(wrong, k, 1, 1U ^ good.GetUnsigned(k, 1));
                ASSERT_FALSE(Host::HasGlonassCheck(wrong)) << i << " " << j << " " << k;
            }
        }
    }
}

}  // namespace
