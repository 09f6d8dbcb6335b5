#include "host/console/ConsoleHosts.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>

#include "host/console/HttpHead.h"

namespace Host {

namespace {

constexpr std::size_t MaxName = 253;

bool ReadPort(std::string_view text, int& port) {
    if (text.empty() || text.size() > 5) return false;
    port = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return false;
        port = 10 * port + (c - '0');
    }
    return port >= 1 && port <= 65535;
}

bool IsName(std::string_view text) {
    return !text.empty() && text.size() <= MaxName && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
    });
}

}  // namespace

std::string CanonicalAddress(const std::string& text) {
    std::array<char, INET6_ADDRSTRLEN> room{};
    in_addr four{};
    in6_addr six{};
    if (::inet_pton(AF_INET, text.c_str(), &four) == 1)
        return ::inet_ntop(AF_INET, &four, room.data(), room.size()) != nullptr ? room.data() : "";
    if (::inet_pton(AF_INET6, text.c_str(), &six) != 1) return {};
    if (IN6_IS_ADDR_V4MAPPED(&six)) {
        std::memcpy(&four, &six.s6_addr[12], sizeof(four));
        return ::inet_ntop(AF_INET, &four, room.data(), room.size()) != nullptr ? room.data() : "";
    }
    return ::inet_ntop(AF_INET6, &six, room.data(), room.size()) != nullptr ? room.data() : "";
}

bool IsLoopbackAddress(std::string_view address) {
    return address == "::1" || address.starts_with("127.");
}

bool HttpAuthority::Parse(std::string_view text, HttpAuthority& authority) {
    authority = HttpAuthority();
    std::string_view port;
    if (text.starts_with('[')) {
        const std::size_t end = text.find(']');
        if (end == std::string_view::npos) return false;
        authority.host = CanonicalAddress(std::string(text.substr(1, end - 1)));
        // What stands in brackets is IPv6.
        if (authority.host.empty() || text.substr(0, end).find(':') == std::string_view::npos) return false;
        port = text.substr(end + 1);
    } else {
        const std::size_t colon = std::min(text.find(':'), text.size());
        std::string name = LowerCase(text.substr(0, colon));
        if (name.size() > 1 && name.ends_with('.')) name.pop_back();
        if (!IsName(name)) return false;
        authority.host = CanonicalAddress(name);
        if (authority.host.empty()) authority.host = std::move(name);
        port = text.substr(colon);
    }
    return port.empty() || (port.front() == ':' && ReadPort(port.substr(1), authority.port));
}

bool HttpAuthority::IsLoopback() const {
    return host == "localhost" || (!CanonicalAddress(host).empty() && IsLoopbackAddress(host));
}

bool IsSameOrigin(std::string_view origin, const HttpAuthority& host) {
    int schemePort = 0;
    for (const auto& [scheme, port] : {std::pair<std::string_view, int>{"http://", 80}, {"https://", 443}}) {
        if (!origin.starts_with(scheme)) continue;
        schemePort = port;
        origin.remove_prefix(scheme.size());
        break;
    }
    HttpAuthority from;
    if (schemePort == 0 || !HttpAuthority::Parse(origin, from) || from.host != host.host) return false;
    return (from.port == 0 ? schemePort : from.port) == (host.port == 0 ? schemePort : host.port);
}

ConsoleHosts::ConsoleHosts(std::string address, int port, const std::vector<std::string>& hosts)
    : address_(std::move(address)), port_(port) {
    for (const std::string& text : hosts)
        if (HttpAuthority host; HttpAuthority::Parse(text, host)) hosts_.push_back(std::move(host));
}

bool ConsoleHosts::Has(const HttpAuthority& host, std::string_view local) const {
    const bool isEvery = address_.empty() || address_ == "0.0.0.0" || address_ == "::";
    const bool isOwn = host.IsLoopback() || host.host == (isEvery ? local : std::string_view(address_));
    if (isOwn && (host.port == 0 || host.port == port_)) return true;
    return std::any_of(hosts_.begin(), hosts_.end(), [&](const HttpAuthority& at) {
        return at.host == host.host && (at.port == 0 || at.port == host.port);
    });
}

}  // namespace Host
