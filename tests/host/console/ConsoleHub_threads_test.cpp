// Panels between the run's thread and the streams.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "host/console/ConsoleHub.h"

namespace {

using Host::ConsoleHub;

std::string TakeAll(ConsoleHub::Reader& reader) {
    std::vector<ConsoleHub::Text> events;
    while (reader.Take(events, 3)) continue;
    std::string all;
    for (const auto& event : events) all += *event;
    return all;
}

TEST(ConsoleHub, GivesALateReaderTheNewestAndCountsTheRest) {
    ConsoleHub hub;
    EXPECT_TRUE(hub.Publish("run", "0"));
    EXPECT_TRUE(hub.Publish("run", "1"));
    EXPECT_TRUE(hub.Publish("fix", "2"));
    ConsoleHub::Reader reader(hub);
    EXPECT_EQ(reader.GetDropped(), 0U) << "what was before a reader is not missed";
    EXPECT_EQ(TakeAll(reader), "id: 2\nevent: run\ndata: 1\n\nid: 3\nevent: fix\ndata: 2\n\n");
    EXPECT_EQ(TakeAll(reader), "");
    for (const char* text : {"3", "4", "5"}) EXPECT_TRUE(hub.Publish("run", text));
    EXPECT_TRUE(hub.Publish("new", "6\n7\r\n8"));
    EXPECT_EQ(reader.GetDropped(), 2U);
    EXPECT_EQ(hub.GetFigures().dropped, 2U);
    EXPECT_EQ(TakeAll(reader),
              "id: 6\nevent: run\ndata: 5\n\nid: 7\nevent: new\ndata: 6\ndata: 7\ndata: \ndata: 8\n\n");
    EXPECT_EQ(*hub.Latest("run"), "5");
    EXPECT_EQ(hub.Latest("none"), nullptr);
    for (const char* name : {"", "a b", "a\nb", "A", "a-name-that-is-longer-than-any-is"})
        EXPECT_FALSE(hub.Publish(name, ""));
    for (std::size_t i = 3; i < ConsoleHub::MaxPanels; ++i) EXPECT_TRUE(hub.Publish("p" + std::to_string(i), ""));
    EXPECT_FALSE(hub.Publish("surplus", ""));
    EXPECT_EQ(hub.GetFigures().dropped, 2U);
}

TEST(ConsoleHub, NeitherLosesNorRepeatsAmongThreads) {
    constexpr std::uint64_t NmrTexts = 3000;
    ConsoleHub hub;
    std::atomic<bool> ends = false;
    std::vector<std::thread> threads;
    std::array<std::uint64_t, 3> seen{};
    std::array<std::uint64_t, 3> dropped{};
    for (std::size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&, i] {
            ConsoleHub::Reader reader(hub);
            std::vector<ConsoleHub::Text> events;
            while (true) {
                const bool isLast = ends;
                events.clear();
                if (!reader.Take(events, 1 + i) && isLast) break;
                seen[i] += events.size();
                static_cast<void>(hub.GetFigures());
            }
            dropped[i] = reader.GetDropped();
        });
    }
    while (hub.GetFigures().readers < seen.size()) std::this_thread::yield();
    for (std::uint64_t i = 0; i < NmrTexts; ++i)
        EXPECT_TRUE(hub.Publish("p" + std::to_string(i % 5), std::to_string(i)));
    ends = true;
    for (std::thread& thread : threads) thread.join();
    for (std::size_t i = 0; i < seen.size(); ++i) EXPECT_EQ(seen[i] + dropped[i], NmrTexts);
    EXPECT_EQ(hub.GetFigures().taken + hub.GetFigures().dropped, NmrTexts * seen.size());
}

}  // namespace
