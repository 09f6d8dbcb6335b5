#include "host/cli/TimeText.h"

#include <array>
#include <charconv>
#include <cmath>

#include "host/receiver/LeapSeconds.h"

namespace Host {

using Corvane::Date;
using GNSS::GPSTime;

namespace {

// Takes a number off the front of the text, and the mark behind it if one is wanted.
template <typename Number>
bool Take(std::string_view& text, Number& value) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
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
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || !(second >= 0.0 && second < 61.0)) return false;
    seconds = hour * 3600.0 + minute * 60.0 + second;
    return true;
}

}  // namespace

std::optional<GPSTime> ParseTime(std::string_view text) {
    if (const auto colon = text.find(':');
        colon != std::string_view::npos && text.find('-', 1) == std::string_view::npos) {
        int week = 0;
        double seconds = 0.0;
        if (!Take(text, week) || !TakeMark(text, ":") || !Take(text, seconds) || !text.empty()) return std::nullopt;
        if (week < 0 || week > 9999 || !(seconds >= 0.0 && seconds < GPSTime::SecsInWeek)) return std::nullopt;
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
    if (year < 1980 || year > 2200 || date.Year() != year || date.Month() != month || date.Day() != day)
        return std::nullopt;
    if (TakeMark(text, "T ") && !text.empty() && text.front() != 'U' && !TakeTimeOfDay(text, seconds))
        return std::nullopt;
    while (TakeMark(text, " ")) continue;
    const bool isUTC = text == "Z" || text == "UTC";
    if (!isUTC && !text.empty() && text != "GPS") return std::nullopt;
    const Corvane::TimeDate instant(date, Corvane::TimeOfDay(seconds));
    return isUTC ? FromUTC(instant, GPSMinusUTC(date)) : GPSTime(instant);
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
    if (!(value * unit > 0.0) || !std::isfinite(value)) return std::nullopt;
    return Corvane::Time(value * unit);
}

std::string PrintTime(const GPSTime& time) {
    std::string text = time.GetTimeDate().Print(3).str();
    while (text.ends_with('0') && text.find('.') != std::string::npos) text.pop_back();
    if (text.ends_with('.')) text.pop_back();
    return text;
}

}  // namespace Host
