// Corvane::String, a byte string in Latin-1, and the formatting of numbers independent of any locale.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "gnss/platform/Export.h"

namespace Corvane {

// A byte string in Latin-1: one byte a character, the degree sign is "\xB0". UTF-8 exists only at a program's edges,
// through ToUTF8 and FromUTF8.
class GNSS_EXPORT String {
public:
    // Which signs FormatInt and FormatReal write.
    enum Sign : std::int32_t {
        NoSign = 0,      // the magnitude alone
        AlwaysSign = 1,  // '+' (also for zero) or '-'
        MinusOnly = 2,   // '-' for negative numbers
    };

    String() = default;
    String(const char* text) : text_(text == nullptr ? "" : text) {}
    String(std::string text) : text_(std::move(text)) {}
    String(std::string_view text) : text_(text) {}
    String(std::size_t count, char c) : text_(count, c) {}

    [[nodiscard]] std::size_t Length() const { return text_.size(); }
    [[nodiscard]] bool IsEmpty() const { return text_.empty(); }
    [[nodiscard]] const char* c_str() const { return text_.c_str(); }
    [[nodiscard]] const std::string& str() const { return text_; }
    [[nodiscard]] std::string_view View() const { return text_; }
    // The character at an index; '\0' outside the string.
    [[nodiscard]] char operator[](std::size_t index) const { return index < text_.size() ? text_[index] : '\0'; }

    void Reserve(std::size_t characters) { text_.reserve(characters); }
    void Clear() { text_.clear(); }
    String& operator+=(const String& other) {
        text_ += other.text_;
        return *this;
    }
    String& operator+=(char c) {
        text_ += c;
        return *this;
    }
    friend String operator+(String a, const String& b) {
        a += b;
        return a;
    }

    // Parts of the string; counts beyond its length are cut to it.
    [[nodiscard]] String Left(std::size_t count) const { return View().substr(0, count); }
    [[nodiscard]] String Right(std::size_t count) const;
    [[nodiscard]] String Middle(std::size_t first, std::size_t count) const;
    void RemoveRight(std::size_t count);
    [[nodiscard]] bool StartsWith(const String& other) const { return View().starts_with(other.View()); }
    [[nodiscard]] bool EndsWith(const String& other) const { return View().ends_with(other.View()); }
    // Upper case of the letters of Latin-1 (those without an upper case in Latin-1 stay).
    [[nodiscard]] String ToUpper() const;

    friend bool operator==(const String& a, const String& b) { return a.text_ == b.text_; }
    // By bytes.
    friend std::strong_ordering operator<=>(const String& a, const String& b) { return a.text_ <=> b.text_; }

    // The text in UTF-8.
    [[nodiscard]] std::string ToUTF8() const;
    // The Latin-1 text of UTF-8 text; a character outside Latin-1 and a malformed byte each become '?'.
    [[nodiscard]] static String FromUTF8(std::string_view utf8);

    // A whole number at least `width` characters wide with its sign, right-aligned; width -1 is none; fill pads with
    // zeros (between sign and digits) instead of blanks. `sign` is one of Sign. (7, 2, true, 2) gives "07".
    [[nodiscard]] static String FormatInt(std::int64_t value, int width = -1, bool fill = false, int sign = MinusOnly);

    // A number with `decimals` decimals, rounded as Corvane::round does; width, fill and sign as for FormatInt, where
    // the width is that of the part before the decimal point. (5.25, 2, 1, true, 2) gives "05.3".
    // NaN and infinities print as "nan", "inf" and "-inf".
    [[nodiscard]] static String FormatReal(double value, int width, int decimals, bool fill = false,
                                           int sign = MinusOnly);

private:
    std::string text_;
};

// Writes the bytes as they are.
GNSS_EXPORT std::ostream& operator<<(std::ostream& os, const String& text);

}  // namespace Corvane
