#include "host/console/HttpCall.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/report/SafeText.h"

namespace Host {

namespace {

constexpr std::array Texts = {
    std::pair<int, std::string_view>{400, "this is not a request that can be understood"},
    std::pair<int, std::string_view>{401, "log in first"},
    std::pair<int, std::string_view>{403, "that is not allowed"},
    std::pair<int, std::string_view>{404, "there is nothing of this name"},
    std::pair<int, std::string_view>{405, "GET, HEAD and POST are all there is"},
    std::pair<int, std::string_view>{408, "the request took too long"},
    std::pair<int, std::string_view>{411, "a request with a body must give its length"},
    std::pair<int, std::string_view>{413, "the body is too large"},
    std::pair<int, std::string_view>{414, "the address is too long"},
    std::pair<int, std::string_view>{415, "the body must be plain application/json"},
    std::pair<int, std::string_view>{417, "nothing but 100-continue can be expected"},
    std::pair<int, std::string_view>{421,
                                     "this console does not answer for that host; console.hosts lists those it does"},
    std::pair<int, std::string_view>{429, "too many wrong tokens; wait a second"},
    std::pair<int, std::string_view>{431, "the head of the request is too large"},
    std::pair<int, std::string_view>{500, "the console has failed to answer"},
    std::pair<int, std::string_view>{503, "as many browsers are connected as the console serves"},
    std::pair<int, std::string_view>{505, "the console speaks HTTP/1.1"},
};

std::string MakeHead(int status, std::string_view type) {
    std::string head = "HTTP/1.1 " + std::to_string(status) + (status == 200 ? " OK\r\n" : " Refused\r\n");
    for (const auto& header : SafetyHeaders) head.append(header[0]).append(": ").append(header[1]).append("\r\n");
    head.append("Cache-Control: no-store\r\nConnection: close\r\nContent-Type: ").append(type).append("\r\n");
    return head;
}

}  // namespace

std::string MakeErrorBody(std::string_view text) {
    return "{\"error\":" + JsonText(CleanText(text)) + "}";
}

std::string_view GetStatusText(int status) {
    const auto* text = std::find_if(Texts.begin(), Texts.end(), [&](const auto& at) { return at.first == status; });
    return text == Texts.end() ? "the request is refused" : text->second;
}

HttpReply MakeErrorReply(int status) {
    const std::string body = MakeErrorBody(GetStatusText(status));
    HttpReply reply;
    reply.bytes = MakeHead(status, "application/json");
    if (status == 405) reply.bytes += "Allow: GET, HEAD, POST\r\n";
    if (status == 503) reply.bytes += "Retry-After: 5\r\n";
    reply.bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    reply.isLast = true;
    return reply;
}

HttpReply MakeStreamReply(std::string owner) {
    HttpReply reply;
    // The second is for a proxy, which would collect the events before it passes them on.
    reply.bytes = MakeHead(200, "text/event-stream") + "X-Accel-Buffering: no\r\n\r\n";
    reply.isStream = true;
    reply.isLast = true;
    reply.owner = std::move(owner);
    return reply;
}

}  // namespace Host
