// What the almanac store costs: an update, saving, and what saving costs those who compute.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/platform/Root.h"
#include "gnss/store/AlmanacStore.h"
#include "gnss/store/GNSSLink.h"
#include "gnss/time/GloTime.h"

namespace {

using GNSS::Almanac;
using GNSS::AlmanacStore;
using GNSS::GNSSLink;
using GNSS::GPSTime;

struct Subscriber : Corvane::Component {
    Subscriber()
        : Component(Corvane::Ident("Subscriber"), 100),
          health(*this, GNSS::SVHealth::Update::Type, &Subscriber::OnHealth),
          update(*this, GNSSLink::AlmanacUpdateType, &Subscriber::OnUpdate),
          calculator(*this, GNSSLink::AlmanacCalcType, &Subscriber::OnCalculator) {}
    void OnHealth(const GNSS::SVHealth::Update&) {}
    void OnUpdate(const Almanac::Update&) {}
    void OnCalculator(const Almanac::Calculator&) {}
    Corvane::Response<GNSS::SVHealth::Update> health;
    Corvane::Response<Almanac::Update> update;
    Corvane::Response<Almanac::Calculator> calculator;
};

// A store with 32 and 24 satellites in a tree with subscribers, and newer and newer records for it.
class Filled {
public:
    explicit Filled(int nmrSubscribers = 0) {
        root.Join(store);
        Almanac almanac;
        for (int i = 1; i <= 32; ++i) almanac.UpdateSV(Next(i));
        for (int i = 1; i <= 24; ++i) {
            Almanac::GlonassSV sv;
            sv.slot = GNSS::Glonass::Slot(i);
            sv.time = GPSTime(2300, 0.0);
            const GNSS::GloTime crossing(sv.time);
            sv.day = crossing.GetDay();
            sv.TLambda = crossing.GetSeconds();
            almanac.UpdateGlonassSV(sv);
        }
        store->OnFullAlmanacUpdate(almanac);
        for (int i = 0; i < nmrSubscribers; ++i) root.Join(std::make_shared<Subscriber>());
    }
    Almanac::SV Next(int prn) {
        Almanac::SV sv;
        sv.prn = GNSS::PRN(prn);
        seconds_ += 0.001;
        sv.time = sv.toa = GPSTime(2300, seconds_);
        sv.sqrtA = 5153.7;
        return sv;
    }
    Almanac::SV Next() {
        prn_ = prn_ % 32 + 1;
        return Next(prn_);
    }

    Corvane::Root root;
    const std::shared_ptr<AlmanacStore> store =
        std::dynamic_pointer_cast<AlmanacStore>(AlmanacStore::TheFactory.CreateComponent());

private:
    double seconds_ = 0.0;
    int prn_ = 0;
};

// A path that goes with the object: on the disk, or in memory, where syncing does nothing.
class Place {
public:
    explicit Place(bool onDisk) {
        const auto parent = onDisk ? std::filesystem::temp_directory_path() : std::filesystem::path("/dev/shm");
        std::string name = (parent / "gnss-bench-XXXXXX").string();
        if (mkdtemp(name.data()) != nullptr) folder_ = name;
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    ~Place() { std::filesystem::remove_all(folder_); }
    [[nodiscard]] std::string Root() const { return (folder_ / "x").string(); }

private:
    std::filesystem::path folder_;
};

// From the handler's entry to the last post, without a file.
void AlmanacUpdate(benchmark::State& state) {
    Filled filled(static_cast<int>(state.range(0)));
    int nmr = 0;
    for (auto _ : state) {
        filled.store->OnAlmanacSV(filled.Next());
        if (++nmr % 1000 == 0) {
            state.PauseTiming();
            filled.root.CycleAll();
            state.ResumeTiming();
        }
    }
}
BENCHMARK(AlmanacUpdate)->Arg(0)->Arg(3);

void AlmanacRefused(benchmark::State& state) {
    Filled filled(3);
    const Almanac::SV sv = filled.Next(1);
    filled.store->OnAlmanacSV(sv);
    for (auto _ : state) filled.store->OnAlmanacSV(sv);
}
BENCHMARK(AlmanacRefused);

// Argument 1: the file and its folder are synced; 0: in memory.
void AlmanacSave(benchmark::State& state) {
    const Place place(state.range(0) == 1);
    Filled filled;
    filled.store->RootPathChange(place.Root(), true);
    for (auto _ : state) filled.store->OnAlmanacSV(filled.Next());
}
BENCHMARK(AlmanacSave)->Arg(0)->Arg(1)->UseRealTime();

// A position from the calculator while another thread does nothing (0), updates (1), or updates and saves durably (2).
// The counters are the slowest of a thousand and the slowest of all, where the system's other work shows, too.
void AlmanacReader(benchmark::State& state) {
    const Place place(true);
    Filled filled;
    if (state.range(0) == 2) filled.store->RootPathChange(place.Root(), true);
    const auto subscriber = std::make_shared<Subscriber>();
    filled.root.Join(subscriber);
    const auto calculator = subscriber->calculator.Get();
    std::atomic<bool> isOver = false;
    std::thread writer;
    if (state.range(0) != 0) {
        writer = std::thread([&] {
            while (!isOver) {
                filled.store->OnAlmanacSV(filled.Next());
                subscriber->DoCycle();
            }
        });
    }
    using Clock = std::chrono::steady_clock;
    std::vector<double> times;
    times.reserve(1U << 22U);
    GNSS::ECEF posn;
    double clockOffset = 0.0;
    for (auto _ : state) {
        const auto start = Clock::now();
        calculator->CalculatePosn(GNSS::PRN(7), GPSTime(2300, 1000.0), posn, clockOffset);
        benchmark::DoNotOptimize(posn);
        if (times.size() < times.capacity()) {
            times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        }
    }
    isOver = true;
    if (writer.joinable()) writer.join();
    std::sort(times.begin(), times.end());
    state.counters["p999_us"] = times[times.size() * 999 / 1000];
    state.counters["max_us"] = times.back();
}
BENCHMARK(AlmanacReader)->Arg(0)->Arg(1)->Arg(2);

}  // namespace
