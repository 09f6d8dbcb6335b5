// ConsoleRouter: what stands behind each path of the console.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/console/ConsoleBackend.h"
#include "host/console/ConsoleDoor.h"
#include "host/console/ConsoleHub.h"
#include "host/console/HttpCall.h"

namespace Host {

struct ConsoleRoutes {
    const ConsoleDoor& door;
    const ConsoleHub& hub;
    ConsoleBackend& backend;
    std::string version;
    // A session has ended, or may have.
    std::function<void()> onSessionsChange;
};

// Parses requests and chooses among the paths by cpp-httplib, on memory. For one thread; what the routes refer to must
// outlive it.
[[nodiscard]] std::unique_ptr<HttpHandler> MakeConsoleRouter(ConsoleRoutes routes);

}  // namespace Host
