// The copying of a fix, which is handed on by value.
#include <vector>

#include <benchmark/benchmark.h>

#include "gnss/gnss.h"

namespace {

using GNSS::Position;

Position MakeFix() {
    Position fix(GNSS::Geog(GNSS::Latitude(55.5), GNSS::Longitude(8.44), 61.8), GNSS::Spheroid::WGS84);
    fix.SetGPSTime(GNSS::GPSTime(2110, 475200.0));
    fix.SetCovar(GNSS::Grid::Covar());
    fix.SetDOP(GNSS::DOP(1.0, 1.0, 2.0, 1.0));
    fix.SetSolutionMode("Norvi DGPS+GLO", 2, 3, Position::SolutionMode::Settled);
    fix.SetCalcInfo(Position::CalcInfo());
    Position::StatusInfo info;
    for (int i = 1; i <= 4; ++i) {
        info.AddStation(i, 800 + i, 100.0 * i);
        for (int prn = 1; prn <= 12; ++prn) info.AddStation(i, 0, 0.0).SetSVStatus(GNSS::PRN(prn), info.Used);
    }
    fix.SetStatusInfo(info);
    return fix;
}

// A copy made; the dropping is not counted.
void Position_copy(benchmark::State& state) {
    const Position fix = MakeFix();
    std::vector<Position> copies;
    copies.reserve(10'000);
    for ([[maybe_unused]] auto _ : state) {
        copies.push_back(fix);
        if (copies.size() < copies.capacity()) continue;
        state.PauseTiming();
        copies.clear();
        state.ResumeTiming();
    }
}
BENCHMARK(Position_copy);

void Position_copyAndDrop(benchmark::State& state) {
    const Position fix = MakeFix();
    for ([[maybe_unused]] auto _ : state) {
        Position copy = fix;
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(Position_copyAndDrop)->Threads(1)->Threads(2);

// The last of seven attributes, by its identifier.
void Position_get(benchmark::State& state) {
    const Position fix = MakeFix();
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(fix.GetStatusInfo());
}
BENCHMARK(Position_get);

// One fact changed in a fix that somebody else holds: all of it is copied.
void Position_changeOfShared(benchmark::State& state) {
    const Position fix = MakeFix();
    for ([[maybe_unused]] auto _ : state) {
        Position copy = fix;
        copy.SetGeoid(Position::Geoid(40.1));
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(Position_changeOfShared);

}  // namespace
