// Ephemeris histories as the stores keep them, and calculators as the consumers ask them. The histories are full: every
// satellite of the system with as many records as are kept.
#include <memory>
#include <thread>

#include <benchmark/benchmark.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/ephemeris/IODEData.h"
#include "gnss/ephemeris/TbData.h"

namespace {

using Corvane::Angle;
using GNSS::GPSTime;
using GNSS::Glonass::Ephemeris;

const GPSTime start(1525, 299715.0);

GNSS::GPSEphemeride MakeRecord(GNSS::PRN prn, int issue) {
    GNSS::GPSEphemeride record;
    record.prn = prn;
    record.reference = start;
    record.posn.IODE = issue;
    record.posn.toe = record.clock.toc = start.GetSeconds();
    record.posn.sqrtA = 5153.65;
    record.posn.e = 0.0091;
    record.posn.M0 = Angle(1.2);
    record.posn.i0 = Angle(0.96);
    return record;
}

// Each issue another body of the same tb.
GNSS::Glonass::Ephemeride MakeRecord(GNSS::Glonass::Slot slot, int issue) {
    GNSS::Glonass::Ephemeride record;
    record.slot = slot;
    record.reference = start;
    const GNSS::GloTime tb(start);
    record.posn.day = tb.GetDay();
    record.posn.tb = tb.GetSeconds();
    record.posn.frameTime = issue;
    record.posn.posn = {7003.008789 + 0.01 * (issue % 100), -12206.626953, 21280.765625};
    record.posn.vely = {0.7835417, 2.8042530, 1.3525150};
    return record;
}

template <typename History>
History MakeHistory() {
    // In a process that never had a second thread shared pointers count without atomic operations.
    std::thread([] {}).join();
    History history;
    for (int issue = 0; issue < History::SV::Depth; ++issue) {
        for (int number = History::Id::Min; number <= History::Id::Max; ++number) {
            history.Update(MakeRecord(typename History::Id(number), issue));
        }
    }
    return history;
}

// A new record into the held history, and a copy of it to publish.
template <typename History>
void UpdateAndPublish(benchmark::State& state) {
    History held = MakeHistory<History>();
    auto published = std::make_shared<const History>(held);
    int issue = 10;
    int refused = 0;
    for (auto _ : state) {
        const int number = History::Id::Min + issue % History::Id::Max;
        refused += held.Update(MakeRecord(typename History::Id(number), ++issue)) ? 0 : 1;
        published = std::make_shared<const History>(held);
    }
    if (refused != 0) state.SkipWithError("a record was refused");
}
BENCHMARK(UpdateAndPublish<GNSS::GPSEphemeris>)->Name("GPSEphemeris/update and publish");
BENCHMARK(UpdateAndPublish<Ephemeris>)->Name("Glonass::Ephemeris/update and publish");

template <typename History>
void RefuseARepeat(benchmark::State& state) {
    History held = MakeHistory<History>();
    const auto record = *held.FindSV(5)->GetEphem(0);
    for (auto _ : state) benchmark::DoNotOptimize(held.Update(record));
}
BENCHMARK(RefuseARepeat<GNSS::GPSEphemeris>)->Name("GPSEphemeris/repeat");
BENCHMARK(RefuseARepeat<Ephemeris>)->Name("Glonass::Ephemeris/repeat");

// Through the calculator, and the record itself for comparison; 5 minutes from the reference time.
template <typename History, typename Calc>
void Calculate(benchmark::State& state) {
    const History history = MakeHistory<History>();
    const Calc calc(std::make_shared<const History>(history));
    const GPSTime t = start + Corvane::Time(300.0);
    typename History::Result result;
    int number = 0;
    for (auto _ : state) {
        number = number % History::Id::Max + 1;
        if (state.range(0) == 0) {
            calc.CalculatePosn(number, t, result);
        } else {
            history.FindSV(number)->CalculatePosn(t, result);
        }
        benchmark::DoNotOptimize(result);
    }
    if (!result.valid) state.SkipWithError("no position");
}
BENCHMARK(Calculate<GNSS::GPSEphemeris, GNSS::GPSEphemerisCalc>)
    ->Name("GPSEphemerisCalc/posn; bare record")
    ->DenseRange(0, 1);
BENCHMARK(Calculate<Ephemeris, GNSS::Glonass::EphemerisCalc>)
    ->Name("Glonass::EphemerisCalc/posn; bare record")
    ->DenseRange(0, 1);

template <typename Data>
void RebuildDataAge(benchmark::State& state) {
    const auto history = MakeHistory<typename Data::History>();
    Data data("Ephemeris");
    for (auto _ : state) benchmark::DoNotOptimize(data.UpdateEphem(history));
}
BENCHMARK(RebuildDataAge<GNSS::IODEData>)->Name("IODEData/rebuild");
BENCHMARK(RebuildDataAge<GNSS::TbData>)->Name("TbData/rebuild");

}  // namespace
