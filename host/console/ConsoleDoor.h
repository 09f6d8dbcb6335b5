// ConsoleDoor: who may come in.
#pragma once

#include <string>

#include "host/console/ConsoleBackend.h"
#include "host/console/ConsoleHosts.h"
#include "host/console/ConsoleSessions.h"
#include "host/console/HttpCall.h"

namespace Host {

// What is decided about a request before its path matters.
struct ConsoleVisit {
    int status = 200;  // or why it is refused: 400, 403, 415, 421
    ConsoleRight right = ConsoleRight::None;
    std::string session;  // of its cookie, if it is one
};

// Refused are, in this order: a Host that cannot be read or is not on the list; a request of another site's page (by
// Origin, and by Sec-Fetch-Site for everything but the page itself); a POST that does not prove to come from the
// console's own page, or whose body is no JSON.
//
// Without a session a peer and a Host that are both loopback, in a request that no proxy has passed on, may steer,
// unless a token is always needed.
class ConsoleDoor {
public:
    static constexpr const char* CookieName = "gnss_console";

    // The sessions must outlive the door.
    ConsoleDoor(ConsoleHosts hosts, ConsoleSessions& sessions, bool tokenAlways)
        : hosts_(std::move(hosts)), sessions_(sessions), tokenAlways_(tokenAlways) {}

    [[nodiscard]] ConsoleVisit Look(const HttpCall& call) const;
    [[nodiscard]] ConsoleSessions& GetSessions() const { return sessions_; }

private:
    ConsoleHosts hosts_;
    ConsoleSessions& sessions_;
    bool tokenAlways_;
};

}  // namespace Host
