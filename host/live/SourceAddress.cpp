#include "host/live/SourceAddress.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include <fmt/format.h>
#include <sys/stat.h>

#include "host/live/NameLookup.h"
#include "host/live/SerialSource.h"
#include "host/report/SafeText.h"

namespace Host {

namespace {

using Kind = SourceAddress::Kind;
using Parity = SourceAddress::Parity;

struct Scheme {
    std::string_view name;  // with what follows it
    Kind kind;
    int version;
};
constexpr std::array Schemes{
    Scheme{"serial://", Kind::Serial, 2},        Scheme{"tcp://", Kind::Tcp, 2},
    Scheme{"tcp-listen://", Kind::TcpListen, 2}, Scheme{"udp://", Kind::Udp, 2},
    Scheme{"ntrip://", Kind::Ntrip, 2},          Scheme{"ntrip1://", Kind::Ntrip, 1},
};
constexpr const char* Device = "/dev/";
constexpr std::size_t MaxText = 1000;
constexpr std::size_t MaxShown = 100;

const Scheme* FindScheme(std::string_view text) {
    const auto* found =
        std::find_if(Schemes.begin(), Schemes.end(), [text](const Scheme& s) { return text.starts_with(s.name); });
    return found == Schemes.end() ? nullptr : found;
}

bool IsLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// "http://", whether there is such a scheme or not. A file of such a name is no loss.
bool HasAnyScheme(std::string_view text) {
    const std::size_t end = text.find("://");
    return end != std::string_view::npos && end > 0 && std::ranges::all_of(text.substr(0, end), [](char c) {
               return IsLetterOrDigit(c) || c == '+' || c == '-' || c == '.';
           });
}

bool ParseNumber(std::string_view text, int least, int most, int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= least && number <= most;
}

// False for what is no such coding, or not printable in the end.
bool PercentDecode(std::string_view text, std::string& decoded) {
    decoded.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '%') {
            unsigned value = 0;
            const char* first = text.data() + i + 1;
            if (i + 2 >= text.size() || std::from_chars(first, first + 2, value, 16).ptr != first + 2) return false;
            c = static_cast<char>(value);
            i += 2;
        }
        if (c < 0x21 || c > 0x7E) return false;
        decoded += c;
    }
    return true;
}

bool IsHost(std::string_view text, bool isBracketed) {
    return !text.empty() && text.size() <= 253 && std::ranges::all_of(text, [isBracketed](char c) {
        return IsLetterOrDigit(c) || c == '-' || c == '.' || c == '_' || (isBracketed && (c == ':' || c == '%'));
    });
}

// "HOST:PORT", "HOST" or ":PORT" or, where a port alone is allowed, "PORT".
bool ParseHost(std::string_view text, bool isPortAlone, SourceAddress& address, std::string& reason) {
    std::string_view host = text;
    std::string_view port;
    bool isBracketed = false;
    if (text.starts_with('[')) {
        const std::size_t end = text.find(']');
        if (end == std::string_view::npos || (end + 1 < text.size() && text[end + 1] != ':')) {
            reason = "an IPv6 address stands in brackets, with a colon and the port after them";
            return false;
        }
        isBracketed = true;
        host = text.substr(1, end - 1);
        port = end + 2 <= text.size() ? text.substr(end + 2) : "";
    } else if (const std::size_t colon = text.rfind(':'); colon != std::string_view::npos) {
        host = text.substr(0, colon);
        port = text.substr(colon + 1);
        if (host.find(':') != std::string_view::npos) {
            reason = "an IPv6 address stands in brackets";
            return false;
        }
    } else if (isPortAlone) {
        host = {};
        port = text;
    }
    const bool needsPort = address.kind != Kind::Ntrip;
    // Port 0 of a listening one is any that is free.
    const int least = isPortAlone ? 0 : 1;
    if (port.empty() && !needsPort && text.back() != ':') {
        address.port = SourceAddress::NtripPort;
    } else if (!ParseNumber(port, least, 65535, address.port)) {
        reason = fmt::format("the port is a number from {} to 65535", least);
        return false;
    }
    if (isPortAlone) {
        SocketAddress parsed;
        if (host == "*") return true;
        address.host = host.empty() || host == "localhost" ? "127.0.0.1" : std::string(host);
        if (ParseSocketAddress(address.host, address.port, parsed)) return true;
        reason = "what it listens on is the numeric address of an interface of this computer, or * for all of them";
        return false;
    }
    if (!IsHost(host, isBracketed)) {
        reason = "the host is a name, or a numeric address";
        return false;
    }
    address.host = host;
    return true;
}

bool ParseOption(std::string_view key, std::string_view value, SourceAddress& address, std::string& reason) {
    const bool isSerial = address.kind == Kind::Serial;
    const auto seconds = [&](int least, std::optional<std::chrono::seconds>& span) {
        int number = 0;
        if (!ParseNumber(value, least, SourceAddress::MaxSeconds, number)) {
            reason = fmt::format("{} is a number of seconds from {} to {}", key, least, SourceAddress::MaxSeconds);
            return false;
        }
        span = std::chrono::seconds(number);
        return true;
    };
    if (key == "silence") return seconds(0, address.silence);
    if (key == "gga" && address.kind == Kind::Ntrip) return seconds(1, address.gga);
    if (key == "baud" && isSerial) {
        if (ParseNumber(value, 1, 100000000, address.baud) && SerialSource::IsSpeed(address.baud)) return true;
        reason = "baud is a speed that serial ports have: 9600, 115200, ...";
        return false;
    }
    if (key == "stop" && isSerial) {
        if (ParseNumber(value, 1, 2, address.stopBits)) return true;
        reason = "stop is the number of stop bits, 1 or 2";
        return false;
    }
    if (key == "parity" && isSerial) {
        if (value == "none" || value == "even" || value == "odd") {
            address.parity = value == "none" ? Parity::None : value == "even" ? Parity::Even : Parity::Odd;
            return true;
        }
        reason = "parity is none, even or odd";
        return false;
    }
    reason = fmt::format("the settings after the question mark are {}silence=SECONDS",
                         isSerial                      ? "baud=, parity=, stop= and "
                         : address.kind == Kind::Ntrip ? "gga=SECONDS and "
                                                       : "");
    return false;
}

bool ParseOptions(std::string_view text, SourceAddress& address, std::string& reason) {
    while (!text.empty()) {
        const std::string_view option = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(option.size() + 1, text.size()));
        const std::size_t equals = std::min(option.find('='), option.size());
        const std::string_view value = option.substr(std::min(equals + 1, option.size()));
        if (!ParseOption(option.substr(0, equals), value, address, reason)) return false;
    }
    return true;
}

// "USER@HOST:PORT/MOUNT".
bool ParseCaster(std::string_view text, SourceAddress& address, std::string& reason) {
    const std::size_t slash = text.find('/');
    std::string_view place = text.substr(0, slash);
    // A user may be a mail address.
    if (const std::size_t at = place.rfind('@'); at != std::string_view::npos) {
        if (!PercentDecode(place.substr(0, at), address.user) || address.user.find(':') != std::string::npos) {
            reason = "the user's name holds what a name cannot hold";
            return false;
        }
        place.remove_prefix(at + 1);
    }
    const std::string_view mount = slash == std::string_view::npos ? "" : text.substr(slash + 1);
    if (mount.empty() || place.empty() || !PercentDecode(mount, address.mount)) {
        reason = "a caster's address is ntrip://[USER@]HOST[:PORT]/MOUNT";
        return false;
    }
    return ParseHost(place, false, address, reason);
}

// Where a password stands: after the first colon of what comes before the last @. Nothing without one.
std::optional<std::pair<std::size_t, std::size_t>> FindPasswordIn(std::string_view text) {
    const std::size_t scheme = text.find("://");
    const std::size_t from = scheme == std::string_view::npos ? 0 : scheme + 3;
    const std::size_t at = text.rfind('@');
    if (at == std::string_view::npos || at < from) return std::nullopt;
    const std::size_t colon = text.find(':', from);
    if (colon >= at) return std::nullopt;
    return std::pair(colon + 1, at);
}

const char* ParityName(Parity parity) {
    return parity == Parity::Even ? "even" : "odd";
}

}  // namespace

bool SourceAddress::IsLive(const std::string& text) {
    if (HasAnyScheme(text)) return true;
    struct stat status {};
    return text.starts_with(Device) && text.find("tty") != std::string::npos && ::stat(text.c_str(), &status) == 0 &&
           S_ISCHR(status.st_mode);
}

bool SourceAddress::Parse(const std::string& text, SourceAddress& address, std::string& reason) {
    SourceAddress parsed;
    const Scheme* scheme = FindScheme(text);
    if (text.size() > MaxText) {
        reason = "is too long for an address";
        return false;
    }
    if (scheme == nullptr) {
        if (!text.starts_with(Device)) {
            reason = "an address begins with serial://, tcp://, tcp-listen://, udp://, ntrip:// or ntrip1://";
            return false;
        }
        parsed.kind = Kind::Serial;
        parsed.path = text;
        address = std::move(parsed);
        return true;
    }
    parsed.kind = scheme->kind;
    parsed.version = scheme->version;
    if (parsed.kind != Kind::Serial && FindPasswordIn(text)) {
        reason = fmt::format(
            "a password does not belong into an address, which the system shows to everyone: give it by "
            "the variable {}, by --ntrip-password-file, or in the configuration file",
            "GNSS_NTRIP_PASSWORD");
        return false;
    }
    std::string_view rest = std::string_view(text).substr(scheme->name.size());
    std::string_view options;
    if (const std::size_t mark = rest.find('?'); mark != std::string_view::npos) {
        options = rest.substr(mark + 1);
        rest = rest.substr(0, mark);
    }
    bool isGood = false;
    switch (parsed.kind) {
        case Kind::Serial:
            isGood = rest.starts_with('/') && PercentDecode(rest, parsed.path);
            if (!isGood) reason = "a serial port's address is serial:// and its path, serial:///dev/ttyUSB0";
            break;
        case Kind::Ntrip:
            isGood = ParseCaster(rest, parsed, reason);
            break;
        default:
            if (rest.empty()) reason = fmt::format("after {} there is nothing", scheme->name);
            isGood = !rest.empty() && ParseHost(rest, parsed.kind != Kind::Tcp, parsed, reason);
    }
    if (!isGood || !ParseOptions(options, parsed, reason)) return false;
    address = std::move(parsed);
    return true;
}

std::string SourceAddress::GetName() const {
    switch (kind) {
        case Kind::Serial:
            return path;
        case Kind::Tcp:
            return fmt::format("tcp://{}:{}", BracketHost(host), port);
        case Kind::TcpListen:
        case Kind::Udp:
            return fmt::format("{}://{}:{}", kind == Kind::Udp ? "udp" : "tcp-listen",
                               host.empty() ? "*" : BracketHost(host), port);
        case Kind::Ntrip:
            return fmt::format("{}://{}:{}/{}", version == 1 ? "ntrip1" : "ntrip", BracketHost(host), port,
                               EncodePath(mount));
    }
    return {};
}

std::string SourceAddress::Print() const {
    std::string text = GetName();
    if (kind == Kind::Serial) text = "serial://" + EncodePath(path);
    if (!user.empty()) text.insert(text.find("://") + 3, PercentEncode(user) + '@');
    char mark = '?';
    const auto add = [&](const std::string& option) {
        text += std::exchange(mark, '&');
        text += option;
    };
    if (kind == Kind::Serial) add(fmt::format("baud={}", baud));
    if (parity != Parity::None) add(fmt::format("parity={}", ParityName(parity)));
    if (stopBits != 1) add(fmt::format("stop={}", stopBits));
    if (gga) add(fmt::format("gga={}", gga->count()));
    if (silence) add(fmt::format("silence={}", silence->count()));
    return text;
}

std::string MaskPassword(std::string_view text) {
    std::string masked(text);
    if (const auto place = FindPasswordIn(text)) masked.replace(place->first, place->second - place->first, "***");
    return masked;
}

std::string MaskPasswords(std::string_view text) {
    std::string masked;
    for (std::size_t scheme = text.find("://"); scheme != std::string_view::npos; scheme = text.find("://")) {
        const std::size_t end = std::min(text.find_first_of(" \t\r\n\"'", scheme), text.size());
        masked += text.substr(0, scheme);
        masked += MaskPassword(text.substr(scheme, end - scheme));
        text.remove_prefix(end);
    }
    return masked += text;
}

std::string FindFaultOf(const std::string& input) {
    if (SourceAddress::IsLive(input)) {
        SourceAddress address;
        std::string reason;
        if (SourceAddress::Parse(input, address, reason)) return {};
        // Without the settings, among which a password may have been tried.
        const std::string masked = MaskPassword(input);
        const std::string_view shown = std::string_view(masked).substr(0, masked.find('?')).substr(0, MaxShown);
        return CleanText(shown) + ": " + reason;
    }
    struct stat status {};
    const std::string masked = MaskPassword(input);
    if (masked == input || ::stat(input.c_str(), &status) == 0) return {};
    return CleanText(masked) + ": there is no such file; a caster's address is ntrip://[USER@]HOST[:PORT]/MOUNT";
}

std::string BracketHost(const std::string& host) {
    return host.find(':') == std::string::npos ? host : '[' + host + ']';
}

std::string EncodePath(std::string_view text) {
    std::string encoded;
    for (const char c : text) encoded += c == '/' ? "/" : PercentEncode(std::string_view(&c, 1));
    return encoded;
}

std::string PercentEncode(std::string_view text) {
    std::string encoded;
    for (const char c : text) {
        if (IsLetterOrDigit(c) || std::string_view("-._~").find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            encoded += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        }
    }
    return encoded;
}

}  // namespace Host
