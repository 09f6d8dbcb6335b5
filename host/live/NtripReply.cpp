#include "host/live/NtripReply.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "host/report/SafeText.h"

namespace Host {

namespace {

// Of what a caster says, as much as is shown.
constexpr std::size_t MaxShown = 120;

bool IsTokenCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string Show(std::string_view text) {
    std::string shown = CleanText(text.substr(0, MaxShown));
    if (text.size() > MaxShown) shown += "...";
    return shown;
}

// The three digits after "HTTP/1.1 " or "ICY "; 0 without them.
int StatusCode(std::string_view line) {
    line.remove_prefix(std::min(line.find(' '), line.size()));
    line = Trim(line);
    int code = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + std::min<std::size_t>(line.size(), 3), code);
    return error == std::errc() && end == line.data() + 3 && code >= 100 ? code : 0;
}

NtripReply::Kind KindOf(int code) {
    if (code == 401 || code == 403 || code == 407) return NtripReply::Kind::Denied;
    if (code == 404 || code == 410) return NtripReply::Kind::NotFound;
    if (code >= 300 && code < 400) return NtripReply::Kind::Redirect;
    return code == 0 ? NtripReply::Kind::NotUnderstood : NtripReply::Kind::Refused;
}

// Some casters forget the empty line before it.
bool IsTableLine(std::string_view line) {
    return line.starts_with("STR;") || line.starts_with("CAS;") || line.starts_with("NET;") ||
           line.starts_with("ENDSOURCETABLE");
}

}  // namespace

void NtripReply::Feed(std::string_view bytes, const OnContent& onContent) {
    std::string held;
    if (!isHeadDone_) {
        head_ += bytes;
        ReadHead();
        if (!isHeadDone_) return;
        held = std::exchange(head_, {});
        bytes = held;
    }
    if ((kind_ != Kind::Stream && kind_ != Kind::SourceTable) || bytes.empty()) return;
    if (isChunked_) {
        chunks_.Feed(bytes, onContent);
    } else {
        onContent(bytes);
    }
}

// Takes what is whole from the front of head_.
void NtripReply::ReadHead() {
    while (!isHeadDone_) {
        std::size_t end = 0;
        // A stream of nothing but headers is taken for the stream in the end.
        const bool isIcy = form_ == Form::Icy;
        switch (isIcy && size_ > MaxHead ? Line::None : isIcy ? FindIcyHeader(head_, end) : FindLine(end)) {
            case Line::Partial:
                return;
            case Line::None:
                if (form_ != Form::Icy) Refuse(Kind::NotUnderstood, "its head is too long");
                isHeadDone_ = true;
                return;
            case Line::Whole:
                break;
        }
        std::string_view line(head_.data(), end);
        line = line.substr(0, line.find_last_not_of("\r\n") + 1);
        if (form_ == Form::Unknown) {
            TakeFirstLine(line);
        } else if (form_ == Form::Table && IsTableLine(line)) {
            EndHead();
            return;
        } else if (line.empty()) {
            EndHead();
        } else {
            TakeHeader(line);
        }
        size_ += end;
        head_.erase(0, end);
    }
}

// `end` is behind the line's end. None when the line is longer than a head may be.
NtripReply::Line NtripReply::FindLine(std::size_t& end) const {
    const std::size_t most = MaxHead - size_;
    const std::size_t found = std::string_view(head_).substr(0, most).find('\n');
    if (found == std::string_view::npos) return head_.size() >= most ? Line::None : Line::Partial;
    end = found + 1;
    return Line::Whole;
}

// Headers after "ICY 200 OK" are told from the stream by their form; the stream may begin in the middle of a message.
NtripReply::Line NtripReply::FindIcyHeader(std::string_view bytes, std::size_t& end) {
    if (bytes.empty()) return Line::Partial;
    const auto isEnd = [&](std::size_t at) {
        if (at >= bytes.size()) return Line::Partial;
        if (bytes[at] != '\r') return Line::None;
        if (at + 1 >= bytes.size()) return Line::Partial;
        end = at + 2;
        return bytes[at + 1] == '\n' ? Line::Whole : Line::None;
    };
    if (bytes[0] == '\r') return isEnd(0);
    std::size_t i = 0;
    while (i < bytes.size() && i < MaxIcyHeader && IsTokenCharacter(bytes[i])) ++i;
    if (i == bytes.size()) return Line::Partial;
    if (i == 0 || bytes[i] != ':') return Line::None;
    while (i < bytes.size() && i < MaxIcyHeader && (bytes[i] == '\t' || (bytes[i] >= ' ' && bytes[i] <= '~'))) ++i;
    return i < MaxIcyHeader ? isEnd(i) : Line::None;
}

void NtripReply::TakeFirstLine(std::string_view line) {
    status_ = Show(line);
    const std::string lower = LowerCase(line);
    const int code = StatusCode(line);
    if (line.starts_with("ICY ") && code == 200) {
        form_ = Form::Icy;
        kind_ = Kind::Stream;
    } else if (line.starts_with("SOURCETABLE ") && code == 200) {
        form_ = Form::Table;
    } else if (line.starts_with("HTTP/1.") && code == 200) {
        form_ = Form::Http;
    } else if (line.starts_with("ICY ") || line.starts_with("HTTP/1.")) {
        Refuse(KindOf(code), "");
    } else if (line.starts_with("ERROR")) {
        const bool isDenied = lower.find("password") != std::string::npos || lower.find("auth") != std::string::npos;
        const bool isMount = lower.find("mount") != std::string::npos;
        Refuse(isDenied ? Kind::Denied : isMount ? Kind::NotFound : Kind::Refused, "");
    } else {
        Refuse(Kind::NotUnderstood, "it is not the answer of a caster");
    }
}

void NtripReply::TakeHeader(std::string_view line) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return;
    const std::string name = LowerCase(Trim(line.substr(0, colon)));
    const std::string value = LowerCase(Trim(line.substr(colon + 1)));
    const auto add = [&value](std::string& list) { list += (list.empty() ? "" : ",") + value; };
    if (name == "transfer-encoding") add(coding_);
    if (name == "content-encoding") add(packing_);
    if (name == "content-type") type_ = value;
}

void NtripReply::EndHead() {
    isHeadDone_ = true;
    if (form_ == Form::Icy) return;
    isChunked_ = coding_ == "chunked";
    if (form_ == Form::Table || type_.starts_with("gnss/sourcetable")) {
        kind_ = Kind::SourceTable;
    } else if (type_.starts_with("text/html")) {
        Refuse(Kind::Refused, "it sends a page for people, and no stream");
    } else {
        kind_ = Kind::Stream;
    }
    if (!isChunked_ && !coding_.empty() && coding_ != "identity")
        Refuse(Kind::Refused, "it sends in an unknown coding, " + Show(coding_));
    if (!packing_.empty() && packing_ != "identity")
        Refuse(Kind::Refused, "it sends compressed data, " + Show(packing_));
}

void NtripReply::Refuse(Kind kind, std::string reason) {
    kind_ = kind;
    reason_ = std::move(reason);
    isHeadDone_ = true;
}

}  // namespace Host
