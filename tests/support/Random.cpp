#include "tests/support/Random.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>

#include <gtest/gtest.h>

namespace tests {

std::mt19937_64 MakeRandom() {
    static const std::uint64_t seed = [] {
        const char* text = std::getenv("GNSS_TEST_SEED");
        return text != nullptr ? std::strtoull(text, nullptr, 10) : std::uint64_t{std::random_device{}()};
    }();
    std::cout << "random seed: GNSS_TEST_SEED=" << seed << '\n';
    testing::Test::RecordProperty("seed", std::to_string(seed));
    return std::mt19937_64(seed);
}

}  // namespace tests
