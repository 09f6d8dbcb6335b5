// SimulatedNoise: random numbers that depend on nothing but what they are for.
#pragma once

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <numbers>

namespace Host {

// Each number is worked out from the seed and the keys that it is asked for by: a fault or a satellite more in a
// simulation leaves the other numbers as they are, and no library's generators or distributions have a part in it. The
// mixing is that of SplitMix64 (G. L. Steele, D. Lea and C. H. Flood, OOPSLA 2014).
class SimulatedNoise {
public:
    explicit constexpr SimulatedNoise(std::uint64_t seed) : seed_(Mix(seed)) {}

    [[nodiscard]] constexpr std::uint64_t Bits(std::initializer_list<std::uint64_t> keys) const {
        std::uint64_t state = seed_;
        for (const std::uint64_t key : keys) state = Mix(state ^ key);
        return state;
    }
    // Uniform in (0, 1).
    [[nodiscard]] constexpr double Uniform(std::initializer_list<std::uint64_t> keys) const {
        return ToUnit(Bits(keys));
    }
    // Normally distributed, mean 0 and standard deviation 1 (G. E. P. Box and M. E. Muller, 1958).
    [[nodiscard]] double Normal(std::initializer_list<std::uint64_t> keys) const {
        const std::uint64_t first = Bits(keys);
        return std::sqrt(-2.0 * std::log(ToUnit(first))) * std::cos(2.0 * std::numbers::pi * ToUnit(Mix(first)));
    }

private:
    static constexpr std::uint64_t Mix(std::uint64_t state) {
        state += 0x9E3779B97F4A7C15U;
        state = (state ^ (state >> 30U)) * 0xBF58476D1CE4E5B9U;
        state = (state ^ (state >> 27U)) * 0x94D049BB133111EBU;
        return state ^ (state >> 31U);
    }
    static constexpr double ToUnit(std::uint64_t bits) { return (static_cast<double>(bits >> 11U) + 0.5) * 0x1p-53; }

    std::uint64_t seed_;
};

}  // namespace Host
