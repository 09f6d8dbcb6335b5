// Streams, slow peers and many of them.
#include <thread>

#include <sys/resource.h>

#include "tests/host/console/ConsoleBench.h"

namespace {

using tests::ConsoleBench;
using tests::ConsolePeer;
using Clock = std::chrono::steady_clock;

double Since(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

TEST(HttpFront, StreamsPanelsAndRefusesSurplusStreams) {
    Host::ConsoleServerSettings settings;
    settings.bounds.maxStreams = 3;
    settings.bounds.heartbeat = std::chrono::milliseconds(300);
    ConsoleBench bench(std::move(settings));
    ASSERT_TRUE(bench.hub.Publish("run", "{\"a\":1}"));
    std::vector<ConsolePeer> peers;
    for (int i = 0; i < 3; ++i) {
        peers.emplace_back(bench.port);
        peers.back().Send(bench.Get("/api/stream"));
        EXPECT_NE(peers.back().ReadUntil("}\n\n").find("id: 1\nevent: run\ndata: {\"a\":1}\n\n"), std::string::npos);
    }
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get("/api/stream"))), 503);
    ASSERT_TRUE(bench.hub.Publish("fix", "2"));
    for (ConsolePeer& peer : peers) {
        EXPECT_NE(peer.ReadUntil("data: 2\n\n").find("id: 2\nevent: fix\ndata: 2\n\n"), std::string::npos);
        EXPECT_EQ(peer.ReadUntil("\n\n"), ": \n\n");
    }
    // A place that becomes free is taken.
    peers.pop_back();
    EXPECT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().streams == 2; }));
    ConsolePeer late(bench.port);
    late.Send(bench.Get("/api/stream"));
    EXPECT_NE(late.ReadUntil("data: 2\n\n").find("event: run"), std::string::npos);
    const auto begin = Clock::now();
    bench.server.Stop();
    EXPECT_LT(Since(begin), 1.0);
    for (ConsolePeer& peer : peers) EXPECT_TRUE(peer.IsClosedWithin(1000));
}

// Who never reads holds up neither the run nor the other streams, loses all but the newest, and is given up at last.
TEST(HttpFront, DropsForAStreamThatIsNotRead) {
    Host::ConsoleServerSettings settings;
    settings.bounds.stall = std::chrono::milliseconds(4000);
    ConsoleBench bench(std::move(settings));
    ASSERT_TRUE(bench.hub.Publish("run", "first"));
    ConsolePeer deaf(bench.port, "127.0.0.1", 4096);
    deaf.Send(bench.Get("/api/stream"));
    ConsolePeer awake(bench.port);
    awake.Send(bench.Get("/api/stream"));
    EXPECT_NE(awake.ReadUntil("first").find("first"), std::string::npos);
    ASSERT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().streams == 2; }));
    constexpr int NmrTexts = 60;
    double longest = 0.0;
    for (int i = 0; i < NmrTexts; ++i) {
        const auto begin = Clock::now();
        ASSERT_TRUE(bench.hub.Publish("run", std::string(60'000, 'x') + std::to_string(i) + '.'));
        longest = std::max(longest, Since(begin));
        EXPECT_NE(awake.ReadUntil('x' + std::to_string(i) + ".\n\n").find("event: run"), std::string::npos) << i;
    }
    EXPECT_LT(longest, 1.0) << "waits for the deaf one, which is given up after 4 s";
    const std::uint64_t dropped = bench.hub.GetFigures().dropped;
    EXPECT_GT(dropped, 40U);
    EXPECT_LT(dropped, static_cast<std::uint64_t>(NmrTexts));
    EXPECT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().streams == 1; }));
    EXPECT_EQ(bench.server.GetFigures().late, 1U);
    EXPECT_EQ(bench.hub.GetFigures().dropped, dropped) << "the one that was read has lost nothing";
}

TEST(HttpFront, GivesUpWhoIsSlow) {
    Host::ConsoleServerSettings settings;
    settings.bounds.head = settings.bounds.body = settings.bounds.stall = std::chrono::milliseconds(600);
    settings.bounds.idle = std::chrono::milliseconds(900);
    ConsoleBench bench(std::move(settings));
    const std::string get = bench.Get("/api/a");
    const std::string post = bench.Post("/api/a", "body");
    ConsolePeer silent(bench.port);
    ConsolePeer half(bench.port);
    half.Send(get.substr(0, 20));
    ConsolePeer bodiless(bench.port);
    bodiless.Send(post.substr(0, post.size() - 1));
    ConsolePeer idle(bench.port);
    idle.Send(get);
    ConsolePeer deaf(bench.port, "127.0.0.1", 4096);
    deaf.Send(bench.Get("/api/large"));
    EXPECT_EQ(ConsoleBench::Status(idle.ReadAnswer()), 200);
    const auto begin = Clock::now();
    // One byte now and then does not help.
    ConsolePeer drip(bench.port);
    for (std::size_t i = 0; i < 15; ++i) {
        drip.Send(get.substr(i, 1));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(ConsoleBench::Status(drip.ReadAll()), 408);
    EXPECT_EQ(ConsoleBench::Status(half.ReadAll()), 408);
    EXPECT_EQ(ConsoleBench::Status(bodiless.ReadAll()), 408);
    EXPECT_TRUE(silent.IsClosedWithin(3000));
    EXPECT_TRUE(idle.IsClosedWithin(3000));
    EXPECT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().connections == 0; }));
    EXPECT_LT(Since(begin), 5.0);
    EXPECT_EQ(bench.server.GetFigures().late, 5U);
}

// Loads the page as a browser would, several times, among many that say nothing or half of something.
TEST(HttpFront, ServesThePageAmongAThousandHalfOpenConnections) {
    ConsoleBench bench;
    ASSERT_TRUE(bench.hub.Publish("run", "1"));
    std::vector<ConsolePeer> many;
    for (int i = 0; i < 1000; ++i) {
        many.emplace_back(bench.port);
        if (i % 2 == 0) many.back().Send("GET / HTTP/1.1\r\nHost: loc");
    }
    const auto begin = Clock::now();
    for (const char* path : {"/", "/page/uPlot.esm.js", "/page/console.css", "/api/me", "/api/panel/run"})
        EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get(path))), 200) << path;
    ConsolePeer stream(bench.port);
    stream.Send(bench.Get("/api/stream"));
    EXPECT_NE(stream.ReadUntil("data: 1\n\n").find("data: 1"), std::string::npos);
    const double took = Since(begin);
    EXPECT_LT(took, 2.0);
    RecordProperty("page_ms", static_cast<int>(took * 1000));
    EXPECT_GT(bench.server.GetFigures().connections, 1000U);
    const auto stop = Clock::now();
    bench.server.Stop();
    EXPECT_LT(Since(stop), 1.0);
}

TEST(HttpFront, MakesRoomWhenItIsFull) {
    Host::ConsoleServerSettings settings;
    settings.bounds.maxConnections = 20;
    settings.bounds.maxPeerConnections = 12;
    ConsoleBench bench(std::move(settings));
    ConsolePeer stream(bench.port);
    stream.Send(bench.Get("/api/stream"));
    EXPECT_NE(stream.ReadUntil("\r\n\r\n").find("200 OK"), std::string::npos);
    std::vector<ConsolePeer> many;
    for (int i = 0; i < 40; ++i) many.emplace_back(bench.port, "127.0.0.1");
    ASSERT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().accepted == 41; }));
    EXPECT_EQ(bench.server.GetFigures().connections, 12U);
    EXPECT_TRUE(many.front().IsClosedWithin(1000)) << "the oldest";
    many.back().Send(bench.Get("/api/a"));
    EXPECT_EQ(ConsoleBench::Status(many.back().ReadAnswer()), 200) << "the newest";
    EXPECT_EQ(bench.server.GetFigures().streams, 1U) << "who is at work is left alone";
}

// Who asks and then does not read, or goes, is in nobody's way.
TEST(HttpFront, MakesRoomInThePlaceOfWhoDoesNotCare) {
    Host::ConsoleServerSettings settings;
    settings.bounds.maxConnections = settings.bounds.maxPeerConnections = 8;
    ConsoleBench bench(std::move(settings));
    std::vector<ConsolePeer> many;
    for (int i = 0; i < 8; ++i) {
        many.emplace_back(bench.port, "127.0.0.1", 4096);
        many.back().Send(bench.Get("/api/large"));
    }
    ASSERT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().requests == 8; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get("/api/a"))), 200) << "among answers that nobody reads";
    many.clear();
    ASSERT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().connections == 0; }));
    for (int i = 0; i < 60; ++i) {
        const std::uint64_t before = bench.server.GetFigures().requests;
        const ConsolePeer gone(bench.port);
        gone.Send(bench.Get("/api/slow"));
        ASSERT_TRUE(ConsoleBench::WaitFor([&] { return bench.server.GetFigures().requests > before; }));
        constexpr linger AtOnce{1, 0};
        ::setsockopt(gone.GetSocket(), SOL_SOCKET, SO_LINGER, &AtOnce, sizeof(AtOnce));
    }
    const auto begin = Clock::now();
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get("/api/a"))), 200);
    EXPECT_LT(Since(begin), 1.0) << "after 60 requests of 0.1 s that nobody waits for";
}

// Without descriptors nothing spins, and all is well once there are some again.
TEST(HttpFront, OutlivesALackOfDescriptors) {
    ConsoleBench bench;
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get("/api/a"))), 200);
    std::vector<Host::Descriptor> clients;
    for (int i = 0; i < 10; ++i) clients.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = static_cast<rlim_t>(clients.back().Get());
    std::vector<Host::Descriptor> rest;
    while (true) {
        rest.emplace_back(::dup(clients.back().Get()));
        if (!rest.back().IsOpen() || rest.size() > 100000) break;
        none.rlim_cur = std::max(none.rlim_cur, static_cast<rlim_t>(rest.back().Get()) + 1);
        if (rest.size() == 50) {
            ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
        }
    }
    Host::SocketAddress to;
    ASSERT_TRUE(Host::ParseSocketAddress("127.0.0.1", bench.port, to));
    timespec cpuBefore{};
    for (const Host::Descriptor& client : clients) EXPECT_EQ(::connect(client.Get(), to.Get(), to.size), 0);
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpuBefore);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    timespec cpu{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &cpu);
    const double used = static_cast<double>(cpu.tv_sec - cpuBefore.tv_sec) +
                        1e-9 * static_cast<double>(cpu.tv_nsec - cpuBefore.tv_nsec);
    EXPECT_LT(used, 0.25) << "spins";
    rest.clear();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(ConsoleBench::Status(bench.Ask(bench.Get("/api/a"))), 200);
    EXPECT_GT(bench.server.GetFigures().displaced, 0U);
}

// Requests, streams and publishing at once, and an end in the middle of it.
TEST(HttpFront, StopsInTheMiddleOfWork) {
    for (int round = 0; round < 5; ++round) {
        ConsoleBench bench;
        std::atomic<bool> ends = false;
        std::vector<std::thread> threads;
        threads.emplace_back([&] {
            for (int i = 0; !ends; ++i)
                static_cast<void>(bench.hub.Publish(i % 2 == 0 ? "run" : "fix", std::string(5000, 'x')));
        });
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([&, i] {
                ConsolePeer peer(bench.port);
                peer.Send(i == 0 ? bench.Get("/api/stream") : std::string());
                while (!ends && (i == 0 ? !peer.ReadUntil("data").empty()
                                        : (peer.Send(bench.Get("/api/a")), !peer.ReadAnswer().empty())))
                    continue;
            });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        const auto begin = Clock::now();
        bench.server.Stop();
        EXPECT_LT(Since(begin), 2.0);
        ends = true;
        for (std::thread& thread : threads) thread.join();
    }
}

}  // namespace
