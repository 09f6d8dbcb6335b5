// The streams of the front.
#include <utility>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include "host/console/HttpFront.h"

namespace Host {

namespace {

// Of events that wait in the system: what is late is replaced in the hub, not queued there.
constexpr int StreamLowWater = 32 * 1024;

void SetOption(int socket, int level, int name, int value) {
    static_cast<void>(::setsockopt(socket, level, name, &value, sizeof(value)));
}

}  // namespace

void HttpFront::BeginStream(HttpConnection& connection, HttpReply reply) {
    SetOption(connection.socket.Get(), IPPROTO_TCP, TCP_NOTSENT_LOWAT, StreamLowWater);
    connection.out = std::move(reply.bytes);
    connection.written = 0;
    connection.in = std::string();
    connection.owner = std::move(reply.owner);
    connection.reader = std::make_unique<ConsoleHub::Reader>(hub_);
    connection.moved = now_;
    Enter(connection, Phase::Streaming, bounds_.streamAge);
    nmrOpenStreams_ = ++nmrStreams_;
    Pump(connection);
}

void HttpFront::PumpStreams() {
    pumpDue_ = SteadyTime::max();
    std::vector<HttpConnection*> streams;
    streams.reserve(nmrStreams_);
    for (const auto& [id, connection] : connections_)
        if (connection->phase == Phase::Streaming && (connection->interest & EPOLLOUT) == 0)
            streams.push_back(connection.get());
    for (HttpConnection* connection : streams) Pump(*connection);
}

void HttpFront::Pump(HttpConnection& connection) {
    const std::uint64_t before = connection.sent;
    const Outcome outcome = connection.WriteEvents();
    if (outcome == Outcome::Ended) return Close(connection);
    if (connection.sent != before) connection.moved = now_;
    Want(connection, outcome == Outcome::Waits ? EPOLLIN | EPOLLOUT : EPOLLIN);
}

void HttpFront::EndUnwelcome() {
    if (!mayBeUnwelcome_.exchange(false)) return;
    std::vector<HttpConnection*> ending;
    for (const auto& [id, connection] : connections_)
        if (connection->phase == Phase::Streaming && !isWelcome_(connection->owner)) ending.push_back(connection.get());
    for (HttpConnection* connection : ending) Close(*connection);
}

}  // namespace Host
