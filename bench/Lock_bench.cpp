// What the reader-writer lock costs: per read lock and unlock by one and two threads, and how long a writer waits while
// two readers leave no gap.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include <benchmark/benchmark.h>

#include "gnss/platform/Lock.h"

namespace {

pt::rwlock rw;
pt::mutex mutex;

void ReadLock(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        const pt::readlock lock(rw);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ReadLock)->Threads(1)->Threads(2);

void ReadLockAgain(benchmark::State& state) {
    const pt::readlock outer(rw);
    for ([[maybe_unused]] auto _ : state) {
        const pt::readlock lock(rw);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ReadLockAgain)->Threads(1)->Threads(2);

void WriteLock(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        const pt::writelock lock(rw);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(WriteLock);

void MutexLock(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        const pt::mutexlock lock(mutex);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(MutexLock)->Threads(1)->Threads(2);

// The writer comes every half millisecond; the worst wait stands in the counter. The argument is how long a reader
// stays inside, in microseconds.
void WriterAmongTwoReaders(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    const auto inside = std::chrono::microseconds(state.range(0));
    std::atomic<bool> stop = false;
    const auto read = [&] {
        while (!stop) {
            const pt::readlock lock(rw);
            for (const auto end = Clock::now() + inside; Clock::now() < end;) continue;
        }
    };
    std::thread first(read);
    std::thread second(read);
    Clock::duration worst{};
    for ([[maybe_unused]] auto _ : state) {
        std::this_thread::sleep_for(std::chrono::microseconds(500));
        const auto start = Clock::now();
        rw.WriteLock();
        const auto waited = Clock::now() - start;
        rw.WriteUnlock();
        worst = std::max(worst, waited);
        state.SetIterationTime(std::chrono::duration<double>(waited).count());
    }
    stop = true;
    first.join();
    second.join();
    state.counters["worst_ms"] = std::chrono::duration<double, std::milli>(worst).count();
}
BENCHMARK(WriterAmongTwoReaders)
    ->Arg(0)
    ->Arg(10)
    ->Arg(100)
    ->UseManualTime()
    ->Iterations(2000)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
