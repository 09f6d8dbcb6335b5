// Geographic to earth-centred coordinates and back, and into a local grid.
#include <array>

#include <benchmark/benchmark.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"

namespace {

using GNSS::ECEF;
using GNSS::Geog;
using GNSS::Spheroid;

// Places all over the earth, so that no branch and no table of the arctangent is learnt by heart.
constexpr std::size_t Count = 1024;

std::array<Geog, Count> MakeGeogs() {
    std::array<Geog, Count> geogs;
    for (std::size_t i = 0; i < Count; ++i) {
        const double fraction = static_cast<double>(i) / Count;
        geogs[i] =
            Geog(GNSS::Latitude(-89.0 + 178.0 * fraction), GNSS::Longitude(fraction * 360.0 * 37.0), 1e4 * fraction);
    }
    return geogs;
}

void GeogToECEF(benchmark::State& state) {
    const auto geogs = MakeGeogs();
    ECEF ecef;
    std::size_t i = 0;
    for ([[maybe_unused]] auto _ : state) {
        Spheroid::WGS84.GeogToECEF(geogs[i++ % Count], ecef);
        benchmark::DoNotOptimize(ecef);
    }
}
BENCHMARK(GeogToECEF);

void ECEFToGeog(benchmark::State& state) {
    const auto geogs = MakeGeogs();
    std::array<ECEF, Count> positions;
    for (std::size_t i = 0; i < Count; ++i) Spheroid::WGS84.GeogToECEF(geogs[i], positions[i]);
    Geog geog;
    std::size_t i = 0;
    for ([[maybe_unused]] auto _ : state) {
        Spheroid::WGS84.ECEFToGeog(positions[i++ % Count], geog);
        benchmark::DoNotOptimize(geog);
    }
}
BENCHMARK(ECEFToGeog);

void LocalGridPolar(benchmark::State& state) {
    const GNSS::LocalGrid grid(Geog(GNSS::Latitude(52.0), GNSS::Longitude(4.0), 0.0), Spheroid::WGS84);
    const ECEF satellite(1.5e7, -1.6e7, 1.3e7);
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(grid.GetGridPolar(satellite));
}
BENCHMARK(LocalGridPolar);

}  // namespace
