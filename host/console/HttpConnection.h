// HttpConnection: one peer of the front, and what is on its way to and from it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/console/ConsoleHub.h"
#include "host/console/HttpHead.h"
#include "host/live/Descriptor.h"
#include "host/live/SteadyClock.h"

namespace Host {

struct HttpConnection {
    enum class Phase : std::uint8_t {
        Head,       // waits for the rest of a head, or for its first byte
        Body,       // for the rest of a body
        Working,    // for who answers
        Writing,    // for the peer to take the answer
        Streaming,  // carries events until one side ends it
        Draining,   // has sent its last: waits for the peer to close, so that it reads what it was sent
    };
    enum class Outcome : std::uint8_t { More, Waits, Ended };

    std::uint64_t id = 0;
    Descriptor socket;
    std::string peer;
    std::string local;

    Phase phase = Phase::Head;
    SteadyTime since;            // of the phase
    SteadyTime moved;            // when the peer last took something
    SteadyTime due;              // when it is given up: far away for a stream that has nothing unsent
    std::uint32_t interest = 0;  // what the loop waits for on its socket

    std::string in;  // unread; at most a head and a body
    HttpHead head;   // of the request whose body is awaited
    std::string out;
    std::size_t written = 0;  // of `out`
    std::uint64_t sent = 0;   // bytes, in all
    bool isLast = false;      // closes after `out`
    bool isFresh = true;      // has not had a request yet

    // Of a stream.
    std::unique_ptr<ConsoleHub::Reader> reader;
    std::string owner;
    std::vector<ConsoleHub::Text> events;  // on their way, each of another panel
    std::size_t offset = 0;                // of the first of them: what has been sent

    // Reads what there is, as far as there is room. Ended when the peer has closed or is gone.
    Outcome Receive();
    // Throws away what there is.
    Outcome Discard();
    // More: all has been written.
    Outcome Write();
    // The same of the events, of those that come to hand meanwhile too, and of `out` before them.
    Outcome WriteEvents();
    [[nodiscard]] bool HasUnsent() const { return written < out.size() || !events.empty(); }
    // Half-open, or idle: nobody waits for an answer. Or it has not taken anything of its answer for a while.
    [[nodiscard]] bool CanBeDisplaced(SteadyTime now) const {
        constexpr std::chrono::seconds Patience{2};
        return phase == Phase::Head || phase == Phase::Body || phase == Phase::Draining ||
               (phase == Phase::Writing && now >= moved + Patience);
    }
};

}  // namespace Host
