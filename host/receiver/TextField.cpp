#include "host/receiver/TextField.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <system_error>

namespace Host {

namespace {

constexpr std::size_t MaxNumber = 40;  // wider than any column of the formats

}  // namespace

void LineReader::Advance() {
    hasLine_ = !rest_.empty();
    if (!hasLine_) return;
    ++number_;
    const auto* end = static_cast<const char*>(std::memchr(rest_.data(), '\n', rest_.size()));
    const std::size_t length = end != nullptr ? static_cast<std::size_t>(end - rest_.data()) : rest_.size();
    line_ = rest_.substr(0, length);
    rest_.remove_prefix(end != nullptr ? length + 1 : length);
    if (line_.ends_with('\r')) line_.remove_suffix(1);
}

std::string_view Columns(std::string_view line, std::size_t first, std::size_t width) {
    return first < line.size() ? line.substr(first, width) : std::string_view();
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(' ') == std::string_view::npos;
}

Real ReadReal(std::string_view line, std::size_t first, std::size_t width) {
    std::string_view text = Trimmed(Columns(line, first, width));
    if (text.empty()) return {};
    if (text.front() == '+') text.remove_prefix(1);
    // What from_chars would take beyond this are "inf", "nan" and a second sign.
    const std::size_t digits = text.starts_with('-') ? 1 : 0;
    const bool begins = digits < text.size() && (text[digits] == '.' || (text[digits] >= '0' && text[digits] <= '9'));
    if (!begins || text.size() > MaxNumber) return {0.0, Real::State::Bad};

    std::array<char, MaxNumber> number;
    char* end = std::copy(text.begin(), text.end(), number.begin());
    std::replace_if(
        number.begin(), end, [](char c) { return c == 'D' || c == 'd'; }, 'e');
    double value = 0.0;
    const auto [stop, failure] = std::from_chars(number.data(), end, value);
    if (failure != std::errc() || stop != end) return {0.0, Real::State::Bad};
    return {value, line.size() < first + width ? Real::State::Cut : Real::State::Good};
}

std::optional<int> ReadInteger(std::string_view line, std::size_t first, std::size_t width) {
    const std::string_view text = Trimmed(Columns(line, first, width));
    int value = 0;
    const auto [stop, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc() || stop != text.data() + text.size()) return std::nullopt;
    return value;
}

}  // namespace Host
