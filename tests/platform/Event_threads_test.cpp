#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"
#include "gnss/platform/Event.h"

namespace {

using Corvane::Event;

class EventTest : public testing::Test {
protected:
    void SetUp() override { Event::Clear(); }
    void TearDown() override {
        Event::Clear();
        Corvane::Clock::UseSystem();
    }
};

TEST_F(EventTest, CarriesTheClocksTimeAndKeepsTheLatest) {
    const Corvane::TimeDate then(Corvane::Date(2004, 2, 29), Corvane::TimeOfDay(43200.5));
    Corvane::Clock::SetTo(then);
    for (std::size_t i = 0; i < Event::MaxKept + 5; ++i) Event::AddEvent("Test", std::to_string(i));
    const std::vector<Event> kept = Event::GetKept();
    ASSERT_EQ(kept.size(), Event::MaxKept);
    EXPECT_EQ(kept.front().GetText(), "5");
    EXPECT_EQ(kept.back().GetText(), std::to_string(Event::MaxKept + 4));
    EXPECT_EQ(kept.back().GetSource(), "Test");
    EXPECT_EQ(kept.back().GetTime(), then);
}

TEST_F(EventTest, SinksMayUseTheLog) {
    std::string seen;
    const auto id = Event::InstallSink([&](const Event& event) {
        seen += "a:" + event.GetText().str() + ' ';
        if (event.GetText() == "1") Event::AddEvent("Sink", "from a");
        throw std::runtime_error("broken sink");
    });
    Event::SinkID once = 0;
    once = Event::InstallSink([&](const Event& event) {
        seen += "b:" + event.GetText().str() + ' ';
        Event::RemoveSink(once);
        Event::AddEvent("Sink", "from b");
    });
    Event::AddEvent("Test", "1");
    Event::AddEvent("Test", "2");
    Event::RemoveSink(id);
    Event::RemoveSink(id);
    Event::AddEvent("Test", "3");
    EXPECT_EQ(seen, "a:1 b:from a a:2 ");
    EXPECT_EQ(Event::GetKept().size(), 5U);
}

// What a sink uses may be destroyed as soon as it is removed.
TEST_F(EventTest, RemovalWaitsForCallsUnderWay) {
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!stop) Event::AddEvent("Test", "text");
        });
    }
    std::atomic<int> calls = 0;
    for (int i = 0; i < 200; ++i) {
        auto used = std::make_unique<std::atomic<int>>(1);
        const auto id = Event::InstallSink([&calls, raw = used.get()](const Event&) { calls += raw->load(); });
        if (i % 10 == 0) {
            const int before = calls;
            while (calls == before) std::this_thread::yield();
        }
        Event::RemoveSink(id);
        used->store(0);
        used.reset();
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_GE(calls, 20);
}

// Also for the second of two that remove it.
TEST_F(EventTest, EveryRemovalWaitsForCallsUnderWay) {
    std::atomic<bool> inside = false;
    std::atomic<bool> release = false;
    std::atomic<int> nmrRemoving = 0;
    std::atomic<int> nmrEarly = 0;
    const auto id = Event::InstallSink([&](const Event&) {
        inside = true;
        while (!release) std::this_thread::yield();
    });
    std::vector<std::thread> threads;
    threads.emplace_back([] { Event::AddEvent("Test", "text"); });
    while (!inside) std::this_thread::yield();
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            ++nmrRemoving;
            Event::RemoveSink(id);
            nmrEarly += !release;
        });
    }
    while (nmrRemoving < 2) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    release = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(nmrEarly, 0);
}

// Sinks that remove each other, and add events, on several threads at once: every thread comes to its end.
TEST_F(EventTest, SinksThatRemoveEachOther) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<Event::SinkID> first = 0;
        std::atomic<Event::SinkID> second = 0;
        first = Event::InstallSink([&](const Event&) { Event::RemoveSink(second); });
        second = Event::InstallSink([&](const Event&) { Event::RemoveSink(first); });
        std::thread other([] { Event::AddEvent("Test", "other"); });
        Event::AddEvent("Test", "this");
        other.join();
        Event::RemoveSink(first);
        Event::RemoveSink(second);
    }
    EXPECT_EQ(Event::GetKept().size(), 100U);
}

}  // namespace
