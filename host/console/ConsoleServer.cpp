#include "host/console/ConsoleServer.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include "host/console/ConsoleDoor.h"
#include "host/console/ConsoleHosts.h"
#include "host/console/ConsoleRouter.h"
#include "host/console/ConsoleSessions.h"
#include "host/console/HttpFront.h"
#include "host/live/SourceAddress.h"

namespace Host {

bool ConsoleServerSettings::ParseAddress(const std::string& text, std::string& address, int& port,
                                         std::string& reason) {
    address = "127.0.0.1";
    port = DefaultPort;
    if (text.empty()) return true;
    const bool isPort = text.find_first_not_of("0123456789") == std::string::npos;
    const std::size_t colon = isPort ? std::string::npos : text.rfind(':');
    // The colons of a bare IPv6 address are its own.
    const bool hasPort = colon != std::string::npos && (text.find(':') == colon || text.find("]:") + 1 == colon);
    std::string host = isPort ? std::string() : hasPort ? text.substr(0, colon) : text;
    const std::string number = isPort ? text : hasPort ? text.substr(colon + 1) : std::string();
    const auto fail = [&](const char* why) {
        reason = '\'' + text + "' " + why;
        return false;
    };
    if (isPort || hasPort) {
        if (number.empty() || number.size() > 5 || number.find_first_not_of("0123456789") != std::string::npos)
            return fail("has no port number behind the colon");
        port = 0;
        for (const char c : number) port = 10 * port + (c - '0');
        if (port > 65535) return fail("has a port above 65535");
    }
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    if (host.empty() || host == "localhost") return true;
    address = host == "*" ? std::string() : CanonicalAddress(host);
    if (host == "*" || !address.empty()) return true;
    return fail("is no numeric address of this machine such as 192.168.1.5:8080, nor *:8080 for all of them");
}

bool ConsoleServerSettings::IsLoopback() const {
    return IsLoopbackAddress(CanonicalAddress(address));
}

bool ConsoleServerSettings::CheckToken(const Secret& token, std::string& reason) {
    if (token.IsEmpty()) return true;
    const std::string& text = token.Reveal();
    if (text.size() < MinToken || text.size() > MaxToken) {
        reason = "a token has " + std::to_string(MinToken) + " to " + std::to_string(MaxToken) +
                 " characters; `openssl rand -hex 32` makes a good one";
        return false;
    }
    if (std::all_of(text.begin(), text.end(), [](char c) { return c > 0x20 && c < 0x7f; })) return true;
    reason = "a token has printing ASCII characters alone, without blanks";
    return false;
}

bool ConsoleServerSettings::Check(std::string& reason) const {
    if (!address.empty() && CanonicalAddress(address).empty()) {
        reason = "--console: '" + address + "' is no numeric address";
        return false;
    }
    if (!CheckToken(viewToken, reason) || !CheckToken(steerToken, reason)) return false;
    if (!viewToken.IsEmpty() && viewToken.Reveal() == steerToken.Reveal()) {
        reason = "--console: the view token and the steer token are the same; each right needs one of its own";
        return false;
    }
    for (const std::string& text : hosts) {
        if (HttpAuthority host; HttpAuthority::Parse(text, host)) continue;
        reason = "--console-hosts: '" + text + "' is no name or address, with or without a port";
        return false;
    }
    if (!viewToken.IsEmpty() || !steerToken.IsEmpty() || (IsLoopback() && !tokenAlways)) return true;
    reason = tokenAlways ? "--console-token-always: the console has no token to ask for"
                         : "--console: a console that other machines reach needs a token";
    reason += ": give console.view_token_file or console.steer_token_file";
    return false;
}

class ConsoleServer::Parts {
public:
    Parts(const ConsoleServerSettings& settings, ConsoleHub& hub)
        : sessions({settings.viewToken, settings.steerToken, settings.bounds.maxSessions, settings.bounds.session,
                    settings.bounds.loginWait},
                   [] { return std::chrono::steady_clock::now(); }),
          front(settings.bounds, hub) {}

    ConsoleSessions sessions;
    std::unique_ptr<ConsoleDoor> door;
    // Ends first, and with it who uses the others.
    HttpFront front;
};

ConsoleServer::ConsoleServer(ConsoleServerSettings settings, ConsoleHub& hub, ConsoleBackend& backend)
    : settings_(std::move(settings)), hub_(hub), backend_(backend) {}

ConsoleServer::~ConsoleServer() {
    Stop();
}

bool ConsoleServer::Start(std::string& reason) {
    if (parts_ != nullptr || !settings_.Check(reason)) return parts_ != nullptr;
    try {
        auto parts = std::make_unique<Parts>(settings_, hub_);
        const std::string address = settings_.address.empty() ? std::string() : CanonicalAddress(settings_.address);
        int error = 0;
        if (!parts->front.Listen(address, settings_.port, error)) {
            reason = "the console cannot listen on " + (address.empty() ? "*" : BracketHost(address)) + ':' +
                     std::to_string(settings_.port) + ": " + SystemWords(error);
            return false;
        }
        parts->door = std::make_unique<ConsoleDoor>(ConsoleHosts(address, parts->front.GetPort(), settings_.hosts),
                                                    parts->sessions, settings_.tokenAlways);
        parts->front.Start(
            [&] {
                return MakeConsoleRouter({*parts->door, hub_, backend_, settings_.version,
                                          [front = &parts->front] { front->CheckStreams(); }});
            },
            // Without a session it was let in for where it comes from.
            [sessions = &parts->sessions](const std::string& session) {
                return session.empty() || sessions->Find(session) != ConsoleRight::None;
            });
        parts_ = std::move(parts);
        return true;
    } catch (const std::system_error& error) {
        reason = "the console cannot start: " + SystemWords(error.code().value());
        return false;
    }
}

void ConsoleServer::Stop() {
    parts_.reset();
}

int ConsoleServer::GetPort() const {
    return parts_ == nullptr ? 0 : parts_->front.GetPort();
}

std::string ConsoleServer::GetUrl() const {
    if (parts_ == nullptr) return {};
    // Of every interface the one that always works from here.
    return "http://" + (IsAtEveryAddress() ? "127.0.0.1" : BracketHost(CanonicalAddress(settings_.address))) + ':' +
           std::to_string(GetPort()) + '/';
}

std::string ConsoleServer::GetPlace() const {
    if (parts_ == nullptr || !IsAtEveryAddress()) return GetUrl();
    return GetUrl() + " and at port " + std::to_string(GetPort()) + " of every address of this machine";
}

bool ConsoleServer::IsAtEveryAddress() const {
    const std::string address = CanonicalAddress(settings_.address);
    return address.empty() || address == "0.0.0.0" || address == "::";
}

ConsoleServer::Figures ConsoleServer::GetFigures() const {
    return parts_ == nullptr ? Figures() : parts_->front.GetFigures();
}

}  // namespace Host
