// What the almanac's computations cost.
#include <benchmark/benchmark.h>

#include "gnss/almanac/AlmanacGlonassOrbit.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"

namespace {

using Corvane::Angle;
using GNSS::Almanac;
using GNSS::GPSTime;

// A time that moves on by half a minute, so that every branch is taken and nothing can be remembered.
class Clock {
public:
    GPSTime Next() {
        second_ = second_ < 600000 ? second_ + 30 : 0;
        return {2363, static_cast<double>(second_)};
    }

private:
    int second_ = 0;
};

void IonoDelay(benchmark::State& state) {
    const Almanac::Iono iono;
    Clock clock;
    double azimuth = 0.0;
    for (auto _ : state) {
        azimuth = azimuth < 6.0 ? azimuth + 0.1 : 0.0;
        benchmark::DoNotOptimize(iono.CalculateDelay(clock.Next(), GNSS::Latitude(Angle(0.8)),
                                                     GNSS::Longitude(Angle(0.1)), Angle(0.2 + azimuth / 6.0),
                                                     Angle(azimuth)));
    }
}
BENCHMARK(IonoDelay);

void GPSPosition(benchmark::State& state) {
    Almanac::SV sv;
    sv.toa = GPSTime(2363, 319488.0);
    sv.e = 0.01;
    sv.i = Angle(0.96);
    sv.OmegaDot = Angle(-8e-9);
    sv.sqrtA = 5153.7;
    sv.M0 = Angle(1.0);
    Clock clock;
    GNSS::ECEF posn;
    double clockOffset = 0.0;
    for (auto _ : state) {
        sv.CalculatePosn(clock.Next(), posn, clockOffset);
        benchmark::DoNotOptimize(posn);
    }
}
BENCHMARK(GPSPosition);

Almanac::GlonassSV Satellite() {
    Almanac::GlonassSV sv;
    sv.day = 615;
    sv.TLambda = 27122.0;
    sv.Eccent = 0.0015;
    sv.W = Angle(1.4);
    sv.DDrac = -2655.76;
    return sv;
}

void GlonassPosition(benchmark::State& state) {
    const Almanac::GlonassSV sv = Satellite();
    Clock clock;
    GNSS::ECEF posn;
    for (auto _ : state) {
        sv.CalculatePosn(clock.Next(), posn);
        benchmark::DoNotOptimize(posn);
    }
}
BENCHMARK(GlonassPosition);

void GlonassFullModel(benchmark::State& state) {
    const Almanac::GlonassSV sv = Satellite();
    GNSS::ECEF posn;
    GNSS::ECEF::Delta vely;
    GNSS::GloTime t(615, 0.0, 2000);
    for (auto _ : state) {
        t = t + Corvane::Time(30.0);
        Almanac::GlonassSV::Orbit orbit;
        orbit.Calculate(sv, t);
        orbit.GetEarthFixedState(posn, vely);
        benchmark::DoNotOptimize(posn);
    }
}
BENCHMARK(GlonassFullModel);

void UTCOfGPS(benchmark::State& state) {
    const Almanac::UTC utc;
    Clock clock;
    for (auto _ : state) benchmark::DoNotOptimize(utc.CalcUTC(clock.Next()));
}
BENCHMARK(UTCOfGPS);

}  // namespace
