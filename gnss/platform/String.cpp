#include "gnss/platform/String.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ostream>

#include "gnss/platform/Number.h"

namespace Corvane {

namespace {

// Puts sign and padding in front of a magnitude whose first `wholeDigits` characters count for the width.
String Pad(bool negative, std::string_view magnitude, std::size_t wholeDigits, int width, bool fill, int sign) {
    std::string mark;
    if (negative && sign != String::NoSign) {
        mark = "-";
    } else if (sign == String::AlwaysSign) {
        mark = "+";
    }
    const std::size_t used = mark.size() + wholeDigits;
    const std::size_t wanted = width < 0 ? 0 : static_cast<std::size_t>(width);
    const std::size_t missing = wanted > used ? wanted - used : 0;
    std::string text;
    text.reserve(missing + mark.size() + magnitude.size());
    if (!fill) text.append(missing, ' ');
    text += mark;
    if (fill) text.append(missing, '0');
    text += magnitude;
    return text;
}

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Number of bytes that follow the first one of a character outside Latin-1; 0 for what begins none.
int NmrContinuations(unsigned char lead) {
    if (lead < 0xC4 || lead > 0xF7) return 0;
    if (lead < 0xE0) return 1;
    return lead < 0xF0 ? 2 : 3;
}

}  // namespace

String String::Right(std::size_t count) const {
    return View().substr(text_.size() - std::min(count, text_.size()));
}

String String::Middle(std::size_t first, std::size_t count) const {
    return first < text_.size() ? View().substr(first, count) : std::string_view();
}

void String::RemoveRight(std::size_t count) {
    text_.resize(text_.size() - std::min(count, text_.size()));
}

String String::ToUpper() const {
    std::string upper = text_;
    for (char& c : upper) {
        const auto code = static_cast<unsigned char>(c);
        const bool latinLower = code >= 0xE0 && code != 0xF7 && code != 0xFF;  // 0xF7 is the division sign
        if ((code >= 'a' && code <= 'z') || latinLower) c = static_cast<char>(code - 0x20);
    }
    return upper;
}

std::string String::ToUTF8() const {
    std::string utf8;
    utf8.reserve(text_.size() + text_.size() / 8);
    for (const char c : text_) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xC0U | (code >> 6U));
            utf8 += static_cast<char>(0x80U | (code & 0x3FU));
        }
    }
    return utf8;
}

String String::FromUTF8(std::string_view utf8) {
    std::string latin;
    latin.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i++]);
        if (lead < 0x80) {
            latin += static_cast<char>(lead);
            continue;
        }
        const bool inLatin1 = lead == 0xC2 || lead == 0xC3;
        if (inLatin1 && i < utf8.size() && IsContinuation(utf8[i])) {
            latin += static_cast<char>(((lead & 0x03U) << 6U) | (static_cast<unsigned char>(utf8[i++]) & 0x3FU));
            continue;
        }
        latin += '?';
        // One mark for a character; bytes that no longer belong to it are damage of their own.
        for (int left = NmrContinuations(lead); left > 0 && i < utf8.size() && IsContinuation(utf8[i]); --left) ++i;
    }
    return latin;
}

String String::FormatInt(std::int64_t value, int width, bool fill, int sign) {
    std::array<char, 24> digits{};
    const bool negative = value < 0;
    const std::uint64_t magnitude =
        negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), magnitude).ptr;
    const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
    return Pad(negative, text, text.size(), width, fill, sign);
}

String String::FormatReal(double value, int width, int decimals, bool fill, int sign) {
    if (!std::isfinite(value)) {
        const std::string_view text = std::isnan(value) ? "nan" : "inf";
        return Pad(!std::isnan(value) && value < 0, text, text.size(), width, false, sign);
    }
    decimals = std::clamp(decimals, 0, 40);
    const double rounded = round(value, decimals);
    std::array<char, 400> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), std::abs(rounded),
                                   std::chars_format::fixed, decimals)
                         .ptr;
    const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
    const std::size_t point = text.find('.');
    const std::size_t whole = point == std::string_view::npos ? text.size() : point;
    // A negative number that rounds to nothing prints without a sign.
    return Pad(rounded < 0.0, text, whole, width, fill, sign);
}

std::ostream& operator<<(std::ostream& os, const String& text) {
    return os.write(text.c_str(), static_cast<std::streamsize>(text.Length()));
}

}  // namespace Corvane
