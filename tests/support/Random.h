// Random numbers for tests: one seed a run, printed by each test that draws, set again by GNSS_TEST_SEED.
#pragma once

#include <random>

namespace tests {

// A generator for the running test, seeded from GNSS_TEST_SEED or, without it, from the machine. Prints the seed and
// attaches it to every failure of the test, so that a failure can be replayed.
[[nodiscard]] std::mt19937_64 MakeRandom();

}  // namespace tests
