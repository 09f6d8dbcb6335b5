// Dilution of precision of a constellation, as for every fix and for every minute of a plan.
#include <array>
#include <cstddef>

#include <benchmark/benchmark.h>

#include "gnss/position/Constellation.h"
#include "gnss/position/DOP.h"

namespace {

using Corvane::Angle;
using GNSS::Constellation;

// Satellites spread over the sky, turned a little from one constellation to the next.
std::array<Constellation, 64> MakeSkies(int nmrGPS, int nmrGlonass) {
    std::array<Constellation, 64> skies;
    double turn = 0.0;
    for (Constellation& sky : skies) {
        const auto elevation = [](int i) { return Angle::FromDegrees(10.0 + (i * 29) % 75); };
        const auto azimuth = [&turn](int i) { return Angle::FromDegrees(i * 137.5 + turn); };
        for (int i = 0; i < nmrGPS; ++i) sky.Add(GNSS::PRN(i + 1), elevation(i), azimuth(i), 1, false);
        for (int i = nmrGPS; i < nmrGPS + nmrGlonass; ++i) {
            sky.Add(GNSS::Glonass::Slot(i - nmrGPS + 1), elevation(i), azimuth(i), 2);
        }
        turn += 5.3;
    }
    return skies;
}

void DOPOf(benchmark::State& state) {
    const auto skies = MakeSkies(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    GNSS::DOP dop;
    std::size_t i = 0;
    for ([[maybe_unused]] auto _ : state) {
        if (!dop.Set(skies[i++ % skies.size()], state.range(1) > 0, false)) state.SkipWithError("no geometry");
        benchmark::DoNotOptimize(dop);
    }
}
BENCHMARK(DOPOf)->ArgNames({"gps", "glonass"})->Args({8, 0})->Args({12, 0})->Args({12, 8});

}  // namespace
