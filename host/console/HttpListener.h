// HttpListener: where connections come in, also when the system has no room for them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/live/Descriptor.h"

namespace Host {

class HttpListener {
public:
    enum class Outcome : std::uint8_t {
        Accepted,
        None,  // that waits
        Full,  // one waits that the system has no descriptor or memory for
    };
    struct Accepted {
        Descriptor socket;  // does not block
        std::string peer;   // numeric addresses, as CanonicalAddress writes them
        std::string local;
    };

    HttpListener();

    // How many connections the system leaves room for, besides what the rest of the program may need. Raises the soft
    // limit of descriptors as far as is needed and allowed.
    [[nodiscard]] static std::size_t RaiseLimit(std::size_t wanted);

    // Numeric, empty for every interface; port 0: one that is free. False with the system's error number.
    [[nodiscard]] bool Listen(const std::string& address, int port, int& error);
    [[nodiscard]] int GetPort() const;
    [[nodiscard]] int GetFile() const { return listener_.Get(); }

    [[nodiscard]] Outcome Accept(Accepted& accepted);
    // Closes the one that waits, which would wake a loop again and again, by a descriptor that is held for this. False
    // when that could not be done.
    bool TurnAway();

private:
    Descriptor listener_;
    Descriptor spare_;
};

}  // namespace Host
