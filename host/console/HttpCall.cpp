#include "host/console/HttpCall.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/report/SafeText.h"

namespace Host {

namespace {

struct Status {
    int number;
    std::string_view phrase;  // of the protocol
    std::string_view text;    // for a person
};

constexpr std::array Statuses = {
    Status{400, "Bad Request", "this is not a request that can be understood"},
    Status{401, "Unauthorized", "log in first"},
    Status{403, "Forbidden", "that is not allowed"},
    Status{404, "Not Found", "there is nothing of this name"},
    Status{405, "Method Not Allowed", "GET, HEAD and POST are all there is"},
    Status{408, "Request Timeout", "the request took too long"},
    Status{411, "Length Required", "a request with a body must give its length"},
    Status{413, "Content Too Large", "the body is too large"},
    Status{414, "URI Too Long", "the address is too long"},
    Status{415, "Unsupported Media Type", "the body must be plain application/json"},
    Status{417, "Expectation Failed", "nothing but 100-continue can be expected"},
    Status{421, "Misdirected Request", "this console does not answer for that host; console.hosts lists those it does"},
    Status{429, "Too Many Requests", "too many wrong tokens; wait a second"},
    Status{431, "Request Header Fields Too Large", "the head of the request is too large"},
    Status{500, "Internal Server Error", "the console has failed to answer"},
    Status{503, "Service Unavailable", "as many browsers are connected as the console serves"},
    Status{505, "HTTP Version Not Supported", "the console speaks HTTP/1.1"},
};

const Status* Find(int number) {
    const auto* status =
        std::find_if(Statuses.begin(), Statuses.end(), [&](const auto& at) { return at.number == number; });
    return status == Statuses.end() ? nullptr : status;
}

std::string MakeHead(int number, std::string_view type) {
    const Status* status = Find(number);
    std::string head = "HTTP/1.1 " + std::to_string(number) + ' ';
    head.append(number == 200 ? "OK" : status != nullptr ? status->phrase : "Refused").append("\r\n");
    for (const auto& header : SafetyHeaders) head.append(header[0]).append(": ").append(header[1]).append("\r\n");
    head.append("Cache-Control: no-store\r\nConnection: close\r\nContent-Type: ").append(type).append("\r\n");
    return head;
}

}  // namespace

std::string MakeErrorBody(std::string_view text) {
    return "{\"error\":" + JsonText(CleanText(text)) + "}";
}

std::string_view GetStatusText(int number) {
    const Status* status = Find(number);
    return status == nullptr ? "the request is refused" : status->text;
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
