// ConsoleHosts: the names by which a console may be asked for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Host {

// A numeric address in one form, an IPv4 address inside of IPv6 as IPv4; empty for what is none.
[[nodiscard]] std::string CanonicalAddress(const std::string& text);
// Of a canonical address: 127.0.0.0/8 and ::1.
[[nodiscard]] bool IsLoopbackAddress(std::string_view address);

// "console.example", "10.0.0.5:8080", "[::1]:8080".
struct HttpAuthority {
    std::string host;  // in small letters without brackets and a last dot; canonical if numeric
    int port = 0;      // 0: not given

    [[nodiscard]] static bool Parse(std::string_view text, HttpAuthority& authority);
    // "localhost" or a loopback address.
    [[nodiscard]] bool IsLoopback() const;
};

// Whether an Origin, "https://console.example", means the place that a Host does: with the scheme http or https, whose
// port holds where none is given, for a proxy may have taken the s away.
[[nodiscard]] bool IsSameOrigin(std::string_view origin, const HttpAuthority& host);

// Against pages that make a browser ask this machine under a name of their own: a request whose Host is not listed is
// not answered. A name in an address bar must be listed; a numeric address cannot be bent by anyone, so where the
// console listens on every interface the one that was connected to will do.
class ConsoleHosts {
public:
    // The address is canonical, or empty for every interface. Hosts that are none are left out.
    ConsoleHosts(std::string address, int port, const std::vector<std::string>& hosts);

    [[nodiscard]] bool Has(const HttpAuthority& host, std::string_view local) const;

private:
    std::string address_;
    int port_;
    std::vector<HttpAuthority> hosts_;
};

}  // namespace Host
