// Health sets and the history of notes.
#include <vector>

#include <benchmark/benchmark.h>

#include "gnss/health/NotesHistory.h"
#include "gnss/health/SVHealthSet.h"

namespace {

using GNSS::Notes;
using GNSS::PRN;
using GNSS::SVHealth;
using GNSS::Glonass::Slot;

SVHealth::Set MakeFullSet() {
    SVHealth::Set set;
    for (int i = 1; i <= PRN::Max; ++i) set.Refresh({SVHealth::Update::EphemerisHealth, PRN(i), 0});
    for (int i = 1; i <= Slot::Max; ++i) set.Refresh({SVHealth::Update::EphemerisHealth, Slot(i), 0});
    return set;
}

// A copy made; the dropping is not counted.
void HealthSetCopy(benchmark::State& state) {
    const SVHealth::Set set = MakeFullSet();
    std::vector<SVHealth::Set> copies;
    copies.reserve(10'000);
    for ([[maybe_unused]] auto _ : state) {
        copies.push_back(set);
        if (copies.size() < copies.capacity()) continue;
        state.PauseTiming();
        copies.clear();
        state.ResumeTiming();
    }
}
BENCHMARK(HealthSetCopy);

void HealthSetCopyAndDrop(benchmark::State& state) {
    const SVHealth::Set set = MakeFullSet();
    for ([[maybe_unused]] auto _ : state) {
        SVHealth::Set copy = set;
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(HealthSetCopyAndDrop)->Threads(1)->Threads(2);

void HealthSetQuery(benchmark::State& state) {
    const SVHealth::Set set = MakeFullSet();
    int slot = 1;
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(slot);
        benchmark::DoNotOptimize(set.IsEnabledAndHealthy(Slot(slot)));
        slot = slot % Slot::Max + 1;
    }
}
BENCHMARK(HealthSetQuery);

// A change to a body that somebody else holds, too: the first after publishing copies every record.
void HealthSetChangeOfShared(benchmark::State& state) {
    const SVHealth::Set set = MakeFullSet();
    for ([[maybe_unused]] auto _ : state) {
        SVHealth::Set copy = set;
        benchmark::DoNotOptimize(copy.Refresh({SVHealth::Update::EphemerisHealth, PRN(5), 1}));
    }
}
BENCHMARK(HealthSetChangeOfShared);

// An update a second with 20 notes, of which the argument come and go every second, after a day of the same; the
// history is published (its body shared) or not.
void HistoryUpdate(benchmark::State& state) {
    const auto flickering = static_cast<int>(state.range(0));
    Notes odd;
    Notes even;
    for (int i = 0; i < 20; ++i) {
        odd.AddNote(1, i, "Satellite is not used");
        if (i >= flickering) even.AddNote(1, i, "Satellite is not used");
    }
    Notes::History history;
    Corvane::TimeDate t(Corvane::Date(2024, 1, 1), Corvane::TimeOfDay());
    bool isOdd = false;
    const auto step = [&] {
        t = t + Corvane::Time::Second;
        isOdd = !isOdd;
        history.Update(t, isOdd ? odd : even);
    };
    for (int i = 0; i < 2 * 86400; ++i) step();
    Notes::History published;
    for ([[maybe_unused]] auto _ : state) {
        if (state.range(1) != 0) published = history;
        step();
    }
    state.counters["intervals"] = history[0].NmrInterval();
}
BENCHMARK(HistoryUpdate)->ArgNames({"flickering", "published"})->ArgsProduct({{0, 2}, {0, 1}});

}  // namespace
