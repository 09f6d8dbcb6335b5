#include "host/live/BoundSocket.h"

#include <cerrno>

#include <netinet/in.h>
#include <sys/socket.h>

#include "host/live/NameLookup.h"

namespace Host {

namespace {

constexpr int Backlog = 4;

Descriptor Bind(const SocketAddress& address, int type, int& error) {
    Descriptor socket(::socket(address.GetFamily(), type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    const int off = 0;
    const auto isGood = [&] {
        if (!socket.IsOpen()) return false;
        // The connections of a program that has just ended do not keep the port from the next one.
        if (type == SOCK_STREAM && ::setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0)
            return false;
        if (address.GetFamily() == AF_INET6)
            static_cast<void>(::setsockopt(socket.Get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof(off)));
        if (::bind(socket.Get(), address.Get(), address.size) != 0) return false;
        return type != SOCK_STREAM || ::listen(socket.Get(), Backlog) == 0;
    };
    if (isGood()) return socket;
    error = errno;
    return {};
}

bool GetOwnAddress(int socket, SocketAddress& address) {
    address.size = sizeof(address.storage);
    return ::getsockname(socket, reinterpret_cast<sockaddr*>(&address.storage), &address.size) == 0;
}

}  // namespace

Descriptor BindSocket(const std::string& host, int port, int type, int& error) {
    SocketAddress address;
    if (!host.empty()) {
        if (ParseSocketAddress(host, port, address)) return Bind(address, type, error);
        error = EADDRNOTAVAIL;
        return {};
    }
    // IPv4 alone where the system has no IPv6.
    for (const char* every : {"::", "0.0.0.0"}) {
        if (!ParseSocketAddress(every, port, address)) continue;
        Descriptor socket = Bind(address, type, error);
        if (socket.IsOpen()) return socket;
    }
    return {};
}

std::string GetBoundAddress(int socket) {
    SocketAddress address;
    return GetOwnAddress(socket, address) ? address.Print() : std::string();
}

int GetBoundPort(int socket) {
    SocketAddress address;
    if (!GetOwnAddress(socket, address)) return 0;
    return ntohs(address.GetFamily() == AF_INET6 ? reinterpret_cast<const sockaddr_in6*>(address.Get())->sin6_port
                                                 : reinterpret_cast<const sockaddr_in*>(address.Get())->sin_port);
}

}  // namespace Host
