#include "host/live/TcpSource.h"

#include <cerrno>
#include <string.h>
#include <utility>

#include <sys/socket.h>

namespace Host {

TcpSource::TcpSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink, NameLookup::Function lookUp)
    : LiveSource(address.GetName(), settings, sink), address_(std::move(address)), lookUp_(std::move(lookUp)) {}

void TcpSource::AddWanted(std::vector<pollfd>& wanted) const {
    if (const int file = lookup_.GetFile(); file >= 0) wanted.push_back({file, POLLIN, 0});
    if (!socket_.IsOpen()) return;
    const bool isConnecting = !isConnected_;
    int events = isConnecting ? 0 : POLLIN;
    if (isConnecting || !unsent_.empty()) events |= POLLOUT;
    wanted.push_back({socket_.Get(), static_cast<short>(events), 0});
}

void TcpSource::Open() {
    SetState(State::Resolving);
    SetLimit(Now() + GetSettings().lookUpTimeout);
    if (!lookup_.Start(address_.host, address_.port, lookUp_)) {
        Drop("the system gives no means to look up the host's name");
    } else {
        // A numeric address is there already.
        OnAddresses();
    }
}

void TcpSource::Close() {
    lookup_.Forget();
    socket_.Close();
    isConnected_ = false;
    unsent_.clear();
}

void TcpSource::OnAddresses() {
    NameLookup::Result result;
    if (!lookup_.Take(result)) return;
    if (result.addresses.empty()) {
        Drop(result.failure);
        return;
    }
    SetState(State::Connecting);
    addresses_ = std::move(result.addresses);
    nextAddress_ = 0;
    ConnectNext("");
}

// Tries the next address; without one the source is dropped for the reason of the last one.
void TcpSource::ConnectNext(const std::string& failure) {
    std::string reason = failure;
    while (nextAddress_ < addresses_.size()) {
        const SocketAddress& address = addresses_[nextAddress_++];
        peer_ = address.Print();
        socket_ = Descriptor(::socket(address.GetFamily(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        if (socket_.IsOpen() && (::connect(socket_.Get(), address.Get(), address.size) == 0 || errno == EINPROGRESS)) {
            SetLimit(Now() + GetSettings().connectTimeout);
            return;
        }
        reason = peer_ + ": " + SystemWords(errno);
    }
    Drop(reason);
}

void TcpSource::OnLimit() {
    if (GetState() == State::Resolving) {
        Drop("the name service does not answer");
    } else {
        ConnectNext(peer_ + ": does not answer");
    }
}

void TcpSource::OnDescriptor(const pollfd& ready) {
    if (const int file = lookup_.GetFile(); file >= 0 && ready.fd == file) {
        OnAddresses();
        return;
    }
    if (!socket_.IsOpen() || ready.fd != socket_.Get()) return;
    if (!isConnected_) {
        if ((ready.revents & (POLLOUT | POLLERR | POLLHUP)) != 0) OnConnectDone();
        return;
    }
    if ((ready.revents & POLLOUT) != 0 && !Flush()) return;
    if ((ready.revents & (POLLIN | POLLERR | POLLHUP)) == 0) return;
    std::string_view bytes;
    std::string reason;
    if (!Read(socket_.Get(), bytes, reason)) {
        OnEnd(reason);
    } else if (!bytes.empty()) {
        OnReceived(bytes);
    }
}

void TcpSource::OnConnectDone() {
    int error = 0;
    socklen_t size = sizeof(error);
    if (::getsockopt(socket_.Get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
    if (error != 0) {
        ConnectNext(peer_ + ": " + SystemWords(error));
        return;
    }
    isConnected_ = true;
    // For a peer whose machine has gone, where silence is allowed.
    const int on = 1;
    static_cast<void>(::setsockopt(socket_.Get(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on)));
    SetLimit(std::nullopt);
    OnConnection();
}

void TcpSource::Send(std::string_view bytes) {
    unsent_ += bytes;
    static_cast<void>(Flush());
}

bool TcpSource::Flush() {
    while (!unsent_.empty()) {
        const ssize_t sent = ::send(socket_.Get(), unsent_.data(), unsent_.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return true;
        if (sent < 0) {
            OnEnd(SystemWords(errno));
            return false;
        }
        // It may have been a password.
        ::explicit_bzero(unsent_.data(), static_cast<std::size_t>(sent));
        unsent_.erase(0, static_cast<std::size_t>(sent));
    }
    return true;
}

}  // namespace Host
