// With programs of others at the other end: str2str of RTKLIB, and socat.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "host/live/NtripSource.h"
#include "host/live/SerialSource.h"
#include "host/live/TcpListenSource.h"
#include "host/live/TcpSource.h"
#include "tests/host/live/LiveBench.h"
#include "tests/support/Random.h"

namespace {

using namespace std::chrono_literals;
using Host::NtripSource;
using Host::Secret;
using State = Host::LiveSource::State;
using tests::LiveBench;
using tests::Peer;
using tests::Server;

std::string FindProgram(const std::string& name) {
    for (const char* folder : {"/usr/local/bin/", "/usr/bin/", "/bin/"}) {
        if (::access((folder + name).c_str(), X_OK) == 0) return folder + name;
    }
    return {};
}

#define REQUIRE_PROGRAM(path, name)             \
    const std::string path = FindProgram(name); \
    if (path.empty()) GTEST_SKIP() << "skipped: the program " name " is not installed"

// Ends with the test.
class Program {
public:
    explicit Program(std::vector<std::string> words) {
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::posix_spawn_file_actions_addopen(&actions, file, "/dev/null", O_RDWR, 0);
        EXPECT_EQ(::posix_spawn(&id_, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
        ::posix_spawn_file_actions_destroy(&actions);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() { End(); }
    void End() {
        if (id_ <= 0) return;
        ::kill(id_, SIGKILL);
        while (::waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
        }
        id_ = 0;
    }

private:
    pid_t id_ = 0;
};

// Milliseconds without data after which str2str would end a connection by itself, on a busy machine too.
constexpr const char* Patience = "120000";

int FindFreePort() {
    return Server().GetPort();
}

std::string MakeBytes(std::size_t size) {
    std::mt19937_64 random = tests::MakeRandom();
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

// The next try comes at once, for the program may not listen yet.
bool Connect(LiveBench& bench, const Host::LiveSource& source) {
    return bench.RunUntil([&] {
        if (source.GetState() == State::Waiting) {
            ::usleep(100000);
            bench.now += 10min;
        }
        return source.GetState() == State::Connected;
    });
}

TEST(RealPeers, AStreamServer) {
    REQUIRE_PROGRAM(str2str, "str2str");
    const Server feeder;
    const int port = FindFreePort();
    Program program({str2str, "-s", Patience, "-in", "tcpcli://127.0.0.1:" + std::to_string(feeder.GetPort()), "-out",
                     "tcpsvr://:" + std::to_string(port)});
    LiveBench bench;
    auto source = bench.Make<Host::TcpSource>("tcp://127.0.0.1:" + std::to_string(port));
    bench.loop.Add(source);
    source.Start();
    const Peer feed = feeder.Accept();
    ASSERT_TRUE(Connect(bench, source));
    // It takes its clients on by the way, and may not have seen this one yet.
    std::string sent;
    ASSERT_TRUE(bench.RunUntil([&] {
        feed.Send("\n");
        ::usleep(50000);
        return !bench.bytes.empty();
    }));
    const std::string bytes = MakeBytes(20000);
    feed.Send(bytes);
    ASSERT_TRUE(bench.RunUntil([&] { return bench.bytes.size() >= bytes.size() && bench.bytes.ends_with(bytes); }));
    program.End();
    ASSERT_TRUE(bench.RunToState(source, State::Waiting));
    EXPECT_EQ(bench.CountEvents("dropped: "), 1);
}

TEST(RealPeers, AStreamClient) {
    REQUIRE_PROGRAM(str2str, "str2str");
    const Server feeder;
    LiveBench bench;
    auto source = bench.Make<Host::TcpListenSource>("tcp-listen://0");
    bench.loop.Add(source);
    source.Start();
    const Program program({str2str, "-s", Patience, "-in", "tcpcli://127.0.0.1:" + std::to_string(feeder.GetPort()),
                           "-out", "tcpcli://127.0.0.1:" + std::to_string(source.GetPort())});
    const Peer feed = feeder.Accept();
    ASSERT_TRUE(bench.RunToState(source, State::Connected));
    const std::string bytes = MakeBytes(20000);
    feed.Send(bytes);
    EXPECT_TRUE(bench.RunUntil([&] { return bench.bytes == bytes; }));
}

TEST(RealPeers, ACaster) {
    REQUIRE_PROGRAM(str2str, "str2str");
    const Server feeder;
    const int port = FindFreePort();
    const Program program({str2str, "-s", Patience, "-in", "tcpcli://127.0.0.1:" + std::to_string(feeder.GetPort()),
                           "-out", "ntripc://me:sesame@:" + std::to_string(port) + "/MOUNT0:"});
    const Peer feed = feeder.Accept();
    const std::string place = "127.0.0.1:" + std::to_string(port);
    const std::string bytes = MakeBytes(20000);
    for (const std::string scheme : {"ntrip://me@", "ntrip1://me@"}) {
        LiveBench bench;
        auto source = bench.Make<NtripSource>(scheme + place + "/MOUNT0", Secret("sesame"));
        bench.loop.Add(source);
        source.Start();
        ASSERT_TRUE(Connect(bench, source)) << bench.events.back();
        ASSERT_TRUE(bench.RunUntil([&] {
            feed.Send("\n");
            ::usleep(50000);
            return !bench.bytes.empty();
        }));
        feed.Send(bytes);
        EXPECT_TRUE(bench.RunUntil([&] { return bench.bytes.size() >= bytes.size() && bench.bytes.ends_with(bytes); }));
    }
    struct Case {
        const char* mount;
        const char* password;
        const char* event;
    };
    for (const Case& c : {Case{"/MOUNT0", "wrong", "user or password are wrong; next try in 5 min"},
                          Case{"/MOUNT9", "sesame", "there is no mount point \"MOUNT9\""}}) {
        LiveBench bench;
        auto source = bench.Make<NtripSource>("ntrip://me@" + place + c.mount, Secret(c.password));
        bench.loop.Add(source);
        source.Start();
        ASSERT_TRUE(bench.RunToState(source, State::Waiting));
        EXPECT_EQ(bench.CountEvents(c.event), 1) << bench.events.back();
    }
}

TEST(RealPeers, ASerialPair) {
    REQUIRE_PROGRAM(socat, "socat");
    const std::string base = "/tmp/gnss_serial_test_" + std::to_string(::getpid());
    Program program({socat, "pty,raw,echo=0,link=" + base + "a", "pty,raw,echo=0,link=" + base + "b"});
    LiveBench bench;
    auto source = bench.Make<Host::SerialSource>("serial://" + base + "a?baud=115200");
    bench.loop.Add(source);
    source.Start();
    ASSERT_TRUE(Connect(bench, source)) << bench.events.back();
    Host::Descriptor receiver;
    ASSERT_TRUE(bench.RunUntil([&] {
        receiver = Host::Descriptor(::open((base + "b").c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
        return receiver.IsOpen();
    }));
    const std::string bytes = MakeBytes(20000);
    std::size_t sent = 0;
    ASSERT_TRUE(bench.RunUntil([&] {
        // A terminal takes a few kilobytes at a time.
        const std::size_t size = std::min<std::size_t>(bytes.size() - sent, 1000);
        if (size > 0 && bench.bytes.size() == sent) {
            EXPECT_EQ(::write(receiver.Get(), bytes.data() + sent, size), static_cast<ssize_t>(size));
            sent += size;
        }
        return bench.bytes.size() >= bytes.size();
    }));
    EXPECT_EQ(bench.bytes, bytes);
    program.End();
    ASSERT_TRUE(bench.RunToState(source, State::Waiting));
    for (const char* end : {"a", "b"}) std::filesystem::remove(base + end);
}

}  // namespace
