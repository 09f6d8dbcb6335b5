// A console on the loopback interface with a made backend, and peers that speak to it byte by byte.
#pragma once

#include <algorithm>
#include <chrono>
#include <map>
#include <poll.h>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "host/console/ConsoleServer.h"
#include "host/live/Descriptor.h"
#include "host/live/NameLookup.h"

namespace tests {

// Says what it was asked.
class EchoBackend : public Host::ConsoleBackend {
public:
    Host::ConsoleAnswer Get(std::string_view path, const std::map<std::string, std::string>& parameters) override {
        if (path == "fails") throw std::runtime_error("/the/path/of/the/machine");
        if (path == "large") return {200, "application/json", std::string(4 << 20, 'x')};
        if (path == "slow") std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::string body(path);
        for (const auto& [name, value] : parameters) body.append("|").append(name).append("=").append(value);
        return {path == "nothing" ? 404 : 200, "image/svg+xml", body};
    }
    Host::ConsoleAnswer Post(std::string_view command, std::string_view body, std::string_view who) override {
        return {202, "application/json", std::string(command).append("|").append(body).append("|").append(who)};
    }
};

class ConsolePeer {
public:
    explicit ConsolePeer(int port, const std::string& address = "127.0.0.1", int receiveBuffer = 0) {
        Host::SocketAddress to;
        EXPECT_TRUE(Host::ParseSocketAddress(address, port, to));
        socket_ = Host::Descriptor(::socket(to.GetFamily(), SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (receiveBuffer > 0)
            ::setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof(receiveBuffer));
        isOpen_ = ::connect(socket_.Get(), to.Get(), to.size) == 0;
        EXPECT_TRUE(isOpen_) << Host::SystemWords(errno);
    }

    void Send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t nmr = ::send(socket_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (nmr <= 0) return;
            bytes.remove_prefix(static_cast<std::size_t>(nmr));
        }
    }
    // All that comes until the text is there, the other end closes or the time is over.
    std::string ReadUntil(std::string_view text, int milliseconds = 10000) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (text.empty() || in_.find(text) == std::string::npos)
            if (!Read(end)) break;
        return std::exchange(in_, {});
    }
    std::string ReadAll(int milliseconds = 10000) { return ReadUntil({}, milliseconds); }
    // One answer with its body, which leaves what follows it.
    std::string ReadAnswer() {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        std::size_t size = std::string::npos;
        while (size == std::string::npos || in_.size() < size) {
            const std::size_t head = in_.find("\r\n\r\n");
            const std::size_t length = in_.find("Content-Length: ");
            if (head != std::string::npos && length < head) size = head + 4 + std::stoul(in_.substr(length + 16));
            if ((size == std::string::npos || in_.size() < size) && !Read(end)) break;
        }
        size = std::min(size, in_.size());
        const std::string answer = in_.substr(0, size);
        in_.erase(0, size);
        return answer;
    }
    [[nodiscard]] bool IsClosedWithin(int milliseconds) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        while (Read(end)) continue;
        return !isOpen_;
    }
    [[nodiscard]] int GetSocket() const { return socket_.Get(); }

private:
    bool Read(std::chrono::steady_clock::time_point end) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        pollfd wanted{socket_.Get(), POLLIN, 0};
        if (left <= 0 || ::poll(&wanted, 1, static_cast<int>(left)) <= 0) return false;
        char room[65536];
        const ssize_t nmr = ::recv(socket_.Get(), room, sizeof(room), 0);
        isOpen_ = nmr > 0;
        if (isOpen_) in_.append(room, static_cast<std::size_t>(nmr));
        return isOpen_;
    }

    Host::Descriptor socket_;
    std::string in_;
    bool isOpen_ = false;
};

class ConsoleBench {
public:
    static constexpr const char* View = "the-token-of-lookers";
    static constexpr const char* Steer = "the-token-of-helmsmen";

    explicit ConsoleBench(Host::ConsoleServerSettings settings = {})
        : server(Prepare(std::move(settings)), hub, backend) {
        std::string reason;
        EXPECT_TRUE(server.Start(reason)) << reason;
        port = server.GetPort();
        host = "127.0.0.1:" + std::to_string(port);
    }
    static Host::ConsoleServerSettings Prepare(Host::ConsoleServerSettings settings) {
        settings.port = 0;
        settings.version = "1.2.3";
        return settings;
    }
    static Host::ConsoleServerSettings WithTokens() {
        Host::ConsoleServerSettings settings;
        settings.viewToken = Host::Secret(View);
        settings.steerToken = Host::Secret(Steer);
        settings.hosts = {"bridge.example"};
        settings.bounds.loginWait = std::chrono::milliseconds(0);
        return settings;
    }

    [[nodiscard]] std::string Get(const std::string& path, const std::string& headers = {}) const {
        return "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + headers + "\r\n";
    }
    // Of the console's own page.
    [[nodiscard]] std::string Post(const std::string& path, const std::string& body,
                                   const std::string& headers = {}) const {
        return "POST " + path + " HTTP/1.1\r\nHost: " + host + "\r\nOrigin: http://" + host +
               "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
               headers + "\r\n" + body;
    }
    [[nodiscard]] std::string Ask(const std::string& request) const {
        ConsolePeer peer(port);
        peer.Send(request);
        return peer.ReadAnswer();
    }
    static int Status(const std::string& answer) { return answer.size() < 12 ? 0 : std::stoi(answer.substr(9, 3)); }
    static std::string Body(const std::string& answer) {
        const std::size_t end = answer.find("\r\n\r\n");
        return end == std::string::npos ? "" : answer.substr(end + 4);
    }
    // The header with the cookie of a session.
    [[nodiscard]] std::string LogIn(const std::string& token) const {
        const std::string answer = Ask(Post("/login", R"({"token":")" + token + "\"}"));
        const std::size_t begin = answer.find("gnss_console=");
        if (begin == std::string::npos) return {};
        return "Cookie: theme=dark; " + answer.substr(begin, answer.find(';', begin) - begin) + "\r\n";
    }
    template <typename Condition>
    static bool WaitFor(const Condition& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            ::poll(nullptr, 0, 5);
        }
        return true;
    }

    Host::ConsoleHub hub;
    EchoBackend backend;
    Host::ConsoleServer server;
    int port = 0;
    std::string host;
};

}  // namespace tests
