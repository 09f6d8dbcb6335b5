#include "host/console/ConsoleDoor.h"

#include <algorithm>
#include <array>

namespace Host {

namespace {

// Each says that the request was passed on, and so that the peer is not who asks.
constexpr std::array<std::string_view, 7> ForwardingHeaders = {
    "forwarded", "via", "x-real-ip", "x-client-ip", "true-client-ip", "cf-connecting-ip", "x-cluster-client-ip"};

bool IsForwarded(const HttpHead& head) {
    return head.HasPrefix("x-forwarded") || head.HasPrefix("x-original-") ||
           std::any_of(ForwardingHeaders.begin(), ForwardingHeaders.end(),
                       [&](std::string_view name) { return head.Count(name) > 0; });
}

// "a=1; b=2". Of two cookies of one name neither holds: one of them may be another's.
std::string_view FindCookie(std::string_view cookies, std::string_view name) {
    std::string_view found;
    while (!cookies.empty()) {
        const std::size_t end = std::min(cookies.find(';'), cookies.size());
        const std::string_view cookie = Trim(cookies.substr(0, end));
        cookies.remove_prefix(std::min(end + 1, cookies.size()));
        const std::size_t equals = cookie.find('=');
        if (equals == std::string_view::npos || cookie.substr(0, equals) != name) continue;
        if (!found.empty()) return {};
        found = cookie.substr(equals + 1);
    }
    return found;
}

bool IsJson(std::string_view type) {
    const std::size_t end = type.find(';');
    const bool isPlain = end == std::string_view::npos || LowerCase(Trim(type.substr(end + 1))) == "charset=utf-8";
    return isPlain && LowerCase(Trim(type.substr(0, end))) == "application/json";
}

// 200 or why another site's page seems to be asking.
int CheckSite(const HttpHead& head, const HttpAuthority& host) {
    const std::size_t nmrOrigins = head.Count("origin");
    const std::size_t nmrSites = head.Count("sec-fetch-site");
    const std::string_view site = head.GetValue("sec-fetch-site");
    const bool isPost = head.GetMethod() == "POST";
    if (nmrOrigins > 0 && !IsSameOrigin(head.GetValue("origin"), host)) return 403;
    if (isPost && nmrOrigins == 0 && nmrSites == 0) return 403;
    if (nmrSites == 0 || site == "same-origin") return 200;
    // "none" is an address bar. Another site may have a link to the page, but to nothing else, by whatever spelling.
    const std::string_view path = std::string_view(head.GetTarget()).substr(0, head.GetTarget().find('?'));
    const bool isPage = path == "/" || path == "/login";
    return isPost || (!isPage && site != "none") ? 403 : 200;
}

}  // namespace

ConsoleVisit ConsoleDoor::Look(const HttpCall& call) const {
    ConsoleVisit visit;
    HttpAuthority host;
    if (!HttpAuthority::Parse(call.head.GetValue("host"), host)) {
        visit.status = 400;
    } else if (!hosts_.Has(host, call.local)) {
        visit.status = 421;
    } else {
        visit.status = CheckSite(call.head, host);
        if (visit.status == 200 && call.head.GetMethod() == "POST" && !IsJson(call.head.GetValue("content-type")))
            visit.status = 415;
    }
    if (visit.status != 200) return visit;

    const std::string_view session = FindCookie(call.head.GetValue("cookie"), CookieName);
    visit.right = sessions_.Find(session);
    if (visit.right != ConsoleRight::None) visit.session = session;
    const bool isHere = IsLoopbackAddress(call.peer) && host.IsLoopback() && !IsForwarded(call.head);
    if (isHere && !tokenAlways_) visit.right = ConsoleRight::Steer;
    return visit;
}

}  // namespace Host
