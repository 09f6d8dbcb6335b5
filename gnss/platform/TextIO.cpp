#include "gnss/platform/TextIO.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace Corvane::TextIO {

String Print(double value) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return std::string_view(text.data(), static_cast<std::size_t>(end - text.data()));
}

String Print(Time span) {
    return Print(span.Seconds());
}

namespace {

// Whether a number that no double can hold is too small rather than too large: by the place of its first digit that is
// not zero, moved by its exponent.
bool IsTooSmall(std::string_view number) {
    const std::size_t end = std::min(number.find_first_of("eE"), number.size());
    long long exponent = 0;
    if (end < number.size()) {
        std::string_view digits = number.substr(end + 1);
        if (digits.starts_with('+')) digits.remove_prefix(1);
        const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
        if (result.ec == std::errc::result_out_of_range) return digits.starts_with('-');
    }
    const std::string_view mantissa = number.substr(0, end);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t first = std::min(mantissa.find_first_not_of("0."), mantissa.size());
    const auto place = static_cast<long long>(point) - static_cast<long long>(first);
    return place + exponent < 0;
}

}  // namespace

double ToDouble(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n\f\v");
    if (start == std::string_view::npos) return 0.0;
    text.remove_prefix(start);
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+') text.remove_prefix(1);
    // A number begins with a digit or a point; what from_chars takes besides ("inf", "nan") is text.
    if (text.find_first_of(".0123456789") != 0) return 0.0;
    double value = 0.0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        const std::string_view number(text.data(), static_cast<std::size_t>(result.ptr - text.data()));
        value = IsTooSmall(number) ? 0.0 : std::numeric_limits<double>::max();
    }
    return negative ? -value : value;
}

}  // namespace Corvane::TextIO
