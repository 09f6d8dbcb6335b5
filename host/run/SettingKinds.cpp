#include "host/run/SettingKinds.h"

#include <charconv>

#include "host/live/SourceAddress.h"

namespace Host {

namespace SettingKinds {

Setting Make(const Base& base, Setting::Kind kind, std::string allowed, const char* unit) {
    Setting setting;
    setting.table = base.table;
    setting.key = base.key;
    setting.option = base.option;
    setting.help = base.help;
    setting.unit = unit;
    setting.kind = kind;
    setting.allowed = std::move(allowed);
    return setting;
}

std::string PrintValue(double value) {
    return fmt::format("{}", value);
}

std::optional<double> AsNumber(const SettingValue& value) {
    if (const auto* whole = std::get_if<std::int64_t>(&value)) return static_cast<double>(*whole);
    if (const auto* number = std::get_if<double>(&value)) return *number;
    return std::nullopt;
}

bool IsIn(const Range& range, double value) {
    return value >= range.low && value <= range.high;
}

std::string ListChoices(const std::vector<std::string>& words) {
    std::string list;
    for (std::size_t i = 0; i < words.size(); ++i)
        list += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    return list;
}

const std::string* AsName(const SettingValue& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr && text->find('\0') == std::string::npos ? text : nullptr;
}

}  // namespace SettingKinds

namespace {

// For a person.
std::string Show(const SettingValue& value) {
    if (const bool* isOn = std::get_if<bool>(&value)) return *isOn ? "true" : "false";
    if (const auto* whole = std::get_if<std::int64_t>(&value)) return std::to_string(*whole);
    if (const auto* number = std::get_if<double>(&value)) return SettingKinds::PrintValue(*number);
    if (const auto* text = std::get_if<std::string>(&value)) return QuoteText(MaskPassword(*text));
    const auto* list = std::get_if<std::vector<std::string>>(&value);
    if (list == nullptr) return "a value of another kind";
    std::string shown;
    for (const std::string& text : *list) shown += (shown.empty() ? "" : ", ") + QuoteText(MaskPassword(text));
    return "[" + shown + "]";
}

template <typename T>
std::optional<T> ParseWhole(std::string_view text) {
    T value{};
    const char* end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && last == end ? std::optional<T>(value) : std::nullopt;
}

}  // namespace

std::string QuoteText(std::string_view text) {
    std::string quoted = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const auto byte = [&text](std::size_t at) -> unsigned { return static_cast<unsigned char>(text[at]); };
        const unsigned code = i + 1 < text.size() ? (byte(i) << 8U | byte(i + 1)) : 0U;
        if (code >= 0xC280U && code <= 0xC29FU) {
            // The other control characters, to which terminals listen as well.
            quoted += fmt::format("\\u{:04X}", code & 0xFFU);
            ++i;
        } else if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            quoted += fmt::format("\\u{:04X}", static_cast<unsigned>(c));
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

std::string Setting::Apply(RunSettings& settings, const SettingValue& value, std::string_view name) const {
    if (set(settings, value)) return {};
    constexpr std::size_t MaxShown = 80;
    if (isSecret) return fmt::format("{} is {}, not what stands there", name, GetAllowed());
    std::string shown = Show(value);
    if (shown.size() > MaxShown) {
        std::size_t end = MaxShown;
        while (end > 0 && (static_cast<unsigned char>(shown[end]) & 0xC0U) == 0x80U) --end;  // no part of a character
        shown = shown.substr(0, end) + "...";
    }
    return fmt::format("{} is {}, not {}", name, GetAllowed(), shown);
}

SettingValue Setting::ParseText(const std::string& text) const {
    if (kind == Kind::Number) {
        if (const auto whole = ParseWhole<std::int64_t>(text)) return *whole;
        if (const auto number = ParseWhole<double>(text)) return *number;
    }
    return text;
}

}  // namespace Host
