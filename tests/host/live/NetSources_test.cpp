// Sources on the loopback interface with a made clock: how they begin, end, wait and begin again.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "host/cli/StopSignal.h"
#include "host/live/RawRecorder.h"
#include "host/live/TcpListenSource.h"
#include "host/live/TcpSource.h"
#include "host/live/UdpSource.h"
#include "tests/host/live/LiveBench.h"

namespace {

using namespace std::chrono_literals;
using Host::LiveSource;
using State = LiveSource::State;
using tests::LiveBench;
using tests::Peer;
using tests::Server;

TEST(Reconnector, WaitsLongerEachTimeUntilDataHaveFlowed) {
    double drawn = 0.5;
    Host::Reconnector reconnector([&] { return drawn; });
    const auto next = [&](bool isSlow = false) {
        return std::chrono::duration<double>(reconnector.NextWait(isSlow)).count();
    };
    for (const double expected : {10.0, 20.0, 40.0, 80.0, 160.0, 300.0, 300.0}) EXPECT_NEAR(next(), expected, 1e-6);
    drawn = 0.0;
    EXPECT_NEAR(next(), 240.0, 1e-6);
    drawn = 0.999999;
    EXPECT_NEAR(next(), 360.0, 1e-3);
    drawn = 0.5;
    // Data for less than a minute are no reason to come back soon.
    const Host::SteadyTime start{1h};
    reconnector.OnData(start);
    reconnector.OnData(start + 59s);
    EXPECT_NEAR(next(), 300.0, 1e-6);
    reconnector.OnData(start + 100s);
    reconnector.OnData(start + 160s);
    EXPECT_NEAR(next(), 10.0, 1e-6);
    EXPECT_NEAR(next(true), 300.0, 1e-6);
    EXPECT_NEAR(next(), 300.0, 1e-6);
}

TEST(TcpSource, DeliversAllUpToTheEndAndComesBack) {
    LiveBench bench;
    Server server;
    auto source = bench.Make<Host::TcpSource>("tcp://127.0.0.1:" + std::to_string(server.GetPort()));
    bench.loop.Add(source);
    source.Start();
    {
        Peer peer = server.Accept();
        ASSERT_TRUE(bench.RunToState(source, State::Connected));
        peer.Send("first message, half of the sec");
        peer.Close();
    }
    ASSERT_TRUE(bench.RunToState(source, State::Waiting));
    EXPECT_EQ(bench.bytes, "first message, half of the sec");
    EXPECT_EQ(bench.nmrBroken, 1);
    EXPECT_EQ(bench.CountEvents("dropped: the other end has closed it, after 30 bytes; next try in 10 s"), 1);
    EXPECT_EQ(source.GetWait(), Host::SteadySpan(10s));
    bench.Pass(9999ms);
    EXPECT_EQ(source.GetState(), State::Waiting);
    bench.Pass(1ms);
    Peer peer = server.Accept();
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    peer.Send("second");
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes.ends_with("second"); }));
    // Silent, at last for long enough.
    bench.Pass(29999ms);
    EXPECT_EQ(source.GetState(), State::Connected);
    EXPECT_EQ(source.GetAge(), Host::SteadySpan(29999ms));
    EXPECT_EQ(source.GetFault(), "");
    bench.Pass(1ms);
    EXPECT_EQ(source.GetState(), State::Waiting);
    EXPECT_EQ(bench.CountEvents("dropped: silent for 30 s, after 6 bytes; next try in 20 s"), 1);
    EXPECT_EQ(bench.nmrBroken, 2);
    EXPECT_EQ(peer.Receive(), "");
    // Nobody there.
    server.Close();
    bench.Pass(20s);
    ASSERT_TRUE(bench.RunUntil([&] { return source.GetCounts().errors == 1; }));
    EXPECT_EQ(bench.CountEvents("Connection refused; next try in 40 s"), 1);
    EXPECT_TRUE(source.GetFault().ends_with("Connection refused")) << source.GetFault();
    EXPECT_EQ(source.GetCounts().connects, 2);
    EXPECT_EQ(source.GetCounts().drops, 2);
    EXPECT_EQ(source.GetCounts().bytes, 36);
    EXPECT_EQ(bench.nmrBroken, 2);
    source.Stop();
    EXPECT_FALSE(source.GetDeadline());
    EXPECT_EQ(source.GetState(), State::Stopped);
}

// The data that came while the program was held up are heard before the silence is judged.
TEST(TcpSource, IsNotSilentForWhatTheProgramMissed) {
    LiveBench bench;
    const Server server;
    auto source = bench.Make<Host::TcpSource>("tcp://127.0.0.1:" + std::to_string(server.GetPort()));
    bench.loop.Add(source);
    source.Start();
    const Peer peer = server.Accept();
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    peer.Send("x");
    std::vector<pollfd> wanted;
    source.AddWanted(wanted);
    ASSERT_TRUE(tests::IsReady(wanted.at(0).fd, POLLIN));
    bench.Pass(1h);
    EXPECT_EQ(source.GetState(), State::Connected);
    EXPECT_EQ(bench.bytes, "x");
}

TEST(TcpListenSource, ServesOnePeerAtATime) {
    LiveBench bench;
    auto source = bench.Make<Host::TcpListenSource>("tcp-listen://0");
    bench.loop.Add(source);
    source.Start();
    ASSERT_EQ(source.GetState(), State::Listening);
    EXPECT_EQ(bench.CountEvents("waits for a connection at 127.0.0.1:"), 1);
    bench.Pass(1h);
    EXPECT_EQ(source.GetState(), State::Listening);
    Peer first = Peer::ConnectTo(source.GetPort());
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    first.Send("first");
    for (int i = 0; i < 3; ++i) {
        const Peer other = Peer::ConnectTo(source.GetPort());
        ASSERT_TRUE(bench.RunUntil([&] { return other.IsEnded(); }));
    }
    EXPECT_EQ(bench.CountEvents("is refused"), 1);
    first.Send(".");
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes == "first."; }));
    first.Close();
    ASSERT_TRUE(bench.RunToState(source, State::Listening));
    EXPECT_EQ(bench.CountEvents("dropped: the other end has closed it, after 6 bytes; waits for the next one"), 1);
    const Peer second = Peer::ConnectTo(source.GetPort());
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    bench.Pass(30s);
    EXPECT_EQ(source.GetState(), State::Listening);
    EXPECT_EQ(second.Receive(), "");
    EXPECT_EQ(bench.nmrBroken, 1);

    // The peer that ends a connection and at once makes another is not a second one.
    Peer third = Peer::ConnectTo(source.GetPort());
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    third.Close();
    const Peer fourth = Peer::ConnectTo(source.GetPort());
    ASSERT_TRUE(bench.RunUntil([&] { return source.GetCounts().connects == 4; }));
    EXPECT_FALSE(fourth.IsEnded());

    // The port is taken: tries again.
    auto rival = bench.Make<Host::TcpListenSource>("tcp-listen://" + std::to_string(source.GetPort()));
    rival.Start();
    EXPECT_EQ(rival.GetState(), State::Waiting);
    EXPECT_EQ(bench.CountEvents("cannot take the port: Address already in use; next try in 10 s"), 1);
}

TEST(TcpListenSource, TellsLittleOfWhoConnectsAgainAndAgain) {
    LiveBench bench;
    auto source = bench.Make<Host::TcpListenSource>("tcp-listen://0");
    bench.loop.Add(source);
    source.Start();
    const auto insist = [&](int nmr) {
        const std::int64_t drops = source.GetCounts().drops + nmr;
        while (source.GetCounts().drops < drops) {
            const std::int64_t before = source.GetCounts().drops;
            static_cast<void>(Peer::ConnectTo(source.GetPort()));
            ASSERT_TRUE(bench.RunUntil([&] { return source.GetCounts().drops > before; }));
        }
    };
    insist(100);
    EXPECT_EQ(bench.events.size(), 20U);
    bench.now += 60s;
    insist(1);
    EXPECT_EQ(bench.events.size(), 22U);
    EXPECT_EQ(bench.CountEvents("(181 events before are not told)"), 1) << bench.events[20];
}

TEST(UdpSource, ListensToTheFirstSenderUntilItIsSilent) {
    LiveBench bench;
    auto source = bench.Make<Host::UdpSource>("udp://0");
    bench.loop.Add(source);
    source.Start();
    ASSERT_EQ(source.GetState(), State::Listening);
    const auto sender = [] { return Host::Descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)); };
    const Host::Descriptor first = sender();
    const Host::Descriptor second = sender();
    const auto send = [&](const Host::Descriptor& socket, const std::string& text) {
        Host::SocketAddress address;
        ASSERT_TRUE(Host::ParseSocketAddress("127.0.0.1", source.GetPort(), address));
        ASSERT_EQ(::sendto(socket.Get(), text.data(), text.size(), 0, address.Get(), address.size),
                  static_cast<ssize_t>(text.size()));
    };
    for (int i = 0; i < 100; ++i) {
        send(first, "a");
        send(second, "b");
    }
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes.size() >= 100; }));
    EXPECT_EQ(bench.bytes, std::string(100, 'a'));
    EXPECT_EQ(bench.CountEvents("second sender"), 1);
    // Silent: said once, though it is opened again and again; then the other one may speak.
    for (int i = 0; i < 10; ++i) bench.Pass(30s);
    EXPECT_EQ(bench.CountEvents("silent for 30 s"), 1);
    EXPECT_EQ(source.GetState(), State::Listening);
    EXPECT_EQ(bench.nmrBroken, 1);
    source.Stop();
    source.Start();
    for (int i = 0; i < 3; ++i) bench.Pass(30s);
    send(second, "b");
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes.ends_with("b"); }));
    EXPECT_EQ(bench.CountEvents("data again, after 1 min 30 s"), 1);
}

TEST(RawRecorder, AddsToTheEndAndOutlivesFailures) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("gnss_recorder_test_" + std::to_string(::getpid()));
    const std::string path = (folder / "raw").string();
    std::vector<std::string> told;
    Host::SteadyTime now{1h};
    const auto clock = [&] { return now; };
    const auto tell = [&](const std::string& text) { told.push_back(text); };
    {
        Host::RawRecorder recorder(path, clock, tell);
        recorder.Write("lost");  // there is no folder
        std::filesystem::create_directories(folder);
        recorder.Write("lost");  // not tried again yet
        now += Host::RawRecorder::Pause;
        recorder.Write("one");
        EXPECT_EQ(recorder.GetNmrLost(), 8);
        EXPECT_EQ(told.size(), 2U);
    }
    {
        Host::RawRecorder recorder(path, clock, tell);
        recorder.Write(std::string_view("\0two", 4));
        Host::RawRecorder second(path, clock, tell);
        second.Write("lost");
        EXPECT_EQ(second.GetNmrLost(), 4);
        EXPECT_NE(told.back().find("another program or source"), std::string::npos) << told.back();
    }
    std::ifstream file(path, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), std::string("one\0two", 7));
    Host::RawRecorder full("/dev/full", clock, tell);
    for (int i = 0; i < 200; ++i) {
        full.Write("x");
        now += 1s;
    }
    EXPECT_EQ(full.GetNmrLost(), 200);
    EXPECT_EQ(told.size(), 4U) << "said once, though tried again";
    std::filesystem::remove_all(folder);
}

TEST(LiveLoop, RunsWhatIsDueAndIsWoken) {
    LiveBench bench;
    int nmr = 0;
    bench.loop.Every(100ms, [&] { ++nmr; });
    bench.Pass(99ms);
    EXPECT_EQ(nmr, 0);
    bench.Pass(1ms);
    EXPECT_EQ(nmr, 1);
    bench.Pass(1050ms);
    EXPECT_EQ(nmr, 2) << "not once for each time that was missed";
    bench.Pass(50ms);
    EXPECT_EQ(nmr, 3) << "in step with the first time";
    Host::LiveLoop idle([&] { return bench.now; });
    idle.WakeUp();
    idle.RunOnce(-1ms);
    // A signal that comes before the wait ends it as well.
    const Host::StopSignal signals;
    Host::StopSignal::WakeThrough(idle.GetWakeFile());
    ASSERT_EQ(std::raise(SIGTERM), 0);
    idle.RunOnce(-1ms);
    EXPECT_EQ(Host::StopSignal::Get(), SIGTERM);
}

}  // namespace
