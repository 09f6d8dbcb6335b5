// The way of a request from its bytes to its answer, on memory: the strict head, httplib's parser and the routes.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "host/console/ConsoleRouter.h"

namespace {

class Backend : public Host::ConsoleBackend {
public:
    Host::ConsoleAnswer Get(std::string_view path, const std::map<std::string, std::string>& parameters) override {
        return {200, "text/plain", std::string(path) + std::to_string(parameters.size())};
    }
    Host::ConsoleAnswer Post(std::string_view command, std::string_view body, std::string_view /*who*/) override {
        return {202, "text/plain", std::string(command) + std::string(body)};
    }
};

struct Console {
    Console() : sessions(Settings(), [] { return Host::SteadyTime(); }), door(Hosts(), sessions, false) {
        static_cast<void>(hub.Publish("run", "{}"));
        router = Host::MakeConsoleRouter({door, hub, backend, "1", [] {}});
    }
    static Host::ConsoleSessions::Settings Settings() {
        Host::ConsoleSessions::Settings settings;
        settings.viewToken = Host::Secret("0123456789abcdef");
        settings.wait = Host::SteadySpan(0);
        settings.most = 4;
        return settings;
    }
    static Host::ConsoleHosts Hosts() { return {"127.0.0.1", 8080, {"a.example"}}; }

    Host::ConsoleHub hub;
    Backend backend;
    Host::ConsoleSessions sessions;
    Host::ConsoleDoor door;
    std::unique_ptr<Host::HttpHandler> router;
};

void Require(bool holds) {
    if (!holds) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Console console;
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    // A connection: one request after another until one is refused or lacks its end.
    while (true) {
        Host::HttpCall call;
        const Host::HttpHead::State state = call.head.Parse(bytes);
        if (state == Host::HttpHead::State::Refused) {
            const int status = call.head.GetStatus();
            Require(status >= 400 && status < 600);
            Require(Host::MakeErrorReply(status).isLast);
        }
        if (state != Host::HttpHead::State::Whole) break;
        const std::size_t headSize = call.head.GetSize();
        const std::size_t bodySize = call.head.GetBodySize();
        Require(headSize <= Host::HttpHead::MaxBytes && bodySize <= Host::HttpHead::MaxBody);
        // It is the same whatever follows, and no part of it is a head.
        Require(Host::HttpHead().Parse(bytes.substr(0, headSize)) == Host::HttpHead::State::Whole);
        Require(Host::HttpHead().Parse(bytes.substr(0, headSize - 1)) == Host::HttpHead::State::Partial);
        if (bytes.size() < headSize + bodySize) break;
        call.body = bytes.substr(headSize, bodySize);
        call.peer = call.local = headSize % 2 == 0 ? "127.0.0.1" : "192.0.2.1";
        const Host::HttpReply reply = console.router->Answer(call);
        // One answer with its length and the headers of all, in which nothing of the request has become a line.
        Require(reply.bytes.starts_with("HTTP/1.1 "));
        const std::size_t end = reply.bytes.find("\r\n\r\n");
        Require(end != std::string::npos);
        const std::string head = reply.bytes.substr(0, end + 2);
        Require(head.find("Content-Security-Policy: ") != std::string::npos);
        const std::size_t length = head.find("Content-Length: ");
        Require(reply.isStream == (length == std::string::npos));
        if (!reply.isStream && call.head.GetMethod() != "HEAD")
            Require(std::stoul(head.substr(length + 16)) == reply.bytes.size() - end - 4);
        bytes.remove_prefix(headSize + bodySize);
    }
    return 0;
}
