// What it costs to bring a record through an ephemeris store to three subscribers, each of which takes all four outputs
// in its handlers: the history, the calculator, the data age and the health. The histories are full.
#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "gnss/platform/Root.h"
#include "gnss/store/GPSEphemStore.h"
#include "gnss/store/GlonassEphemStore.h"

namespace {

using Corvane::Component;
using Corvane::Ident;
using Corvane::Response;
using GNSS::GPSTime;
using GNSS::SVHealth;

const GPSTime start(1525, 299715.0);

void SetIssue(GNSS::GPSEphemeride& record, GNSS::PRN prn, int issue) {
    record.prn = prn;
    record.reference = start;
    record.posn.IODE = issue;
}
// Each issue another body of the same tb.
void SetIssue(GNSS::Glonass::Ephemeride& record, GNSS::Glonass::Slot slot, int issue) {
    record.slot = slot;
    record.reference = start;
    const GNSS::GloTime tb(start);
    record.posn.day = tb.GetDay();
    record.posn.tb = tb.GetSeconds();
    record.posn.frameTime = issue;
    record.posn.posn = {7003.008789 + 0.01 * (issue % 100), -12206.626953, 21280.765625};
    record.posn.vely = {0.7835417, 2.8042530, 1.3525150};
}

template <typename Store>
struct Producer : Component {
    Producer() : Component(Ident("Producer"), 100) {}
    Corvane::Link<typename Store::Record> link{*this, Store::Rules::RecordType()};
};

template <typename Store>
struct Subscriber : Component {
    Subscriber() : Component(Ident("Subscriber"), 100) {}
    template <typename T>
    void On(const T& value) {
        benchmark::DoNotOptimize(&value);
        ++nmrGot;
    }
    long nmrGot = 0;
    Response<SVHealth::Update> health{*this, SVHealth::Update::Type, &Subscriber::On<SVHealth::Update>};
    Response<typename Store::History> history{*this, Store::Rules::HistoryType(),
                                              &Subscriber::On<typename Store::History>};
    Response<typename Store::Calc> calc{*this, Store::Rules::CalcType(), &Subscriber::On<typename Store::Calc>};
    Response<typename Store::Ages> ages{*this, Store::Rules::DataAgeType(), &Subscriber::On<typename Store::Ages>};
};

template <typename Store>
struct Tree {
    using Id = typename Store::Id;

    Tree() {
        // In a process that never had a second thread shared pointers count without atomic operations.
        std::thread([] {}).join();
        root.Join(producer);
        root.Join(store);
        for (auto& subscriber : subscribers) root.Join(subscriber = std::make_shared<Subscriber<Store>>());
        for (int i = 0; i < Store::History::SV::Depth * Id::Max; ++i) store->OnEphem(Next());
        root.CycleAll();
        for (auto& subscriber : subscribers) subscriber->nmrGot = 0;
    }
    // The satellites in turn, each with a new issue.
    const typename Store::Record& Next() {
        SetIssue(record, Id(nmrMade % Id::Max + 1), nmrMade);
        ++nmrMade;
        return record;
    }
    // Whether each subscriber has got each output once for each record.
    [[nodiscard]] bool HasAll(long nmrRecords) const {
        return std::all_of(std::begin(subscribers), std::end(subscribers),
                           [=](const auto& each) { return each->nmrGot == 4 * nmrRecords; });
    }

    const std::shared_ptr<Producer<Store>> producer = std::make_shared<Producer<Store>>();
    const std::shared_ptr<Store> store = std::dynamic_pointer_cast<Store>(Store::TheFactory.CreateComponent());
    std::shared_ptr<Subscriber<Store>> subscribers[3];
    typename Store::Record record;
    int nmrMade = 0;
    Corvane::Root root;
};

// A batch of records on the producer's link, then one cycle of everybody. Items per second are records.
template <typename Store>
void Throughput(benchmark::State& state) {
    Tree<Store> tree;
    const auto batch = state.range(0);
    for (auto _ : state) {
        for (std::int64_t i = 0; i < batch; ++i) tree.producer->link.Send(tree.Next());
        tree.root.CycleAll();
    }
    if (!tree.HasAll(state.iterations() * batch)) state.SkipWithError("a record has not been published once");
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(Throughput<GNSS::GPSEphemStore>)->Name("GPSEphemStore/records")->Arg(1)->Arg(100)->Arg(2000);
BENCHMARK(Throughput<GNSS::Glonass::EphemStore>)->Name("Glonass::EphemStore/records")->Arg(1)->Arg(100)->Arg(2000);

// From the handler's entry until the last of the subscribers has handled the last output of the record.
template <typename Store>
void Latency(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    Tree<Store> tree;
    std::vector<double> all;
    for (auto _ : state) {
        const auto& record = tree.Next();
        const auto entry = Clock::now();
        tree.store->OnEphem(record);
        for (auto& subscriber : tree.subscribers) subscriber->DoCycle();
        all.push_back(std::chrono::duration<double>(Clock::now() - entry).count());
        state.SetIterationTime(all.back());
    }
    if (!tree.HasAll(state.iterations())) state.SkipWithError("a record has not been published once");
    std::sort(all.begin(), all.end());
    state.counters["median_us"] = 1e6 * all[all.size() / 2];
    state.counters["p99_us"] = 1e6 * all[all.size() * 99 / 100];
}
BENCHMARK(Latency<GNSS::GPSEphemStore>)->Name("GPSEphemStore/entry to last subscriber")->UseManualTime();
BENCHMARK(Latency<GNSS::Glonass::EphemStore>)->Name("Glonass::EphemStore/entry to last subscriber")->UseManualTime();

}  // namespace
