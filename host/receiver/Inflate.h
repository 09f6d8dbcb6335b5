// Inflate: the content of data that gzip has compressed, all at once. GzipStream does it while they come.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "host/receiver/GzipStream.h"

namespace Host {

struct Inflated {
    enum class State {
        Whole,     // all members, their check sums right
        Cut,       // the data end inside a member: the bytes are what came before, unchecked
        Damaged,   // not deflated data, or a check sum that does not fit
        TooLarge,  // more than the limit
        NoMemory,
    };

    State state = State::Whole;
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
};

// The content of gzip data of one or several members (RFC 1952); what follows the last member is ignored.
[[nodiscard]] Inflated Inflate(std::string_view packed, std::size_t limit);

}  // namespace Host
