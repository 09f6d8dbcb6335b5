#include "host/receiver/RinexEpochLine.h"

#include "gnss/platform/Date.h"
#include "host/receiver/LeapSeconds.h"
#include "host/receiver/StreamDecoder.h"
#include "host/receiver/TextField.h"

namespace Host {

using GNSS::GPSTime;
using TimeSystem = RinexObservationHeader::TimeSystem;

namespace {

constexpr double BeiDouBehindGPS = 14.0;  // s

// Where things stand in the line of a version.
struct Layout {
    std::size_t year, yearWidth, seconds, flag, nmr, clockOffset, clockWidth;
    // Month, day, hour and minute stand in front of the seconds, three columns each.
    [[nodiscard]] std::size_t Field(std::size_t index) const { return seconds - 12 + 3 * index; }
};
constexpr Layout Version2{1, 2, 15, 28, 29, 68, 12};
constexpr Layout Version3{2, 4, 18, 31, 32, 41, 15};

// A number of one or two digits in two columns behind a blank one.
std::optional<int> ReadTwo(std::string_view line, std::size_t first) {
    if (line[first - 1] != ' ') return std::nullopt;
    const std::optional<int> value = ReadInteger(line, first, 2);
    return value && *value >= 0 ? value : std::nullopt;
}

std::optional<GPSTime> ReadTime(std::string_view line, const Layout& layout, TimeSystem system) {
    std::optional<int> year = ReadInteger(line, layout.year, layout.yearWidth);
    const std::optional<int> month = ReadTwo(line, layout.Field(0) + 1);
    const std::optional<int> day = ReadTwo(line, layout.Field(1) + 1);
    const std::optional<int> hour = ReadTwo(line, layout.Field(2) + 1);
    const std::optional<int> minute = ReadTwo(line, layout.Field(3) + 1);
    const Real seconds = ReadReal(line, layout.seconds, 11);
    if (!year || !month || !day || !hour || !minute || !seconds.IsGood()) return std::nullopt;
    if (layout.yearWidth == 2) *year += *year < 80 ? 2000 : 1900;
    if (*year < 1980 || *year > 2099 || *month < 1 || *month > 12 || *day < 1 || *hour > 23 || *minute > 59 ||
        line[layout.seconds] != ' ' || line[layout.seconds + 3] != '.') {
        return std::nullopt;
    }
    // Some writers round up to 60 s; a leap second of UTC has 60 and more.
    const double limit = system == TimeSystem::UTC ? 61.0 : 60.0;
    if (!(seconds.value >= 0.0 && (seconds.value < limit || seconds.value == 60.0))) return std::nullopt;
    const Corvane::Date date(*year, *month, *day);
    if (date.Day() != *day) return std::nullopt;

    const int days = date - GPSTime::Start;
    double ofDay = (*hour * 60.0 + *minute) * 60.0 + seconds.value;
    if (system == TimeSystem::UTC) ofDay += GPSMinusUTC(date);
    if (system == TimeSystem::BeiDou) ofDay += BeiDouBehindGPS;
    const GPSTime time(days / 7, days % 7 * GPSTime::SecsInDay + ofDay);
    if (time.GetWeek() < 1 || time.GetWeek() > MaxWeek) return std::nullopt;
    return time;
}

}  // namespace

std::optional<RinexEpochLine> ReadRinexEpochLine(std::string_view line, const RinexObservationHeader& header) {
    const bool isVersion2 = header.version < 300;
    const Layout& layout = isVersion2 ? Version2 : Version3;
    if (line.size() < layout.nmr + 3 || line[0] != (isVersion2 ? ' ' : '>')) return std::nullopt;
    const char flag = line[layout.flag];
    const std::optional<int> nmr = ReadInteger(line, layout.nmr, 3);
    if (flag < '0' || flag > '6' || !nmr || *nmr < 0 || !IsBlank(Columns(line, layout.flag - 2, 2)))
        return std::nullopt;
    RinexEpochLine epoch;
    epoch.flag = static_cast<RinexEpochLine::Flag>(flag - '0');
    epoch.nmr = static_cast<std::size_t>(*nmr);
    epoch.time = ReadTime(line, layout, header.GetTimeSystem());
    const bool isBlankTime = IsBlank(Columns(line, 1, layout.flag - 1));
    if (!epoch.time && (epoch.HasSatellites() || !isBlankTime)) return std::nullopt;
    const Real offset = ReadReal(line, layout.clockOffset, layout.clockWidth);
    if (offset.IsGood()) epoch.clockOffset = offset.value;
    return epoch;
}

std::optional<RinexSatellite> ReadRinexSatellite(std::string_view text, char defaultSystem) {
    if (text.size() < 3) return std::nullopt;
    const char system = text[0] == ' ' ? defaultSystem : text[0];
    const char tens = text[1] == ' ' ? '0' : text[1];
    if (system < 'A' || system > 'Z' || tens < '0' || tens > '9' || text[2] < '0' || text[2] > '9') return std::nullopt;
    return RinexSatellite{system, (tens - '0') * 10 + (text[2] - '0')};
}

}  // namespace Host
