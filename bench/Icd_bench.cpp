// What decoding the navigation messages costs.
#include <array>
#include <cstdint>

#include <benchmark/benchmark.h>

#include "gnss/almanac/AlmanacSV.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/icd/ICD.h"
#include "gnss/icd/ICDGlonass.h"

namespace {

// Any bits, the same in every run.
class Bits {
public:
    std::uint32_t Next() {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::uint32_t>(state_ >> 32U);
    }

private:
    std::uint64_t state_ = 1;
};

using Words = std::array<unsigned long, 10>;

// Subframe 1, 2, 3, 4 or 5 with the preamble, data of any kind, and the almanac of satellite 9 in subframes 4 and 5.
Words MakeSubframe(Bits& bits, unsigned id) {
    Words words{};
    for (unsigned long& word : words) word = bits.Next() & 0x3FFFFFFFU;
    words[0] = (words[0] & 0x003FFFFFU) | (0x8BUL << 22U);
    words[1] = (1000UL + id) << 13U | static_cast<unsigned long>(id) << 8U;
    words[2] = (words[2] & 0xF03FFFFFU) | 9UL << 22U;
    return words;
}

std::array<Words, 5> MakeSubframes() {
    Bits bits;
    std::array<Words, 5> subframes{};
    for (unsigned id = 1; id <= 5; ++id) subframes[id - 1] = MakeSubframe(bits, id);
    return subframes;
}

GNSS::ICD MakeGPSMessage() {
    GNSS::ICD icd;
    for (const Words& words : MakeSubframes()) {
        int id = 0;
        int svId = 0;
        icd.AddSubframe(words.data(), id, svId);
    }
    return icd;
}

void GPSAddSubframe(benchmark::State& state) {
    auto subframes = MakeSubframes();
    GNSS::ICD icd;
    std::size_t next = 0;
    for (auto _ : state) {
        int id = 0;
        int svId = 0;
        benchmark::DoNotOptimize(subframes);
        benchmark::DoNotOptimize(icd.AddSubframe(subframes[next].data(), id, svId));
        benchmark::DoNotOptimize(icd);
        next = next < 4 ? next + 1 : 0;
    }
}
BENCHMARK(GPSAddSubframe);

void GPSEphemeris(benchmark::State& state) {
    GNSS::ICD icd = MakeGPSMessage();
    GNSS::GPSEphemeride ephemeride;
    for (auto _ : state) {
        benchmark::DoNotOptimize(icd);
        benchmark::DoNotOptimize(icd.GetEphemerisData(ephemeride));
        benchmark::DoNotOptimize(ephemeride);
    }
}
BENCHMARK(GPSEphemeris);

void GPSAlmanac(benchmark::State& state) {
    GNSS::ICD icd = MakeGPSMessage();
    GNSS::Almanac::SV sv;
    for (auto _ : state) {
        benchmark::DoNotOptimize(icd);
        benchmark::DoNotOptimize(icd.GetAlmanac(sv, 2300, 5));
        benchmark::DoNotOptimize(sv);
    }
}
BENCHMARK(GPSAlmanac);

std::array<GNSS::ICDGlonass::String, 15> MakeStrings() {
    Bits bits;
    std::array<GNSS::ICDGlonass::String, 15> strings;
    for (std::size_t k = 0; k < strings.size(); ++k) {
        for (int n = 0; n < GNSS::ICDGlonass::String::NmrBytes; ++n) {
            strings[k][n] = static_cast<unsigned char>(bits.Next() & 0xFFU);
        }
        strings[k][0] = static_cast<unsigned char>(k + 1);
    }
    return strings;
}

void GlonassAddString(benchmark::State& state) {
    auto strings = MakeStrings();
    GNSS::ICDGlonass icd;
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(strings);
        icd.AddString(1 + static_cast<int>(next % 5), strings[next]);
        benchmark::DoNotOptimize(icd);
        next = next < 14 ? next + 1 : 0;
    }
}
BENCHMARK(GlonassAddString);

void GlonassEphemeris(benchmark::State& state) {
    GNSS::ICDGlonass icd;
    for (const auto& string : MakeStrings()) icd.AddString(1, string);
    GNSS::Glonass::Ephemeride ephemeride;
    ephemeride.slot = 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(icd);
        benchmark::DoNotOptimize(icd.GetEphemeride(ephemeride, 1));
        benchmark::DoNotOptimize(ephemeride);
    }
}
BENCHMARK(GlonassEphemeris);

}  // namespace
