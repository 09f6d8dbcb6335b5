#include "host/console/ConsoleRouter.h"

#include <algorithm>
#include <cstring>
#include <httplib.h>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/console/ConsolePage.h"

namespace Host {

namespace {

using httplib::Request;
using httplib::Response;

constexpr std::size_t MaxPath = 128;
constexpr std::size_t MaxParameters = 32;
constexpr const char* Json = "application/json";

// A request in memory, and the place for its answer.
class MemoryStream final : public httplib::Stream {
public:
    explicit MemoryStream(std::string request) : request_(std::move(request)) {}

    [[nodiscard]] bool is_readable() const override { return read_ < request_.size(); }
    [[nodiscard]] bool is_writable() const override { return true; }
    ssize_t read(char* to, std::size_t size) override {
        const std::size_t nmr = std::min(size, request_.size() - read_);
        std::memcpy(to, request_.data() + read_, nmr);
        read_ += nmr;
        return static_cast<ssize_t>(nmr);
    }
    ssize_t write(const char* bytes, std::size_t size) override {
        reply_.append(bytes, size);
        return static_cast<ssize_t>(size);
    }
    void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    // There is none, and so none that would be too large for select().
    [[nodiscard]] socket_t socket() const override { return 0; }

    [[nodiscard]] std::string TakeReply() { return std::move(reply_); }

private:
    std::string request_;
    std::string reply_;
    std::size_t read_ = 0;
};

void Refuse(Response& response, int status, std::string_view text = {}) {
    response.status = status;
    response.set_content(MakeErrorBody(text.empty() ? GetStatusText(status) : text), Json);
}

void SetCookie(Response& response, const std::string& id, std::chrono::seconds life, bool isSecure) {
    response.set_header("Set-Cookie", std::string(ConsoleDoor::CookieName) + '=' + id +
                                          "; Path=/; HttpOnly; SameSite=Strict; Max-Age=" +
                                          std::to_string(life.count()) + (isSecure ? "; Secure" : ""));
}

class ConsoleRouter final : public HttpHandler, private httplib::Server {
public:
    explicit ConsoleRouter(ConsoleRoutes routes) : routes_(std::move(routes)) {
        httplib::Headers headers;
        for (const auto& header : SafetyHeaders) headers.emplace(std::string(header[0]), std::string(header[1]));
        set_default_headers(std::move(headers));
        set_keep_alive_timeout(15);  // said to the client; the front keeps to its own bounds
        set_keep_alive_max_count(1000);
        set_payload_max_length(HttpHead::MaxBody);
        set_pre_routing_handler([this](const Request& request, Response& response) {
            return ComeIn(request, response) ? HandlerResponse::Unhandled : HandlerResponse::Handled;
        });
        set_post_routing_handler([](const Request&, Response& response) {
            if (!response.has_header("Cache-Control")) response.set_header("Cache-Control", "no-store");
        });
        set_error_handler([](const Request&, Response& response) {
            if (response.body.empty()) Refuse(response, response.status);
        });
        // The words of an exception may be about the machine.
        set_exception_handler(
            [](const Request&, Response& response, const std::exception_ptr&) { Refuse(response, 500); });
        AddRoutes();
    }

    HttpReply Answer(const HttpCall& call) override {
        call_ = &call;
        visit_ = {};
        stream_.reset();
        HttpReply reply;
        try {
            MemoryStream stream(MakeRequest(call));
            bool isLast = call.head.IsLast();
            static_cast<void>(process_request(stream, isLast, isLast, nullptr));
            reply.bytes = stream.TakeReply();
            reply.isLast = isLast || call.head.IsLast();
            if (stream_) reply = std::move(*stream_);
            if (reply.bytes.empty()) reply = MakeErrorReply(500);
        } catch (const std::exception&) {
            reply = MakeErrorReply(500);
        }
        call_ = nullptr;
        return reply;
    }

private:
    // The request as httplib is to see it: with what the routes need alone, for it would decode what is percent-encoded
    // in headers, unpack bodies and cut answers into ranges.
    static std::string MakeRequest(const HttpCall& call) {
        const HttpHead& head = call.head;
        std::string text = head.GetMethod() + ' ' + head.GetTarget() + " HTTP/1.1\r\nHost: console\r\n";
        if (head.IsLast()) text += "Connection: close\r\n";
        if (head.GetMethod() == "POST") {
            text += "Content-Type: application/json\r\nContent-Length: " + std::to_string(call.body.size()) + "\r\n";
        }
        return text + "\r\n" + call.body;
    }

    // Before the path matters, and before a pattern is matched against it.
    bool ComeIn(const Request& request, Response& response) {
        visit_ = routes_.door.Look(*call_);
        if (visit_.status != 200) {
            Refuse(response, visit_.status);
        } else if (request.path.size() > MaxPath || request.params.size() > MaxParameters) {
            Refuse(response, 404);
        } else if (request.path.starts_with("/api/") && visit_.right == ConsoleRight::None) {
            Refuse(response, 401);
        } else if (request.path.starts_with("/api/") && request.method == "POST" &&
                   visit_.right != ConsoleRight::Steer) {
            Refuse(response, 403, "this login may look, but not steer");
        } else {
            return true;
        }
        return false;
    }

    void AddRoutes() {
        Get("/", [this](const Request&, Response& response) { ServeAsset("index.html", response); });
        Get("/login", [this](const Request&, Response& response) { ServeAsset("index.html", response); });
        Get("/page/([A-Za-z0-9._-]+)",
            [this](const Request& request, Response& response) { ServeAsset(request.matches[1].str(), response); });
        Get("/api/me", [this](const Request&, Response& response) {
            const nlohmann::json me = {{"right", visit_.right == ConsoleRight::Steer ? "steer" : "view"},
                                       {"login", !visit_.session.empty()},
                                       {"version", routes_.version}};
            response.set_content(me.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), Json);
        });
        Get("/api/stream", [this](const Request& request, Response& response) {
            response.set_content("", "text/event-stream");
            if (request.method == "GET") stream_ = MakeStreamReply(visit_.session);
        });
        Get("/api/panel/([a-z0-9_]+)", [this](const Request& request, Response& response) {
            const ConsoleHub::Text text = routes_.hub.Latest(request.matches[1].str());
            if (text == nullptr) return Refuse(response, 404);
            response.set_content(*text, Json);
        });
        Get("/api/(.+)", [this](const Request& request, Response& response) {
            const std::map<std::string, std::string> parameters(request.params.begin(), request.params.end());
            Serve(routes_.backend.Get(request.matches[1].str(), parameters), response);
        });
        Post("/login", [this](const Request& request, Response& response) { LogIn(request, response); });
        Post("/logout", [this](const Request&, Response& response) {
            routes_.door.GetSessions().Leave(visit_.session);
            routes_.onSessionsChange();
            SetCookie(response, "", std::chrono::seconds(0), IsSecure());
            response.status = 204;
        });
        Post("/api/([a-z_]+)", [this](const Request& request, Response& response) {
            Serve(routes_.backend.Post(request.matches[1].str(), request.body, call_->peer), response);
        });
    }

    static void Serve(const ConsoleAnswer& answer, Response& response) {
        response.status = answer.status;
        response.set_content(answer.body, answer.type);
    }

    void ServeAsset(const std::string& name, Response& response) {
        ConsoleAsset asset;
        if (!FindConsoleAsset(name, asset)) return Refuse(response, 404);
        // Kept by the browser, but asked for anew each time: the page of an older program is never shown.
        response.set_header("Cache-Control", "no-cache");
        response.set_header("ETag", std::string(asset.tag));
        if (call_->head.GetValue("if-none-match") == asset.tag) {
            response.status = 304;
            return;
        }
        response.set_content(asset.bytes.data(), asset.bytes.size(), std::string(asset.type));
    }

    void LogIn(const Request& request, Response& response) {
        const nlohmann::json body = nlohmann::json::parse(request.body, nullptr, false);
        if (!body.is_object() || !body.contains("token") || !body["token"].is_string())
            return Refuse(response, 400, "the body must be {\"token\": \"...\"}");
        std::string id;
        switch (routes_.door.GetSessions().Enter(Secret(body["token"].get<std::string>()), call_->peer, id)) {
            case ConsoleSessions::Outcome::Good:
                // It may have taken another's place.
                routes_.onSessionsChange();
                SetCookie(response, id, routes_.door.GetSessions().GetLife(), IsSecure());
                response.status = 204;
                return;
            case ConsoleSessions::Outcome::TooSoon:
                response.set_header("Retry-After", "1");
                return Refuse(response, 429);
            case ConsoleSessions::Outcome::Wrong:
                return Refuse(response, 401, "this is not a token of this console");
        }
    }

    // A proxy with TLS stands between; all that a liar gets is a cookie that is not sent back.
    [[nodiscard]] bool IsSecure() const { return call_->head.GetValue("x-forwarded-proto") == "https"; }

    ConsoleRoutes routes_;
    // Of the request in work.
    const HttpCall* call_ = nullptr;
    ConsoleVisit visit_;
    std::optional<HttpReply> stream_;
};

}  // namespace

std::unique_ptr<HttpHandler> MakeConsoleRouter(ConsoleRoutes routes) {
    return std::make_unique<ConsoleRouter>(std::move(routes));
}

}  // namespace Host
