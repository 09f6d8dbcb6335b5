#include "host/console/HttpListener.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include "host/console/ConsoleHosts.h"
#include "host/live/BoundSocket.h"
#include "host/live/NameLookup.h"

namespace Host {

namespace {

constexpr int Backlog = 1024;
constexpr std::size_t OtherDescriptors = 128;
constexpr std::size_t FewestConnections = 16;
// By itself the system would keep megabytes for each peer that asks and does not read, in memory that it shares out to
// the sources of the fix as well.
constexpr int SendBuffer = 128 * 1024;
constexpr int GoneAfter = 30'000;  // milliseconds without any sign of a peer that was sent something

Descriptor OpenSpare() {
    return Descriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

std::string GetHost(const SocketAddress& address) {
    std::array<char, INET6_ADDRSTRLEN> room{};
    const void* bytes = nullptr;
    if (address.GetFamily() == AF_INET)
        bytes = &reinterpret_cast<const sockaddr_in*>(address.Get())->sin_addr;
    else if (address.GetFamily() == AF_INET6)
        bytes = &reinterpret_cast<const sockaddr_in6*>(address.Get())->sin6_addr;
    if (bytes == nullptr || ::inet_ntop(address.GetFamily(), bytes, room.data(), room.size()) == nullptr) return {};
    return CanonicalAddress(room.data());
}

void SetOption(int socket, int level, int name, int value) {
    static_cast<void>(::setsockopt(socket, level, name, &value, sizeof(value)));
}

}  // namespace

HttpListener::HttpListener() : spare_(OpenSpare()) {}

std::size_t HttpListener::RaiseLimit(std::size_t wanted) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return std::min<std::size_t>(wanted, 512);
    if (limit.rlim_cur < wanted + OtherDescriptors) {
        rlimit more = limit;
        more.rlim_cur = std::min<rlim_t>(limit.rlim_max, wanted + OtherDescriptors);
        if (::setrlimit(RLIMIT_NOFILE, &more) == 0) limit = more;
    }
    const std::size_t room = limit.rlim_cur > OtherDescriptors ? limit.rlim_cur - OtherDescriptors : 0;
    return std::min(std::max(room, FewestConnections), wanted);
}

bool HttpListener::Listen(const std::string& address, int port, int& error) {
    listener_ = BindSocket(address, port, SOCK_STREAM, error);
    if (!listener_.IsOpen()) return false;
    // A second time, with a longer queue.
    if (::listen(listener_.Get(), Backlog) == 0) return true;
    error = errno;
    return false;
}

int HttpListener::GetPort() const {
    return GetBoundPort(listener_.Get());
}

HttpListener::Outcome HttpListener::Accept(Accepted& accepted) {
    while (true) {
        SocketAddress address;
        address.size = sizeof(address.storage);
        Descriptor socket(::accept4(listener_.Get(), reinterpret_cast<sockaddr*>(&address.storage), &address.size,
                                    SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!socket.IsOpen()) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) return Outcome::Full;
            if (errno == EINTR || errno == ECONNABORTED || errno == EPROTO) continue;
            return Outcome::None;
        }
        SocketAddress own;
        own.size = sizeof(own.storage);
        if (::getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&own.storage), &own.size) != 0) continue;
        SetOption(socket.Get(), IPPROTO_TCP, TCP_NODELAY, 1);
        SetOption(socket.Get(), SOL_SOCKET, SO_KEEPALIVE, 1);
        SetOption(socket.Get(), SOL_SOCKET, SO_SNDBUF, SendBuffer);
        SetOption(socket.Get(), IPPROTO_TCP, TCP_USER_TIMEOUT, GoneAfter);
        accepted.socket = std::move(socket);
        accepted.peer = GetHost(address);
        accepted.local = GetHost(own);
        return Outcome::Accepted;
    }
}

bool HttpListener::TurnAway() {
    if (!spare_.IsOpen()) return false;
    spare_.Close();
    Descriptor(::accept4(listener_.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)).Close();
    spare_ = OpenSpare();
    return spare_.IsOpen();
}

}  // namespace Host
