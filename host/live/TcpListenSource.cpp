#include "host/live/TcpListenSource.h"

#include <cerrno>
#include <utility>

#include <fmt/format.h>
#include <sys/socket.h>

#include "host/live/BoundSocket.h"
#include "host/live/NameLookup.h"

namespace Host {

TcpListenSource::TcpListenSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink)
    : LiveSource(address.GetName(), settings, sink), address_(std::move(address)) {}

void TcpListenSource::AddWanted(std::vector<pollfd>& wanted) const {
    // The peer first: one that ends its connection and at once makes another is not in its own way.
    if (peer_.IsOpen()) wanted.push_back({peer_.Get(), POLLIN, 0});
    if (listener_.IsOpen()) wanted.push_back({listener_.Get(), POLLIN, 0});
}

int TcpListenSource::GetPort() const {
    return GetBoundPort(listener_.Get());
}

void TcpListenSource::Open() {
    SetState(State::Connecting);
    int error = 0;
    listener_ = BindSocket(address_.host, address_.port, SOCK_STREAM, error);
    if (!listener_.IsOpen()) return DropPort(error);
    SetState(State::Listening);
    Tell("waits for a connection at " + GetBoundAddress(listener_.Get()));
}

void TcpListenSource::Close() {
    listener_.Close();
    peer_.Close();
}

void TcpListenSource::OnDescriptor(const pollfd& ready) {
    if (peer_.IsOpen() && ready.fd == peer_.Get()) {
        std::string_view bytes;
        std::string reason;
        if (Read(peer_.Get(), bytes, reason)) {
            Deliver(bytes);
        } else {
            EndPeer(reason);
        }
    } else if (ready.fd == listener_.Get()) {
        Accept();
    }
}

void TcpListenSource::Accept() {
    SocketAddress address;
    address.size = sizeof(address.storage);
    Descriptor peer(::accept4(listener_.Get(), reinterpret_cast<sockaddr*>(&address.storage), &address.size,
                              SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!peer.IsOpen()) {
        const int error = errno;
        // Without descriptors, for example, the waiting connection would wake the loop again and again.
        if (error != EAGAIN && error != EINTR && error != ECONNABORTED) Drop("cannot accept: " + SystemWords(error));
        return;
    }
    if (peer_.IsOpen()) {
        if (const auto nmr = refusals_.Add(Now())) {
            Tell(fmt::format("a second peer, {}, is refused{}", address.Print(),
                             *nmr > 1 ? fmt::format(", and {} before", *nmr - 1) : ""));
        }
        return;
    }
    // For a peer whose machine has gone, where silence is allowed.
    const int on = 1;
    static_cast<void>(::setsockopt(peer.Get(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on)));
    peer_ = std::move(peer);
    Begin("connected by " + address.Print());
}

void TcpListenSource::EndPeer(const std::string& reason) {
    peer_.Close();
    End(reason, "waits for the next one");
    if (GetState() == State::Connected) SetState(State::Listening);
}

}  // namespace Host
