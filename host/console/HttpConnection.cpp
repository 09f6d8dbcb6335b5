#include "host/console/HttpConnection.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <sys/socket.h>
#include <sys/uio.h>

namespace Host {

namespace {

constexpr std::size_t Chunk = 16384;
constexpr std::size_t MaxAtOnce = 16;  // events in one call of the system
constexpr std::size_t MaxTurns = 16;
constexpr std::size_t MaxDiscards = 16;

HttpConnection::Outcome GetOutcome(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR ? HttpConnection::Outcome::Waits
                                                                     : HttpConnection::Outcome::Ended;
}

}  // namespace

HttpConnection::Outcome HttpConnection::Receive() {
    constexpr std::size_t Most = HttpHead::MaxBytes + HttpHead::MaxBody;
    if (in.size() >= Most) return Outcome::Waits;
    std::array<char, Chunk> room;
    const ssize_t nmr = ::recv(socket.Get(), room.data(), std::min(room.size(), Most - in.size()), MSG_DONTWAIT);
    if (nmr == 0) return Outcome::Ended;
    if (nmr < 0) return GetOutcome(errno);
    in.append(room.data(), static_cast<std::size_t>(nmr));
    return Outcome::More;
}

HttpConnection::Outcome HttpConnection::Discard() {
    std::array<char, Chunk> room;
    for (std::size_t i = 0; i < MaxDiscards; ++i) {
        const ssize_t nmr = ::recv(socket.Get(), room.data(), room.size(), MSG_DONTWAIT);
        if (nmr == 0) return Outcome::Ended;
        if (nmr < 0) return GetOutcome(errno);
    }
    return Outcome::More;
}

HttpConnection::Outcome HttpConnection::Write() {
    while (written < out.size()) {
        const ssize_t nmr =
            ::send(socket.Get(), out.data() + written, out.size() - written, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (nmr < 0 && errno == EINTR) continue;
        if (nmr < 0) return GetOutcome(errno);
        written += static_cast<std::size_t>(nmr);
        sent += static_cast<std::uint64_t>(nmr);
    }
    // The room of a large answer is given back.
    out = std::string();
    written = 0;
    return Outcome::More;
}

HttpConnection::Outcome HttpConnection::WriteEvents() {
    if (const Outcome outcome = Write(); outcome != Outcome::More) return outcome;
    // However fast the events come, the others have their turn.
    for (std::size_t turn = 0; turn < MaxTurns; ++turn) {
        if (events.empty() && !reader->Take(events, MaxAtOnce)) return Outcome::More;
        std::array<iovec, MaxAtOnce> parts{};
        std::size_t nmrParts = 0;
        for (const ConsoleHub::Text& event : events) {
            const std::size_t skip = nmrParts == 0 ? offset : 0;
            // The system only reads there.
            parts[nmrParts++] = {const_cast<char*>(event->data()) + skip, event->size() - skip};
        }
        msghdr message{};
        message.msg_iov = parts.data();
        message.msg_iovlen = nmrParts;
        const ssize_t nmr = ::sendmsg(socket.Get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (nmr < 0 && errno == EINTR) continue;
        if (nmr < 0) return GetOutcome(errno);
        offset += static_cast<std::size_t>(nmr);
        sent += static_cast<std::uint64_t>(nmr);
        std::size_t nmrSent = 0;
        while (nmrSent < events.size() && offset >= events[nmrSent]->size()) offset -= events[nmrSent++]->size();
        events.erase(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(nmrSent));
    }
    return Outcome::Waits;
}

}  // namespace Host
