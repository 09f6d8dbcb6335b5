// A socket that others send to or connect to.
#pragma once

#include <string>

#include "host/live/Descriptor.h"

namespace Host {

// Of a type SOCK_STREAM, which then listens, or SOCK_DGRAM; does not block. An empty host is every interface. Without a
// socket `error` is the system's number.
[[nodiscard]] Descriptor BindSocket(const std::string& host, int port, int type, int& error);
// Where a socket is bound to, "127.0.0.1:2101"; and the port alone. Empty and 0 for what is none.
[[nodiscard]] std::string GetBoundAddress(int socket);
[[nodiscard]] int GetBoundPort(int socket);

}  // namespace Host
