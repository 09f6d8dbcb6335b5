// Numbers as the command line gives them.
#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <system_error>

namespace Host {

// The whole text as a number from `least` to `most`; nothing for anything else, NaN too. In the classic locale.
template <typename Value>
[[nodiscard]] std::optional<Value> ReadNumber(const std::string& text, Value least, Value most) {
    Value value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc() && end == text.data() + text.size() && value >= least && value <= most) return value;
    return std::nullopt;
}

}  // namespace Host
