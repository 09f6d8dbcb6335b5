#include "gnss/platform/TextIO.h"

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

double ToDouble(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r\n\f\v");
    if (start == std::string_view::npos) return 0.0;
    text.remove_prefix(start);
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+') text.remove_prefix(1);
    if (text.empty() || text.front() == '-') return 0.0;
    double value = 0.0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Too large or too small: the exponent's sign tells which.
        const std::string_view number(text.data(), static_cast<std::size_t>(result.ptr - text.data()));
        const bool small = number.find("e-") != std::string_view::npos || number.find("E-") != std::string_view::npos ||
                           number.substr(0, 2) == "0.";
        value = small ? 0.0 : std::numeric_limits<double>::max();
    }
    return negative ? -value : value;
}

}  // namespace Corvane::TextIO
