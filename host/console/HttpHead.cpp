#include "host/console/HttpHead.h"

#include <algorithm>
#include <array>

namespace Host {

namespace {

constexpr std::array<std::string_view, 3> Methods = {"GET", "HEAD", "POST"};
// Longer than any method that there is; a longer one is told to be unknown before its line is whole.
constexpr std::size_t MaxMethod = 16;

bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsTokenChar(char c) {
    return IsDigit(c) || IsUpper(c) || (c >= 'a' && c <= 'z') ||
           std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}
bool IsValueChar(char c) {
    return c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f);
}
int GetHexDigit(char c) {
    if (IsDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Printing characters; each percent sign is followed by the two digits of a byte that is no control character.
bool IsTarget(std::string_view text) {
    if (text.empty() || text.front() != '/') return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c <= 0x20 || c >= 0x7f || c == '#' || c == '\\') return false;
        if (c != '%') continue;
        if (i + 2 >= text.size()) return false;
        const int high = GetHexDigit(text[i + 1]);
        const int low = GetHexDigit(text[i + 2]);
        if (high < 0 || low < 0) return false;
        if (const int byte = 16 * high + low; byte < 0x20 || byte == 0x7f) return false;
        i += 2;
    }
    return true;
}

// Whether a list of words, with commas between, has one.
bool HasWord(std::string_view list, std::string_view wanted) {
    while (true) {
        const std::size_t comma = list.find(',');
        if (LowerCase(Trim(list.substr(0, comma))) == wanted) return true;
        if (comma == std::string_view::npos) return false;
        list.remove_prefix(comma + 1);
    }
}

}  // namespace

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (IsUpper(c)) c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

std::string_view Trim(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

HttpHead::State HttpHead::Parse(std::string_view bytes) {
    *this = HttpHead();
    // What is no request at all, a TLS greeting for one, is told by its first bytes.
    const std::size_t nmrUpper =
        static_cast<std::size_t>(std::find_if_not(bytes.begin(), bytes.end(), IsUpper) - bytes.begin());
    if (nmrUpper > MaxMethod || (nmrUpper < bytes.size() && (nmrUpper == 0 || bytes[nmrUpper] != ' ')))
        return Refuse(400);

    const std::string_view room = bytes.substr(0, MaxBytes);
    const std::size_t lineEnd = room.find('\n');
    if ((lineEnd == std::string_view::npos ? room.size() : lineEnd) > MaxMethod + MaxTarget + 16) return Refuse(414);
    const std::size_t end = room.find("\r\n\r\n");
    if (end == std::string_view::npos) {
        if (bytes.size() >= MaxBytes) return Refuse(431);
        if (static_cast<std::size_t>(std::count(room.begin(), room.end(), '\n')) > MaxLines + 1) return Refuse(431);
        // A blank line of another kind would be the end of the head for some.
        if (room.find("\n\n") != std::string_view::npos || room.find("\n\r\r") != std::string_view::npos)
            return Refuse(400);
        return State::Partial;
    }
    size_ = end + 4;
    std::string_view rest = room.substr(0, end + 2);
    for (std::size_t number = 0; !rest.empty(); ++number) {
        if (number > MaxLines) return Refuse(431);
        const std::size_t size = rest.find("\r\n");
        const std::string_view line = rest.substr(0, size);
        if (!(number == 0 ? ReadRequestLine(line) : ReadLine(line))) return Refuse(status_);
        rest.remove_prefix(size + 2);
    }
    if (!ReadFraming()) return Refuse(status_);
    return State::Whole;
}

HttpHead::State HttpHead::Refuse(int status) {
    status_ = status;
    size_ = 0;
    return State::Refused;
}

bool HttpHead::ReadRequestLine(std::string_view line) {
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    if (first == std::string_view::npos || first == last) return false;
    method_ = line.substr(0, first);
    target_ = line.substr(first + 1, last - first - 1);
    version_ = line.substr(last + 1);
    if (version_ != "HTTP/1.1" && version_ != "HTTP/1.0") {
        if (version_.starts_with("HTTP/")) status_ = 505;
        return false;
    }
    if (std::find(Methods.begin(), Methods.end(), method_) == Methods.end()) {
        status_ = 405;
        return false;
    }
    if (target_.size() > MaxTarget) {
        status_ = 414;
        return false;
    }
    return IsTarget(target_);
}

bool HttpHead::ReadLine(std::string_view line) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || colon == 0) return false;
    const std::string_view name = line.substr(0, colon);
    const std::string_view value = line.substr(colon + 1);
    if (!std::all_of(name.begin(), name.end(), IsTokenChar)) return false;
    if (!std::all_of(value.begin(), value.end(), IsValueChar)) return false;
    headers_.emplace_back(LowerCase(name), Trim(value));
    return true;
}

bool HttpHead::ReadFraming() {
    if (Count("host") != 1 || GetValue("host").empty()) return false;
    if (Count("transfer-encoding") != 0) {
        status_ = 411;
        return false;
    }
    if (Count("content-encoding") != 0) {
        status_ = 415;
        return false;
    }
    const std::size_t nmrLengths = Count("content-length");
    const std::string_view length = GetValue("content-length");
    if (nmrLengths > 1 || (nmrLengths == 1 && (length.empty() || !std::all_of(length.begin(), length.end(), IsDigit))))
        return false;
    if (nmrLengths == 0 && method_ == "POST") {
        status_ = 411;
        return false;
    }
    for (const char c : length) {
        bodySize_ = 10 * bodySize_ + static_cast<std::size_t>(c - '0');
        if (bodySize_ <= MaxBody) continue;
        status_ = 413;
        return false;
    }
    if (bodySize_ > 0 && method_ != "POST") return false;
    for (const auto& [name, value] : headers_)
        if (name == "connection" && HasWord(value, "close")) isLast_ = true;
    if (version_ == "HTTP/1.0") isLast_ = true;
    if (const std::size_t nmr = Count("expect"); nmr > 0) {
        wantsContinue_ = nmr == 1 && LowerCase(GetValue("expect")) == "100-continue" && version_ == "HTTP/1.1";
        if (!wantsContinue_) {
            status_ = 417;
            return false;
        }
    }
    return true;
}

std::string_view HttpHead::GetValue(std::string_view name) const {
    std::string_view found;
    std::size_t nmr = 0;
    for (const auto& [key, value] : headers_) {
        if (key != name) continue;
        found = value;
        ++nmr;
    }
    return nmr == 1 ? found : std::string_view();
}

std::size_t HttpHead::Count(std::string_view name) const {
    return static_cast<std::size_t>(
        std::count_if(headers_.begin(), headers_.end(), [&](const auto& at) { return at.first == name; }));
}

bool HttpHead::HasPrefix(std::string_view prefix) const {
    return std::any_of(headers_.begin(), headers_.end(), [&](const auto& at) { return at.first.starts_with(prefix); });
}

}  // namespace Host
