// The NTRIP client with a caster in the test, and the serial port with a pseudo-terminal.
#include "host/live/NtripSource.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "host/live/SerialSource.h"
#include "tests/host/live/LiveBench.h"

namespace {

using namespace std::chrono_literals;
using Host::LiveSource;
using Host::NtripSource;
using Host::Secret;
using State = LiveSource::State;
using tests::LiveBench;
using tests::Peer;
using tests::Server;

std::string CasterAddress(const Server& server, const std::string& rest = "/MOUNT0") {
    return "ntrip://me@127.0.0.1:" + std::to_string(server.GetPort()) + rest;
}

TEST(NtripSource, SaysWhyItIsRefusedAndWaitsAccordingly) {
    struct Case {
        const char* reply;
        const char* event;
        Host::SteadySpan wait;
    };
    for (const Case& c : {
             Case{"HTTP/1.1 401 Unauthorized\r\n\r\n", "user or password are wrong; next try in 5 min", 300s},
             Case{"HTTP/1.1 401 Not sesame\r\n\r\n", "Not ***\"", 300s},
             Case{"ERROR - Bad Password\r\n", "the caster says \"ERROR - Bad Password\"", 300s},
             Case{"HTTP/1.1 302 Found\r\nLocation: /\r\n\r\n", "redirections are not followed; next try in 5 min",
                  300s},
             Case{"HTTP/1.1 404 Not\x1b Found\r\n\r\n", "\"HTTP/1.1 404 Not  Found\"; next try in 10 s", 10s},
             Case{"SOURCETABLE 200 OK\r\n\r\nSTR;MOUNT1;x\r\nSTR;FAR;x\r\nENDSOURCETABLE\r\n",
                  "there is no mount point \"MOUNT0\" among the caster's 2; near: MOUNT1; next try in 10 s", 10s},
             Case{"SOURCETABLE 200 OK\r\n\r\nSTR;MOUNT0;x\r\nENDSOURCETABLE\r\n", "does not send it now", 10s},
             Case{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz", "transfer coding is damaged", 10s},
             Case{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "has ended the stream", 10s},
         }) {
        LiveBench bench;
        const Server server;
        auto source = bench.Make<NtripSource>(CasterAddress(server), Secret("sesame"));
        bench.loop.Add(source);
        source.Start();
        const Peer peer = server.Accept();
        ASSERT_TRUE(bench.RunUntil([&] { return source.GetState() == State::Connecting && peer.HasData(); }));
        const std::string request = peer.Receive();
        EXPECT_TRUE(request.starts_with("GET /MOUNT0 HTTP/1.1\r\n") && request.ends_with("\r\n\r\n")) << request;
        peer.Send(c.reply);
        ASSERT_TRUE(bench.RunToState(source, State::Waiting)) << c.reply;
        EXPECT_EQ(bench.CountEvents(c.event), 1) << bench.events.back();
        EXPECT_EQ(source.GetWait(), c.wait);
        EXPECT_EQ(bench.CountEvents("sesame"), 0);
        EXPECT_TRUE(bench.bytes.empty() && bench.nmrBroken == 0);
    }
}

TEST(NtripSource, GivesUpOnACasterThatDoesNotAnswer) {
    LiveBench bench;
    const Server server;
    auto source = bench.Make<NtripSource>(CasterAddress(server), Secret());
    bench.loop.Add(source);
    source.Start();
    {
        const Peer peer = server.Accept();
        ASSERT_TRUE(bench.RunUntil([&] { return peer.HasData(); }));
        peer.Send("HTTP/1.1 200 OK\r\n");
        ASSERT_TRUE(bench.RunUntil([&] { return peer.IsAllTaken(); }));
        bench.Pass(15s);
        EXPECT_EQ(bench.CountEvents("no answer from the caster within 15 s; next try in 10 s"), 1);
    }
    bench.Pass(10s);
    {
        Peer peer = server.Accept();
        ASSERT_TRUE(bench.RunUntil([&] { return peer.HasData(); }));
        static_cast<void>(peer.Receive());
    }
    ASSERT_TRUE(bench.RunToState(source, State::Waiting));
    EXPECT_EQ(bench.CountEvents("(an old one may need ntrip1://); next try in 20 s"), 1);
    EXPECT_EQ(source.GetCounts().errors, 2);
}

TEST(NtripSource, SendsPositionsAndPassesTheStreamOn) {
    LiveBench bench;
    const Server server;
    std::string sentence;
    auto source =
        bench.Make<NtripSource>(CasterAddress(server, "/MOUNT0?gga=10"), Secret("sesame"), [&] { return sentence; });
    bench.loop.Add(source);
    source.Start();
    Peer peer = server.Accept();
    ASSERT_TRUE(bench.RunUntil([&] { return peer.HasData(); }));
    EXPECT_EQ(peer.Receive().find("GGA"), std::string::npos);
    peer.Send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    // A caster that wants a position is silent for as long as there is none.
    for (int i = 0; i < 9; ++i) bench.Pass(10s);
    EXPECT_EQ(source.GetState(), State::Connected);
    EXPECT_EQ(bench.CountEvents("waits for a position"), 1);
    sentence = "$GPGGA,1*00\r\n";
    bench.Pass(10s);
    EXPECT_EQ(peer.Receive(), sentence);
    peer.Send("3\r\nabc\r\n1\r\n");
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes == "abc"; }));
    sentence = "$GPGGA,2*00\r\n";
    bench.Pass(10s);
    EXPECT_EQ(peer.Receive(), sentence);
    peer.Send("d\r\n4\r\nef");
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes == "abcdef"; }));
    // Ends within a chunk.
    peer.Close();
    ASSERT_TRUE(bench.RunToState(source, State::Waiting));
    EXPECT_EQ(bench.CountEvents("after 6 bytes"), 1);
    EXPECT_EQ(bench.nmrBroken, 1);
    // Version 2 takes the position along with the request. The new answer is read from its beginning.
    bench.Pass(10s);
    const Peer again = server.Accept();
    ASSERT_TRUE(bench.RunUntil([&] { return again.HasData(); }));
    EXPECT_NE(again.Receive().find("\r\nNtrip-GGA: $GPGGA,2*00\r\n"), std::string::npos);
    again.Send("ICY 200 OK\r\n");
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    again.Send("$gh");
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes == "abcdef$gh"; }));
    // Positions go out, and nothing comes: that is silence.
    bench.Pass(15s);
    bench.Pass(15s);
    EXPECT_EQ(source.GetState(), State::Waiting);
}

// A sink may stop the source that calls it.
TEST(NtripSource, MayBeStoppedByItsSink) {
    class Stopper : public LiveBench {
    public:
        void OnBytes(LiveSource& source, std::string_view piece) override {
            bytes += piece;
            source.Stop();
        }
    } bench;
    const Server server;
    auto source = bench.Make<NtripSource>(CasterAddress(server), Secret());
    bench.loop.Add(source);
    source.Start();
    const Peer peer = server.Accept();
    ASSERT_TRUE(bench.RunUntil([&] { return peer.HasData(); }));
    static_cast<void>(peer.Receive());
    peer.Send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\na\r\n1\r\nb\r\n");
    ASSERT_TRUE(bench.RunToState(source, State::Stopped));
    EXPECT_EQ(bench.bytes, "a");
    EXPECT_EQ(bench.nmrBroken, 1);
}

TEST(SerialSource, ReadsAPortAndComesBackToIt) {
    Host::Descriptor receiver(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(receiver.IsOpen() && ::grantpt(receiver.Get()) == 0 && ::unlockpt(receiver.Get()) == 0);
    LiveBench bench;
    auto source = bench.Make<Host::SerialSource>(std::string("serial://") + ::ptsname(receiver.Get()) + "?baud=9600");
    bench.loop.Add(source);
    source.Start();
    ASSERT_EQ(source.GetState(), State::Connected) << bench.events.back();
    // Every byte as it is: a terminal would change line ends, and act on some.
    std::string all;
    for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
    ASSERT_EQ(::write(receiver.Get(), all.data(), all.size()), 256);
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes.size() >= 256; }));
    EXPECT_EQ(bench.bytes, all);
    for (int i = 0; i < 5; ++i) bench.Pass(30s);
    EXPECT_EQ(bench.CountEvents("silent for 30 s"), 1);
    EXPECT_EQ(source.GetState(), State::Connected);
    ASSERT_EQ(::write(receiver.Get(), "x", 1), 1);
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes.size() > 256; }));
    EXPECT_EQ(bench.CountEvents("data again, after 2 min 30 s"), 1);
    receiver.Close();
    ASSERT_TRUE(bench.RunToState(source, State::Waiting));
    EXPECT_EQ(bench.CountEvents("dropped: "), 1);
    bench.Pass(10s);
    EXPECT_EQ(source.GetState(), State::Waiting);
    EXPECT_EQ(source.GetCounts().errors, 1);

    auto none = bench.Make<Host::SerialSource>("serial:///dev/null");
    none.Start();
    EXPECT_EQ(none.GetState(), State::Failed);
}

}  // namespace
