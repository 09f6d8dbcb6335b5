// Names are looked up on threads: nobody waits for them, and a thread that nobody waits for ends by itself.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "host/live/NameLookup.h"
#include "host/live/TcpSource.h"
#include "tests/host/live/LiveBench.h"

namespace {

using namespace std::chrono_literals;
using State = Host::LiveSource::State;
using tests::LiveBench;
using tests::Server;

TEST(NameLookup, TriesTheAddressesOneAfterAnother) {
    LiveBench bench;
    const Server server;
    // Where nobody listens, and then the right one.
    const auto lookUp = [](const std::string& host, int port) {
        Host::NameLookup::Result result;
        EXPECT_EQ(host, "rover.example");
        for (const char* address : {"127.0.0.2", "127.0.0.1"}) {
            result.addresses.emplace_back();
            EXPECT_TRUE(Host::ParseSocketAddress(address, port, result.addresses.back()));
        }
        return result;
    };
    auto source = bench.Make<Host::TcpSource>("tcp://rover.example:" + std::to_string(server.GetPort()), lookUp);
    bench.loop.Add(source);
    source.Start();
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    EXPECT_EQ(bench.CountEvents("connected to 127.0.0.1:"), 1);
}

TEST(NameLookup, IsGivenUpWhenItHangs) {
    LiveBench bench;
    // Shared with the threads, which outlive the source.
    const auto go = std::make_shared<std::atomic<bool>>(false);
    const auto nmrDone = std::make_shared<std::atomic<int>>(0);
    const auto lookUp = [go, nmrDone](const std::string&, int) {
        while (!*go) std::this_thread::sleep_for(1ms);
        ++*nmrDone;
        return Host::NameLookup::Result{{}, "there is no such host"};
    };
    {
        auto source = bench.Make<Host::TcpSource>("tcp://rover.example:5000", lookUp);
        bench.loop.Add(source);
        source.Start();
        EXPECT_EQ(source.GetState(), State::Resolving);
        bench.Pass(20s);
        EXPECT_EQ(bench.CountEvents("the name service does not answer; next try in 10 s"), 1);
        bench.Pass(10s);
        EXPECT_EQ(source.GetState(), State::Resolving);
        *go = true;
        ASSERT_TRUE(bench.RunToState(source, State::Waiting));
        EXPECT_EQ(bench.CountEvents("there is no such host; next try in 20 s"), 1);
        *go = false;
        bench.Pass(20s);
        EXPECT_EQ(source.GetState(), State::Resolving);
    }
    *go = true;
    while (*nmrDone < 3) std::this_thread::sleep_for(1ms);
}

TEST(NameLookup, AsksTheSystem) {
    LiveBench bench;
    const Server server;
    auto source = bench.Make<Host::TcpSource>("tcp://localhost:" + std::to_string(server.GetPort()));
    bench.loop.Add(source);
    source.Start();
    EXPECT_TRUE(bench.RunToState(source, State::Connected)) << bench.events.back();
}

TEST(LiveLoop, IsWokenByAnotherThread) {
    LiveBench bench;
    std::thread waker([&] {
        std::this_thread::sleep_for(20ms);
        bench.loop.WakeUp();
    });
    bench.loop.RunOnce(-1ms);
    waker.join();
}

}  // namespace
