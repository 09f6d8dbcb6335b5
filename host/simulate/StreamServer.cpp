#include "host/simulate/StreamServer.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <netdb.h>
#include <poll.h>
#include <unistd.h>

#include <fmt/format.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace Host {

namespace {

std::string Because(const char* what) {
    return fmt::format("{}: {}", what, std::strerror(errno));
}

}  // namespace

std::optional<ListenAddress> ParseListenAddress(std::string_view text) {
    ListenAddress address;
    const std::size_t colon = text.rfind(':');
    const std::string_view port = colon == std::string_view::npos ? text : text.substr(colon + 1);
    if (colon != std::string_view::npos) {
        std::string_view host = text.substr(0, colon);
        if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
            host = host.substr(1, host.size() - 2);
        } else if (host.find(':') != std::string_view::npos) {
            return std::nullopt;
        }
        if (host.empty()) return std::nullopt;
        address.address = host;
    }
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), address.port);
    if (error != std::errc() || end != port.data() + port.size() || port.empty()) return std::nullopt;
    return address;
}

StreamServer::~StreamServer() {
    Dismiss();
    if (listener_ >= 0) ::close(listener_);
}

void StreamServer::Dismiss() {
    if (client_ >= 0) ::close(client_);
    client_ = -1;
}

std::string StreamServer::Listen(const ListenAddress& address) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    addrinfo* found = nullptr;
    if (::getaddrinfo(address.address.c_str(), std::to_string(address.port).c_str(), &hints, &found) != 0)
        return fmt::format("\"{}\" is no numeric address", address.address);
    listener_ = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    std::string fault;
    if (listener_ < 0) {
        fault = Because("no socket");
    } else {
        static_cast<void>(::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on));
        if (::bind(listener_, found->ai_addr, found->ai_addrlen) != 0 || ::listen(listener_, 1) != 0)
            fault = Because(fmt::format("{} port {}", address.address, address.port).c_str());
    }
    ::freeaddrinfo(found);
    if (!fault.empty()) return fault;

    sockaddr_storage own{};
    socklen_t size = sizeof own;
    std::array<char, 8> service{};
    if (::getsockname(listener_, reinterpret_cast<sockaddr*>(&own), &size) != 0 ||
        ::getnameinfo(reinterpret_cast<sockaddr*>(&own), size, nullptr, 0, service.data(), service.size(),
                      NI_NUMERICSERV) != 0)
        return Because("no port");
    std::from_chars(service.data(), service.data() + std::strlen(service.data()), port_);
    return "";
}

bool StreamServer::Await(int milliseconds) {
    if (HasClient()) return true;
    pollfd waiting{listener_, POLLIN, 0};
    if (::poll(&waiting, 1, milliseconds) <= 0) return false;
    client_ = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    const int on = 1;
    if (client_ >= 0) static_cast<void>(::setsockopt(client_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on));
    return HasClient();
}

bool StreamServer::Send(std::string_view bytes) {
    if (!HasClient()) return false;
    // Not as long as there is more: a client that never stops sending is to be served as well.
    constexpr int MaxPieces = 16;
    std::array<char, 512> dropped{};
    for (int i = 0; i < MaxPieces; ++i) {
        const ssize_t got = ::recv(client_, dropped.data(), dropped.size(), 0);
        if (got > 0) continue;
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) break;
        Dismiss();
        return false;
    }
    while (!bytes.empty()) {
        const ssize_t sent = ::send(client_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
            continue;
        }
        pollfd room{client_, POLLOUT, 0};
        const bool isFull = errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
        if (!isFull || ::poll(&room, 1, StallMS) <= 0) {
            Dismiss();
            return false;
        }
    }
    return true;
}

}  // namespace Host
