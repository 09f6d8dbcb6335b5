// What it costs to publish a value to three subscribers, and to bring it through their handlers.
#include <memory>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "gnss/platform/Link.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Root.h"

namespace {

using namespace Corvane;

struct Record {
    double fields[24] = {};
};
const Type RecordType("Record");

struct Publisher : Component {
    Publisher() : Component(Ident("Publisher"), 100) {}
    ManagedLink<Record> link{*this, RecordType, "Records"};
};

struct Subscriber : Component {
    Subscriber() : Component(Ident("Subscriber"), 100) {}
    void OnRecord(const Record& record) { benchmark::DoNotOptimize(record); }
    Response<Record> response{*this, RecordType, &Subscriber::OnRecord};
};

struct Tree {
    Tree() {
        // In a process that never had a second thread shared pointers count without atomic operations.
        std::thread([] {}).join();
        root.Join(publisher);
        for (int i = 0; i < 3; ++i) {
            subscribers.push_back(std::make_shared<Subscriber>());
            root.Join(subscribers.back());
        }
    }
    const std::shared_ptr<Publisher> publisher = std::make_shared<Publisher>();
    std::vector<std::shared_ptr<Subscriber>> subscribers;
    Root root;
};

// A batch of records into the queues, then one cycle of everybody; the time is that of one record.
void PublishAndDrain(benchmark::State& state) {
    Tree tree;
    const auto batch = state.range(0);
    for (auto _ : state) {
        for (std::int64_t i = 0; i < batch; ++i) tree.publisher->link.Publish(Record{});
        tree.root.CycleAll();
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(PublishAndDrain)->Arg(1)->Arg(100)->Arg(10'000);

void ReadKeptValue(benchmark::State& state) {
    Tree tree;
    tree.publisher->link.Publish(Record{});
    for (auto _ : state) benchmark::DoNotOptimize(tree.publisher->link.Get());
}
BENCHMARK(ReadKeptValue);

void LockLink(benchmark::State& state) {
    Tree tree;
    for (auto _ : state) const LinkBase::Lock lock(tree.publisher->link);
}
BENCHMARK(LockLink);

}  // namespace
