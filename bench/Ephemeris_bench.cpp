// Positions from ephemerides: one record, times spread over the span that the name tells.
#include <benchmark/benchmark.h>

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"

namespace {

using Corvane::Angle;
using GNSS::GPSTime;

GNSS::GPSEphemeride MakeGPS() {
    GNSS::GPSEphemeride record;
    record.prn = GNSS::PRN(5);
    record.reference.SetTo(1590, 367200.0);
    record.posn = {.IODE = 23,
                   .toe = 367200.0,
                   .sqrtA = 5153.65,
                   .e = 0.0091,
                   .M0 = Angle(1.2),
                   .Omega0 = Angle(-2.1),
                   .i0 = Angle(0.96),
                   .omega = Angle(0.7),
                   .deltaN = Angle(4.6e-9),
                   .OmegaDot = Angle(-8.1e-9),
                   .IDOT = Angle(2.0e-10),
                   .Crc = 211.0,
                   .Crs = -45.0,
                   .Cuc = Angle(-2.3e-6),
                   .Cus = Angle(8.9e-6),
                   .Cic = Angle(1.1e-7),
                   .Cis = Angle(-5.6e-8)};
    record.clock = {.IODC = 23, .toc = 367200.0, .Tgd = -1.1e-8, .af2 = 0.0, .af1 = 1.2e-12, .af0 = 3.4e-5};
    record.status.SetHealth(0);
    return record;
}

GNSS::Glonass::Ephemeride MakeGlonass() {
    GNSS::Glonass::Ephemeride record;
    record.slot = GNSS::Glonass::Slot(7);
    record.reference.SetTo(1525, 299715.0);
    const GNSS::GloTime tb(record.reference);
    record.posn.day = tb.GetDay();
    record.posn.tb = tb.GetSeconds();
    record.posn.posn = {7003.008789, -12206.626953, 21280.765625};
    record.posn.vely = {0.7835417, 2.8042530, 1.3525150};
    record.posn.accel = {0.0, 1.7e-9, -5.41e-9};
    record.clock = {.tau = 1e-4, .gamma = 1e-12};
    return record;
}

void GPSPosn(benchmark::State& state) {
    const GNSS::GPSEphemeride record = MakeGPS();
    GNSS::GPSEphemeride::Result result;
    double offset = -600.0;
    for (auto _ : state) {
        record.CalculatePosn(GPSTime(1590, 367200.0 + offset), result);
        benchmark::DoNotOptimize(result);
        offset = offset >= 600.0 ? -600.0 : offset + 1.0;
    }
}
BENCHMARK(GPSPosn)->Name("GPSEphemeride::CalculatePosn/20-minute span");

void GPSVely(benchmark::State& state) {
    const GNSS::GPSEphemeride record = MakeGPS();
    double offset = -600.0;
    for (auto _ : state) {
        auto velocity = record.CalculateVely(GPSTime(1590, 367200.0 + offset));
        benchmark::DoNotOptimize(velocity);
        offset = offset >= 600.0 ? -600.0 : offset + 1.0;
    }
}
BENCHMARK(GPSVely)->Name("GPSEphemeride::CalculateVely/20-minute span");

// Times from -range to +range about tb, or all at +range.
void GlonassPosn(benchmark::State& state) {
    const GNSS::Glonass::Ephemeride record = MakeGlonass();
    const auto range = static_cast<double>(state.range(0));
    const bool isFixed = state.range(1) != 0;
    GNSS::Glonass::Ephemeride::Result result;
    double offset = isFixed ? range : -range;
    for (auto _ : state) {
        record.CalculatePosn(record.reference + Corvane::Time(offset), result, true);
        benchmark::DoNotOptimize(result);
        if (!isFixed) offset = offset >= range ? -range : offset + 1.0;
    }
    if (!result.valid) state.SkipWithError("the record gave no position");
}
BENCHMARK(GlonassPosn)->Name("Glonass::Ephemeride::CalculatePosn/20-minute span")->Args({600, 0});
BENCHMARK(GlonassPosn)->Name("Glonass::Ephemeride::CalculatePosn/30-minute span")->Args({900, 0});
BENCHMARK(GlonassPosn)->Name("Glonass::Ephemeride::CalculatePosn/15 minutes from tb")->Args({900, 1});

}  // namespace
