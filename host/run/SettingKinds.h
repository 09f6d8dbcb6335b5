// The kinds that settings are of. For the table of settings only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "host/run/RunSettings.h"
#include "host/text/TimeText.h"

namespace Host::SettingKinds {

// What all settings have.
struct Base {
    const char* table;
    const char* key;
    const char* option;
    const char* help;
};

struct Range {
    double low;
    double high;
};

template <typename Value>
using Choices = std::vector<std::pair<const char*, Value>>;

// Where a member lies. Settings may be const.
template <typename Settings, typename T>
auto& Of(Settings& settings, T FixSettings::*member) {
    return settings.request.settings.*member;
}
template <typename Settings, typename T>
auto& Of(Settings& settings, T RangeWeights::*member) {
    return settings.request.settings.weights.*member;
}
template <typename Settings, typename T>
auto& Of(Settings& settings, T RunRequest::*member) {
    return settings.request.*member;
}
template <typename Settings, typename T>
auto& Of(Settings& settings, T RunFolderOptions::*member) {
    return settings.folder.*member;
}
template <typename Settings, typename T>
auto& Of(Settings& settings, T LiveChoices::*member) {
    return settings.live.*member;
}
template <typename Settings, typename T>
auto& Of(Settings& settings, T ConsoleChoices::*member) {
    return settings.console.*member;
}
template <typename Settings, typename T>
auto& Of(Settings& settings, T RunSettings::*member) {
    return settings.*member;
}

[[nodiscard]] Setting Make(const Base& base, Setting::Kind kind, std::string allowed, const char* unit = "");
// As short as it can be for the same number again.
[[nodiscard]] std::string PrintValue(double value);
// A whole number or one with a fraction.
[[nodiscard]] std::optional<double> AsNumber(const SettingValue& value);
// False for NaN.
[[nodiscard]] bool IsIn(const Range& range, double value);
// "a, b or c"
[[nodiscard]] std::string ListChoices(const std::vector<std::string>& words);
// A text that may name a file or a folder: no name has a zero byte in it. Null for anything else.
[[nodiscard]] const std::string* AsName(const SettingValue& value);

template <typename Member>
Setting Number(const Base& base, Member member, const Range& range, const char* unit = "") {
    Setting setting =
        Make(base, Setting::Kind::Number, fmt::format("a number from {} to {}", range.low, range.high), unit);
    setting.print = [member](const RunSettings& s) { return PrintValue(Of(s, member)); };
    setting.set = [member, range](RunSettings& s, const SettingValue& value) {
        const std::optional<double> number = AsNumber(value);
        if (!number || !IsIn(range, *number)) return false;
        Of(s, member) = *number + 0.0;  // no -0
        return true;
    };
    return setting;
}

template <typename Member>
Setting Whole(const Base& base, Member member, const Range& range) {
    Setting setting =
        Make(base, Setting::Kind::Number, fmt::format("a whole number from {} to {}", range.low, range.high));
    setting.print = [member](const RunSettings& s) { return std::to_string(Of(s, member)); };
    setting.set = [member, range](RunSettings& s, const SettingValue& value) {
        const auto* number = std::get_if<std::int64_t>(&value);
        if (number == nullptr || !IsIn(range, static_cast<double>(*number))) return false;
        Of(s, member) = static_cast<int>(*number);
        return true;
    };
    return setting;
}

// One of two values, the second for false.
template <typename Member, typename Value>
Setting Either(const Base& base, Member member, Value on, Value off) {
    Setting setting = Make(base, Setting::Kind::Switch, "true or false");
    setting.print = [member, on](const RunSettings& s) { return std::string(Of(s, member) == on ? "true" : "false"); };
    setting.set = [member, on, off](RunSettings& s, const SettingValue& value) {
        const bool* isOn = std::get_if<bool>(&value);
        if (isOn != nullptr) Of(s, member) = *isOn ? on : off;
        return isOn != nullptr;
    };
    return setting;
}

template <typename Member>
Setting Switch(const Base& base, Member member) {
    return Either(base, member, true, false);
}

template <typename Value, typename Member>
Setting Choice(const Base& base, Member member, const Choices<Value>& choices) {
    std::vector<std::string> names;
    names.reserve(choices.size());
    for (const auto& choice : choices) names.push_back(QuoteText(choice.first));
    Setting setting = Make(base, Setting::Kind::Text, ListChoices(names));
    setting.print = [member, choices](const RunSettings& s) {
        for (const auto& [name, value] : choices)
            if (value == Of(s, member)) return QuoteText(name);
        return std::string("\"\"");
    };
    setting.set = [member, choices](RunSettings& s, const SettingValue& value) {
        const auto* text = std::get_if<std::string>(&value);
        for (const auto& choice : choices) {
            if (text == nullptr || *text != choice.first) continue;
            Of(s, member) = choice.second;
            return true;
        }
        return false;
    };
    return setting;
}

// One of a few numbers: levels of percent.
template <typename Value, typename Member>
Setting Level(const Base& base, Member member, const std::vector<std::pair<double, Value>>& levels) {
    std::vector<std::string> names;
    names.reserve(levels.size());
    for (const auto& level : levels) names.push_back(PrintValue(level.first));
    Setting setting = Make(base, Setting::Kind::Number, ListChoices(names), "percent");
    setting.print = [member, levels](const RunSettings& s) {
        for (const auto& [number, value] : levels)
            if (value == Of(s, member)) return PrintValue(number);
        return std::string("0");
    };
    setting.set = [member, levels](RunSettings& s, const SettingValue& value) {
        const std::optional<double> number = AsNumber(value);
        for (const auto& level : levels) {
            if (!number || *number != level.first) continue;
            Of(s, member) = level.second;
            return true;
        }
        return false;
    };
    return setting;
}

template <typename Member>
Setting Name(const Base& base, Member member, const char* allowed) {
    Setting setting = Make(base, Setting::Kind::Text, allowed);
    setting.print = [member](const RunSettings& s) { return QuoteText(Of(s, member)); };
    setting.set = [member](RunSettings& s, const SettingValue& value) {
        const std::string* name = AsName(value);
        if (name != nullptr) Of(s, member) = *name;
        return name != nullptr;
    };
    return setting;
}

// A password. For the file alone: on the command line everyone on the machine could read it.
template <typename Member>
Setting Hidden(const Base& base, Member member) {
    // What is printed for any; read again, it leaves what there is as it is.
    constexpr const char* Mask = "********";
    Setting setting = Make(base, Setting::Kind::Text, "a text; \"\" for none");
    setting.isSecret = true;
    setting.print = [member](const RunSettings& s) { return QuoteText(Of(s, member).IsEmpty() ? "" : Mask); };
    setting.set = [member](RunSettings& s, const SettingValue& value) {
        const std::string* text = AsName(value);
        // A line's end would be one of the request that it is sent in.
        if (text == nullptr || text->find_first_of("\r\n") != std::string::npos) return false;
        if (*text != Mask) Of(s, member) = Secret(*text);
        return true;
    };
    return setting;
}

template <typename Member>
Setting Time(const Base& base, Member member) {
    Setting setting = Make(base, Setting::Kind::Time,
                           "a time: 2020-06-25T06:30:00 (GPS time; with a Z behind it UTC) or \"week:seconds\"; "
                           "\"\" for none");
    setting.print = [member](const RunSettings& s) {
        return QuoteText(Of(s, member) ? PrintTime(*Of(s, member)) : std::string());
    };
    setting.set = [member](RunSettings& s, const SettingValue& value) {
        const auto* text = std::get_if<std::string>(&value);
        if (text == nullptr) return false;
        const std::optional<GNSS::GPSTime> time = ParseTime(*text);
        if (time || text->empty()) Of(s, member) = time;
        return time || text->empty();
    };
    return setting;
}

}  // namespace Host::SettingKinds
