// Time: GPS to UTC and back, GPS to GLONASS time.
#include <benchmark/benchmark.h>

#include "gnss/time/GPSTime.h"
#include "gnss/time/GloTime.h"

namespace {

using GNSS::GloTime;
using GNSS::GPSTime;

// A time that moves on by some minutes at each step, so that no step can be taken out of the loop.
class Steps {
public:
    const GPSTime& Next() { return time_ += Corvane::Time(617.25); }

private:
    GPSTime time_{2300, 0.0};
};

void GPSToUTC(benchmark::State& state) {
    Steps steps;
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(steps.Next().GetUTC());
}
BENCHMARK(GPSToUTC)->ThreadRange(1, 2);

void UTCToGPS(benchmark::State& state) {
    Corvane::TimeDate utc = GPSTime(2300, 0.0).GetUTC();
    for ([[maybe_unused]] auto _ : state) {
        GPSTime time;
        time.SetFromUTC(utc);
        benchmark::DoNotOptimize(time);
        benchmark::DoNotOptimize(utc);
    }
}
BENCHMARK(UTCToGPS);

void GPSToUTCAndBack(benchmark::State& state) {
    Steps steps;
    for ([[maybe_unused]] auto _ : state) {
        GPSTime time;
        time.SetFromUTC(steps.Next().GetUTC());
        benchmark::DoNotOptimize(time);
    }
}
BENCHMARK(GPSToUTCAndBack);

void GPSToGloTime(benchmark::State& state) {
    Steps steps;
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(GloTime(steps.Next()));
}
BENCHMARK(GPSToGloTime)->ThreadRange(1, 2);

void SiderealTime(benchmark::State& state) {
    Corvane::Date date(2026, 1, 1);
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(GloTime::CalcSiderealTime(date = date + 1));
}
BENCHMARK(SiderealTime);

}  // namespace
