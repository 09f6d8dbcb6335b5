// HttpCall: a whole request on its way from the front to who answers it, and the answer on its way back.
#pragma once

#include <string>
#include <string_view>

#include "host/console/HttpHead.h"

namespace Host {

struct HttpCall {
    HttpHead head;  // whole
    std::string body;
    std::string peer;   // numeric address of who has connected, as CanonicalAddress writes it
    std::string local;  // and of this end
};

struct HttpReply {
    std::string bytes;      // the whole answer, or the head of a stream
    bool isLast = false;    // the connection is closed afterwards
    bool isStream = false;  // the events of the hub follow
    std::string owner;      // of a stream, by which it can be ended; may be empty
};

// One for each thread that answers.
class HttpHandler {
public:
    virtual ~HttpHandler() = default;
    // Throws nothing.
    [[nodiscard]] virtual HttpReply Answer(const HttpCall& call) = 0;
};

// The headers of every answer, line by line, but for its content and its life in caches: nothing is loaded from
// elsewhere, nothing of the page is shown inside another.
inline constexpr std::string_view SafetyHeaders[][2] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
     "frame-ancestors 'none'; base-uri 'none'; form-action 'self'"},
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
};

// {"error": "..."}
[[nodiscard]] std::string MakeErrorBody(std::string_view text);
// What a status means, for a person.
[[nodiscard]] std::string_view GetStatusText(int status);
// An answer without a request that could be understood; the last of its connection.
[[nodiscard]] HttpReply MakeErrorReply(int status);
// The head of a stream of events.
[[nodiscard]] HttpReply MakeStreamReply(std::string owner);

}  // namespace Host
