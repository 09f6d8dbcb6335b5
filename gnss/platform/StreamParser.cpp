#include "gnss/platform/StreamParser.h"

#include <istream>
#include <string>

#include "gnss/platform/TextIO.h"

namespace Corvane {

std::optional<char> StreamParser::Peek() {
    // Looking beyond the end a second time would set the fail bit.
    if (!is_.good()) return std::nullopt;
    const std::istream::int_type next = is_.peek();
    if (std::istream::traits_type::eq_int_type(next, std::istream::traits_type::eof())) return std::nullopt;
    return std::istream::traits_type::to_char_type(next);
}

void StreamParser::Take() {
    if (is_.good()) is_.get();
}

void StreamParser::SkipWhiteSpace() {
    while (SkipOneOf(" \t\r\n\f\v")) {
    }
}

void StreamParser::SkipBlanks() {
    while (SkipOneOf(" \t")) {
    }
}

bool StreamParser::SkipOneOf(std::string_view characters) {
    const std::optional<char> next = Peek();
    if (!next || characters.find(*next) == std::string_view::npos) return false;
    Take();
    return true;
}

int StreamParser::ReadSign() {
    if (SkipOneOf("+")) return 1;
    return SkipOneOf("-") ? -1 : 0;
}

std::optional<StreamParser::Number> StreamParser::ReadNumber() {
    std::optional<char> next = Peek();
    if (!next || !IsDigit(*next)) {
        Fail();
        return std::nullopt;
    }
    std::string text;
    bool hasFraction = false;
    for (; next && (IsDigit(*next) || (*next == '.' && !hasFraction)); next = Peek()) {
        if (*next == '.') hasFraction = true;
        if (text == "0" && IsDigit(*next)) text.clear();  // leading zeros, of which there may be any number
        text += *next;
        Take();
    }
    // A stream buffer that failed in the middle of the digits did not give the number that was written.
    if (is_.bad()) return std::nullopt;
    return Number{TextIO::ToDouble(text), hasFraction};
}

void StreamParser::Fail() {
    is_.setstate(std::ios_base::failbit);
}

bool StreamParser::IsLetter(char c) {
    const auto code = static_cast<unsigned char>(c);
    const bool accented =
        code >= 0xC0 && code != 0xD7 && code != 0xF7;  // those two are the signs of times and division
    return (code >= 'A' && code <= 'Z') || (code >= 'a' && code <= 'z') || accented;
}

}  // namespace Corvane
