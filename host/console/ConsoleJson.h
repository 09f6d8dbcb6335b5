// Pieces of the console's JSON, appended to a text.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "gnss/time/GPSTime.h"
#include "host/report/FixFigures.h"
#include "host/report/Rows.h"
#include "host/report/SafeText.h"

namespace Host::ConsoleJson {

// Whatever is in it: clean, and between quotes.
[[nodiscard]] inline std::string Quote(std::string_view text) {
    return JsonText(CleanText(text));
}

// Null for what is no number.
inline void AddNumber(double value, int decimals, std::string& to) {
    if (!std::isfinite(value)) {
        to += "null";
        return;
    }
    std::array<char, 350> room;
    to.append(room.data(), static_cast<std::size_t>(PrintNumber(value, decimals, room.data()) - room.data()));
}
[[nodiscard]] inline std::string Number(const std::optional<double>& value, int decimals) {
    std::string text;
    AddNumber(value.value_or(FixFigures::None), decimals, text);
    return text;
}

// "2020-06-25T00:00:30.000Z", by the leap-second rule in force: for the thread of the run.
[[nodiscard]] inline std::string Time(const std::optional<GNSS::GPSTime>& time) {
    return time ? '"' + PrintUTC(*time) + '"' : std::string("null");
}

// {"error":"text for a person"}
[[nodiscard]] inline std::string Error(std::string_view text) {
    return "{\"error\":" + Quote(text) + '}';
}

}  // namespace Host::ConsoleJson
