#include "host/report/SafeText.h"

#include <cstddef>
#include <cstdint>

namespace Host {

namespace {

constexpr std::string_view Replacement = "\xEF\xBF\xBD";  // U+FFFD

struct Character {
    std::uint32_t code = 0;
    std::size_t length = 0;  // bytes; 0 when the text does not begin with a character
};

// The shortest form only, no surrogates, nothing beyond U+10FFFF.
Character First(std::string_view text) {
    const auto byte = [&text](std::size_t i) -> std::uint32_t { return static_cast<unsigned char>(text[i]); };
    const std::uint32_t lead = byte(0);
    if (lead < 0x80U) return {lead, 1};
    const std::size_t length = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : 2;
    if (lead < 0xC2U || lead > 0xF4U || text.size() < length) return {};
    std::uint32_t code = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return {};
        code = code << 6U | (byte(i) & 0x3FU);
    }
    const bool isShortest = length == 2 || code >= (length == 3 ? 0x800U : 0x10000U);
    const bool isScalar = code <= 0x10FFFFU && (code < 0xD800U || code > 0xDFFFU);
    return isShortest && isScalar ? Character{code, length} : Character{};
}

bool IsControl(std::uint32_t code) {
    return code < 0x20U || (code >= 0x7FU && code < 0xA0U);
}

// Embeddings, overrides, isolates and marks of direction; separators of lines and paragraphs.
bool IsTurning(std::uint32_t code) {
    return code == 0x061CU || (code >= 0x200EU && code <= 0x200FU) || (code >= 0x2028U && code <= 0x202EU) ||
           (code >= 0x2066U && code <= 0x2069U) || code == 0xFEFFU || code == 0xFFFEU || code == 0xFFFFU;
}

}  // namespace

std::string CleanText(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    while (!text.empty()) {
        const Character c = First(text);
        if (c.length == 0 || IsTurning(c.code)) {
            clean += Replacement;
        } else if (IsControl(c.code)) {
            clean += ' ';
        } else {
            clean += text.substr(0, c.length);
        }
        text.remove_prefix(c.length == 0 ? 1 : c.length);
    }
    return clean;
}

std::string CellText(std::string text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first != std::string::npos && std::string_view("=+-@").find(text[first]) != std::string_view::npos)
        text.insert(text.begin(), '\'');
    return text;
}

std::string HtmlText(std::string_view text) {
    std::string html;
    html.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += c;
        }
    }
    return html;
}

std::string JsonText(std::string_view text) {
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') json += '\\';
        json += c;
    }
    return json + '"';
}

}  // namespace Host
