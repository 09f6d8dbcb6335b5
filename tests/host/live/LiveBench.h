// A made clock, a loop and a sink that remembers, for tests of live sources; and peers on the loopback interface.
#pragma once

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "host/live/BoundSocket.h"
#include "host/live/LiveLoop.h"
#include "host/live/LiveSource.h"
#include "host/live/LiveSources.h"
#include "host/live/NameLookup.h"

namespace tests {

class LiveBench : public Host::LiveSink {
public:
    LiveBench() : loop([this] { return now; }) {
        settings.clock = [this] { return now; };
        settings.random = [] { return 0.5; };  // no jitter
    }

    void OnBytes(Host::LiveSource& /*source*/, std::string_view piece) override { bytes += piece; }
    void OnBroken(Host::LiveSource& /*source*/) override { ++nmrBroken; }
    void OnEvent(Host::LiveSource& /*source*/, const std::string& text) override { events.push_back(text); }

    static Host::SourceAddress Address(const std::string& text) {
        Host::SourceAddress address;
        std::string reason;
        EXPECT_TRUE(Host::SourceAddress::Parse(text, address, reason)) << text << ": " << reason;
        return address;
    }
    template <typename Source, typename... Arguments>
    Source Make(const std::string& address, Arguments&&... arguments) {
        return Source(Address(address), settings, *this, std::forward<Arguments>(arguments)...);
    }

    // Lets the loop run until something holds; false when that takes longer than any machine needs.
    template <typename Condition>
    [[nodiscard]] bool RunUntil(const Condition& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            loop.RunOnce(std::chrono::milliseconds(5));
        }
        return true;
    }
    [[nodiscard]] bool RunToState(const Host::LiveSource& source, Host::LiveSource::State state) {
        return RunUntil([&] { return source.GetState() == state; });
    }
    // A while later by the made clock.
    void Pass(std::chrono::milliseconds span) {
        now += span;
        loop.RunOnce(std::chrono::milliseconds(0));
    }
    [[nodiscard]] long CountEvents(std::string_view part) const {
        return std::count_if(events.begin(), events.end(),
                             [&](const std::string& e) { return e.find(part) != std::string::npos; });
    }

    Host::SteadyTime now{std::chrono::hours(1)};
    Host::LiveSettings settings;
    Host::LiveLoop loop;
    std::string bytes;
    int nmrBroken = 0;
    std::vector<std::string> events;
};

inline bool IsReady(int file, short events) {
    pollfd wanted{file, events, 0};
    return ::poll(&wanted, 1, 20000) == 1;
}

// One end of a connection; it may wait, for the kernel answers for the other end.
class Peer {
public:
    explicit Peer(Host::Descriptor socket) : socket_(std::move(socket)) {}
    static Peer ConnectTo(int port) {
        Host::SocketAddress address;
        EXPECT_TRUE(Host::ParseSocketAddress("127.0.0.1", port, address));
        Host::Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(::connect(socket.Get(), address.Get(), address.size), 0);
        return Peer(std::move(socket));
    }
    void Send(std::string_view text) const {
        EXPECT_EQ(::send(socket_.Get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
    }
    // What has come so far, at least a byte; nothing at the end.
    [[nodiscard]] std::string Receive() const {
        std::string room(65536, '\0');
        EXPECT_TRUE(IsReady(socket_.Get(), POLLIN));
        room.resize(static_cast<std::size_t>(std::max<ssize_t>(::recv(socket_.Get(), room.data(), room.size(), 0), 0)));
        return room;
    }
    // The other end has closed it; does not wait.
    [[nodiscard]] bool IsEnded() const {
        char c = 0;
        return ::recv(socket_.Get(), &c, 1, MSG_DONTWAIT) == 0 || (errno != EAGAIN && errno != EWOULDBLOCK);
    }
    // Something has come; does not wait.
    [[nodiscard]] bool HasData() const {
        char c = 0;
        return ::recv(socket_.Get(), &c, 1, MSG_DONTWAIT | MSG_PEEK) == 1;
    }
    // The other end's system has taken everything that was sent.
    [[nodiscard]] bool IsAllTaken() const {
        int left = 1;
        return ::ioctl(socket_.Get(), TIOCOUTQ, &left) == 0 && left == 0;
    }
    // Nothing more is sent.
    void Finish() const { EXPECT_EQ(::shutdown(socket_.Get(), SHUT_WR), 0); }
    void Close() { socket_.Close(); }

private:
    Host::Descriptor socket_;
};

class Server {
public:
    Server() {
        int error = 0;
        socket_ = Host::BindSocket("127.0.0.1", 0, SOCK_STREAM, error);
        EXPECT_TRUE(socket_.IsOpen());
        port_ = Host::GetBoundPort(socket_.Get());
    }
    [[nodiscard]] int GetPort() const { return port_; }
    // Whether somebody wants to connect, or does within so long.
    [[nodiscard]] bool IsWaitedFor(int milliseconds) const {
        pollfd wanted{socket_.Get(), POLLIN, 0};
        return ::poll(&wanted, 1, milliseconds) == 1;
    }
    [[nodiscard]] Peer Accept() const {
        EXPECT_TRUE(IsReady(socket_.Get(), POLLIN));
        return Peer(Host::Descriptor(::accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC)));
    }
    void Close() { socket_.Close(); }

private:
    Host::Descriptor socket_;
    int port_ = 0;
};

}  // namespace tests
