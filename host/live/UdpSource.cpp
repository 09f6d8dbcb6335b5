#include "host/live/UdpSource.h"

#include <cerrno>
#include <utility>

#include <fmt/format.h>
#include <sys/socket.h>

#include "host/live/BoundSocket.h"

namespace Host {

namespace {

// At a time, so that other sources have their turn.
constexpr int MaxDatagrams = 64;

}  // namespace

UdpSource::UdpSource(SourceAddress address, const LiveSettings& settings, LiveSink& sink)
    : LiveSource(address.GetName(), settings, sink), address_(std::move(address)), room_(PieceSize) {}

void UdpSource::AddWanted(std::vector<pollfd>& wanted) const {
    if (socket_.IsOpen()) wanted.push_back({socket_.Get(), POLLIN, 0});
}

int UdpSource::GetPort() const {
    return GetBoundPort(socket_.Get());
}

void UdpSource::Open() {
    SetState(State::Connecting);
    int error = 0;
    socket_ = BindSocket(address_.host, address_.port, SOCK_DGRAM, error);
    if (!socket_.IsOpen()) return DropPort(error);
    SetState(State::Listening);
    Watch();
    if (!IsMuted()) Tell("waits for datagrams at " + GetBoundAddress(socket_.Get()));
}

void UdpSource::Close() {
    socket_.Close();
    peer_.reset();
}

void UdpSource::OnDescriptor(const pollfd& ready) {
    for (int i = 0; i < MaxDatagrams && socket_.IsOpen() && socket_.Get() == ready.fd; ++i) {
        SocketAddress sender;
        sender.size = sizeof(sender.storage);
        const ssize_t size = ::recvfrom(socket_.Get(), room_.data(), room_.size(), 0,
                                        reinterpret_cast<sockaddr*>(&sender.storage), &sender.size);
        if (size < 0) {
            if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) Drop(SystemWords(errno));
            return;
        }
        if (!peer_) {
            peer_ = sender;
            Begin("receives from " + sender.Print());
        } else if (!peer_->IsSame(sender)) {
            if (const auto nmr = refusals_.Add(Now())) {
                Tell(fmt::format("datagrams of a second sender, {}, are refused: {}", sender.Print(), *nmr));
            }
            continue;
        }
        Deliver({room_.data(), static_cast<std::size_t>(size)});
    }
}

}  // namespace Host
