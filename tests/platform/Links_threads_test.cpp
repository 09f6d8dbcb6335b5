// Links, responses and components under traffic from several threads: counts exact, order kept per producer, nobody
// called after it has left.
#include <atomic>
#include <iostream>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/Link.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Root.h"
#include "tests/platform/Components.h"

using namespace Corvane;
using tests::Joined;

namespace {

constexpr int NmrProducers = 4;
constexpr int NmrConsumers = 4;
constexpr int NmrItems = 5'000;  // of each producer

const Type ItemType("Item");
const Type StoredType("Stored item");

struct Item {
    int producer = 0;
    int sequence = 0;
};

struct Producer : Component {
    Producer() : Component(Ident("Producer"), 100) {}
    Link<Item> items{*this, ItemType, "Items"};
};

// Expects each producer's items without a gap. Nothing here is atomic but what other threads look at: that handlers do
// not meet is what the thread sanitizer watches.
struct Consumer : Component {
    explicit Consumer(Type type = ItemType)
        : Component(Ident("Consumer"), 100), response(*this, type, &Consumer::OnItem) {}
    void OnItem(const Item& item) {
        EXPECT_FALSE(isInside);
        isInside = true;
        EXPECT_FALSE(hasLeft.load());
        const auto [next, isFirst] = expected.try_emplace(item.producer, item.sequence);
        EXPECT_EQ(next->second, item.sequence) << "of producer " << item.producer;
        next->second = item.sequence + 1;
        ++nmrGot[item.producer];
        isInside = false;
    }
    void Cycle() override {
        EXPECT_FALSE(isInside);
        ++nmrCycles;
    }

    bool isInside = false;
    int nmrCycles = 0;
    std::map<int, int> expected;
    std::map<int, int> nmrGot;
    std::atomic<bool> hasLeft = false;
    Response<Item> response;
};

// Publishes what it gets under its link's lock, as a store does.
struct Relay : Component {
    Relay() : Component(Ident("Relay"), 100) {}
    void OnItem(const Item& item) {
        LinkBase::Lock lock(stored);
        stored.Publish(item);
        lock.Close();
    }
    ManagedLink<Item> stored{*this, StoredType, "Items"};
    Response<Item> response{*this, ItemType, &Relay::OnItem};
};

// Threads that cycle the tree until they are told to end.
class Host {
public:
    Host(Root& root, int nmrThreads) : root_(root) {
        for (int i = 0; i < nmrThreads; ++i) {
            threads_.emplace_back([this] {
                while (!isOver_) {
                    root_.CycleAll();
                    std::this_thread::yield();
                }
            });
        }
    }
    ~Host() { Finish(); }
    void Finish() {
        isOver_ = true;
        for (std::thread& thread : threads_) thread.join();
        threads_.clear();
        while (root_.NmrQueued() != 0) root_.CycleAll();
    }

private:
    Root& root_;
    std::atomic<bool> isOver_ = false;
    std::vector<std::thread> threads_;
};

TEST(LinksUnderTraffic, EveryItemArrivesOnceAndInOrder) {
    Root root;
    std::vector<std::shared_ptr<Producer>> producers;
    std::vector<std::shared_ptr<Consumer>> consumers;
    for (int i = 0; i < NmrProducers; ++i) producers.push_back(Joined<Producer>(root));
    for (int i = 0; i < NmrConsumers; ++i) consumers.push_back(Joined<Consumer>(root));
    const auto relay = Joined<Relay>(root);
    consumers.push_back(Joined<Consumer>(root, StoredType));

    Host host(root, 2);
    std::atomic<int> nmrBusy = NmrProducers;
    std::vector<std::thread> threads;
    for (int p = 0; p < NmrProducers; ++p) {
        threads.emplace_back([&, p] {
            for (int i = 0; i < NmrItems; ++i) {
                producers[static_cast<std::size_t>(p)]->items.Send({p, i});
                if (i % 64 == 0) std::this_thread::yield();
            }
            --nmrBusy;
        });
    }
    // Consumers come and go, a new one and one that comes back; so do responses of components that stay.
    int nmrStays = 0;
    threads.emplace_back([&] {
        const auto guest = std::make_shared<Consumer>();
        while (nmrBusy > 0) {
            const auto passer = Joined<Consumer>(root);
            guest->expected.clear();
            guest->hasLeft = false;
            EXPECT_TRUE(root.Join(guest));
            std::this_thread::yield();
            root.Leave(*passer);
            passer->hasLeft = true;
            root.Leave(*guest);
            guest->hasLeft = true;
            EXPECT_EQ(passer->NmrQueued() + guest->NmrQueued(), 0u);
            ++nmrStays;
        }
    });
    threads.emplace_back([&] {
        while (nmrBusy > 0) {
            Response<Item> extra(*consumers[0], Type("Nothing"), &Consumer::OnItem);
            Response<Item> stored(*relay, StoredType, &Relay::OnItem);
            std::this_thread::yield();
            EXPECT_EQ(stored.Length(), 0u);
        }
    });
    // Producers come, send a little and go.
    int nmrVisits = 0;
    threads.emplace_back([&] {
        while (nmrBusy > 0) {
            const int id = NmrProducers + nmrVisits++;
            const auto visitor = Joined<Producer>(root);
            for (int i = 0; i < 10; ++i) visitor->items.Send({id, i});
            root.Leave(*visitor);
        }
    });
    for (std::thread& thread : threads) thread.join();
    host.Finish();

    std::cout << nmrStays << " consumers and " << nmrVisits << " producers came and went\n";
    for (const auto& consumer : consumers) {
        EXPECT_GT(consumer->nmrCycles, 0);
        ASSERT_EQ(consumer->nmrGot.size(), static_cast<std::size_t>(NmrProducers + nmrVisits));
        for (const auto& [producer, nmr] : consumer->nmrGot) {
            ASSERT_EQ(nmr, producer < NmrProducers ? NmrItems : 10) << "of producer " << producer;
        }
    }
}

// A value that is whole only when both parts agree.
struct Count {
    int number = 0;
    int twice = 0;
};
const Type CountType("Count");

struct Counter : Component {
    Counter() : Component(Ident("Counter"), 100) { count.Set(Count{}); }
    ManagedLink<Count> count{*this, CountType, "Count"};
};

// Expects consecutive numbers from the first one that it gets.
struct Watcher : Component {
    Watcher() : Component(Ident("Watcher"), 100) {}
    void OnCount(const Count& count) {
        EXPECT_EQ(count.twice, 2 * count.number);
        if (last >= 0) {
            EXPECT_EQ(count.number, last + 1);
        }
        last = count.number;
    }
    int last = -1;
    Response<Count> counts{*this, CountType, &Watcher::OnCount};
};

TEST(LinksUnderTraffic, AKeptValueIsReadWholeAndChangedInStep) {
    Root root;
    const auto counter = Joined<Counter>(root);
    std::vector<std::shared_ptr<Watcher>> watchers;
    for (int i = 0; i < NmrConsumers; ++i) watchers.push_back(Joined<Watcher>(root));
    Host host(root, 2);
    std::atomic<int> nmrBusy = NmrProducers;
    std::vector<std::thread> threads;
    for (int p = 0; p < NmrProducers; ++p) {
        threads.emplace_back([&] {
            for (int i = 0; i < NmrItems; ++i) {
                const LinkBase::Lock lock(counter->count);
                const int next = counter->count.Get()->number + 1;
                counter->count.Publish({next, 2 * next});
            }
            --nmrBusy;
        });
    }
    threads.emplace_back([&] {
        int last = 0;
        while (nmrBusy > 0) {
            const auto now = watchers[0]->counts.Get();
            EXPECT_EQ(now->twice, 2 * now->number);
            EXPECT_GE(now->number, last);
            last = now->number;
            const Component::WriteLock turn(*watchers[1]);
            EXPECT_LE(watchers[1]->last, NmrProducers * NmrItems);
        }
    });
    // Late ones get the value of their time and everything from then on.
    std::vector<std::shared_ptr<Watcher>> late;
    threads.emplace_back([&] {
        for (int i = 0; i < 50 && nmrBusy > 0; ++i) {
            late.push_back(Joined<Watcher>(root));
            std::this_thread::yield();
        }
    });
    for (std::thread& thread : threads) thread.join();
    host.Finish();
    EXPECT_FALSE(late.empty());
    watchers.insert(watchers.end(), late.begin(), late.end());
    for (const auto& watcher : watchers) EXPECT_EQ(watcher->last, NmrProducers * NmrItems);
}

// Makes the other leave while both are in their handlers.
struct Rival : Component {
    explicit Rival(std::atomic<int>& nmrInside) : Component(Ident("Rival"), 100), nmrInside_(nmrInside) {}
    void OnNumber(const int&) {
        ++nmrInside_;
        while (nmrInside_ < 2) std::this_thread::yield();
        Root* const root = GetRoot();
        if (root != nullptr && root->Leave(*other)) hasPutOut = true;
    }
    std::atomic<int>& nmrInside_;
    Component* other = nullptr;
    bool hasPutOut = false;
    Response<int> response{*this, tests::NumberType, &Rival::OnNumber};
};

TEST(LinksUnderTraffic, RivalsThatPutEachOtherOutDoNotWaitForEachOther) {
    for (int round = 0; round < 200; ++round) {
        Root root;
        const auto source = Joined<tests::Source>(root);
        std::atomic<int> nmrInside = 0;
        const auto a = Joined<Rival>(root, nmrInside);
        const auto b = Joined<Rival>(root, nmrInside);
        a->other = b.get();
        b->other = a.get();
        source->messages.Send(1);
        std::thread one([&] { a->DoCycle(); });
        std::thread two([&] { b->DoCycle(); });
        one.join();
        two.join();
        EXPECT_TRUE(a->hasPutOut || b->hasPutOut);
    }
}

// Who leaves while it is in its handler keeps nothing in its queue, although the one that puts it out cannot wait.
TEST(LinksUnderTraffic, WhoIsPutOutWhileItHandlesKeepsNoQueue) {
    for (int round = 0; round < 200; ++round) {
        Root root;
        const auto source = Joined<tests::Source>(root);
        std::atomic<int> nmrInside = 0;
        const auto victim = Joined<Rival>(root, nmrInside);
        const auto other = Joined<Rival>(root, nmrInside);
        victim->other = source.get();
        other->other = victim.get();
        source->messages.Send(1);
        std::thread one([&] { victim->DoCycle(); });
        while (nmrInside < 1) std::this_thread::yield();
        source->messages.Send(2);
        std::thread two([&] { other->DoCycle(); });
        one.join();
        two.join();
        EXPECT_TRUE(other->hasPutOut);
        EXPECT_EQ(victim->NmrQueued(), 0u);
    }
}

}  // namespace
