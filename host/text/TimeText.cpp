#include "host/text/TimeText.h"

#include <charconv>
#include <cmath>
#include <type_traits>

#include "host/receiver/LeapSeconds.h"

namespace Host {

using Corvane::Date;
using GNSS::GPSTime;

namespace {

// The finest step of a time that is read or written.
constexpr double Micro = 1e-6;  // s

bool IsWholeMicros(double seconds) {
    const double micros = seconds / Micro;
    // Seconds of a week have room for a ten-thousandth of a microsecond.
    return std::abs(micros - std::round(micros)) < 1e-3;
}

// Takes a number off the front of the text: digits, no sign, and for a real one a point.
template <typename Number>
bool Take(std::string_view& text, Number& value) {
    if (text.empty() || text.front() < '0' || text.front() > '9') return false;
    std::from_chars_result result{};
    if constexpr (std::is_floating_point_v<Number>) {
        result = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    } else {
        result = std::from_chars(text.data(), text.data() + text.size(), value);
    }
    if (result.ec != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return true;
}

bool TakeMark(std::string_view& text, std::string_view marks) {
    if (text.empty() || marks.find(text.front()) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
}

bool TakeTimeOfDay(std::string_view& text, double& seconds) {
    int hour = 0;
    int minute = 0;
    double second = 0.0;
    if (!Take(text, hour) || !TakeMark(text, ":") || !Take(text, minute)) return false;
    if (TakeMark(text, ":") && !Take(text, second)) return false;
    // A second of 60 stands at the end of a day only.
    const double secondsInMinute = hour == 23 && minute == 59 ? 61.0 : 60.0;
    if (hour > 23 || minute > 59 || !(second < secondsInMinute) || !IsWholeMicros(second)) return false;
    seconds = hour * 3600.0 + minute * 60.0 + second;
    return true;
}

// What stands behind a date and time: whether it says UTC. Nothing when it is something else.
std::optional<bool> ReadScale(std::string_view text) {
    if (text.empty()) return false;
    while (TakeMark(text, " ")) continue;
    if (text == "Z" || text == "UTC") return true;
    if (text == "GPS") return false;
    return std::nullopt;
}

}  // namespace

std::optional<GPSTime> ParseTime(std::string_view text) {
    if (const auto colon = text.find(':');
        colon != std::string_view::npos && text.find('-', 1) == std::string_view::npos) {
        int week = 0;
        double seconds = 0.0;
        if (!Take(text, week) || !TakeMark(text, ":") || !Take(text, seconds) || !text.empty()) return std::nullopt;
        if (week > 9999 || !(seconds < GPSTime::SecsInWeek) || !IsWholeMicros(seconds)) return std::nullopt;
        return GPSTime(week, seconds);
    }
    int year = 0;
    int month = 0;
    int day = 0;
    double seconds = 0.0;
    if (!Take(text, year) || !TakeMark(text, "-") || !Take(text, month) || !TakeMark(text, "-") || !Take(text, day)) {
        return std::nullopt;
    }
    // A day that the calendar does not have would become another one.
    const Date date(year, month, day);
    if (date < GPSTime::Start || year > 2200 || date.Year() != year || date.Month() != month || date.Day() != day)
        return std::nullopt;
    std::optional<bool> isUTC = ReadScale(text);
    if (!isUTC) {
        if (!TakeMark(text, "T ") || !TakeTimeOfDay(text, seconds)) return std::nullopt;
        isUTC = ReadScale(text);
        if (!isUTC) return std::nullopt;
    }
    if (seconds >= GPSTime::SecsInDay) {
        const auto leap = LastLeapSecond(date + 1);
        if (!*isUTC || !leap || leap->day != date + 1) return std::nullopt;
    }
    const Corvane::TimeDate instant(date, Corvane::TimeOfDay(seconds));
    return *isUTC ? FromUTC(instant, GPSMinusUTC(date)) : GPSTime(instant);
}

std::optional<Corvane::Time> ParseSpan(std::string_view text) {
    double value = 0.0;
    if (!Take(text, value)) return std::nullopt;
    double unit = 0.0;
    if (text.empty() || text == "s")
        unit = 1.0;
    else if (text == "min" || text == "m")
        unit = 60.0;
    else if (text == "h")
        unit = 3600.0;
    else if (text == "d")
        unit = 86400.0;
    if (!(value * unit >= Micro) || !std::isfinite(value * unit) || !IsWholeMicros(value * unit)) return std::nullopt;
    return Corvane::Time(value * unit);
}

std::string PrintTime(const GPSTime& time) {
    // Rounded as a whole, so that it carries into the next day.
    GPSTime rounded = time;
    rounded.Round(6);
    std::string text = rounded.GetTimeDate().Print(6).str();
    while (text.ends_with('0') && text.find('.') != std::string::npos) text.pop_back();
    if (text.ends_with('.')) text.pop_back();
    return text;
}

}  // namespace Host
