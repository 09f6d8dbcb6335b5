// StreamServer: bytes offered to a TCP client.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Host {

// Where to listen. Without an address the loopback one: nobody outside the machine is let in unless that is asked for.
struct ListenAddress {
    std::string address = "127.0.0.1";
    std::uint16_t port = 0;  // 0 for one that is free
};
// "PORT", "ADDRESS:PORT" or "[ADDRESS]:PORT", numeric addresses. Nothing when it is none of these.
[[nodiscard]] std::optional<ListenAddress> ParseListenAddress(std::string_view text);

// One client at a time; another waits until that one goes. What a client sends is read and dropped. A client that does
// not take what it is given for StallTime is dismissed.
class StreamServer {
public:
    static constexpr int StallMS = 30000;

    StreamServer() = default;
    StreamServer(const StreamServer&) = delete;
    StreamServer& operator=(const StreamServer&) = delete;
    ~StreamServer();

    // Empty, or why nobody can be served there.
    [[nodiscard]] std::string Listen(const ListenAddress& address);
    // The port that is listened on.
    [[nodiscard]] std::uint16_t GetPort() const { return port_; }
    [[nodiscard]] bool HasClient() const { return client_ >= 0; }
    // Waits for a client for so long; true as soon as there is one.
    [[nodiscard]] bool Await(int milliseconds);
    // False, and the client is gone, when it has closed or cannot be written to.
    bool Send(std::string_view bytes);

private:
    void Dismiss();

    int listener_ = -1;
    int client_ = -1;
    std::uint16_t port_ = 0;
};

}  // namespace Host
