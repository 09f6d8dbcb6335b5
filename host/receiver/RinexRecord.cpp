#include "host/receiver/RinexRecord.h"

#include <chrono>

#include "gnss/time/GPSTime.h"

namespace Host {

using Corvane::TimeDate;

namespace {

constexpr std::size_t Width = 19;  // of a number
constexpr double FarthestTransmission = 2.0 * GNSS::GPSTime::SecsInWeek;

// Columns of the first line; the numbers of the orbit lines begin under its satellite.
struct Layout {
    std::size_t satellite, year, yearWidth, month, day, hour, minute, second, secondWidth, numbers, orbit;
};
constexpr Layout Version2{0, 3, 2, 6, 9, 12, 15, 17, 5, 22, 3};
constexpr Layout Version3{1, 4, 4, 9, 12, 15, 18, 21, 2, 23, 4};

const Layout& LayoutOf(const RinexRecord& record) {
    return record.isVersion3 ? Version3 : Version2;
}

std::size_t ColumnOf(const RinexRecord& record, std::size_t index) {
    const Layout& at = LayoutOf(record);
    return index < 3 ? at.numbers + index * Width : at.orbit + (index + 1) % 4 * Width;
}

bool IsWithin(const std::optional<int>& value, int low, int high) {
    return value && *value >= low && *value <= high;
}

}  // namespace

std::string RinexRecord::Satellite() const {
    const std::optional<int> number = SatelliteNumber();
    const std::string text = number ? std::to_string(*number) : "??";
    return system + (text.size() < 2 ? "0" + text : text);
}

std::optional<int> RinexRecord::SatelliteNumber() const {
    return ReadInteger(lines[0], LayoutOf(*this).satellite, 2);
}

std::optional<TimeDate> RinexRecord::Epoch() const {
    const Layout& at = LayoutOf(*this);
    const std::string_view line = lines[0];
    std::optional<int> year = ReadInteger(line, at.year, at.yearWidth);
    if (!isVersion3 && IsWithin(year, 0, 99)) *year += *year < 80 ? 2000 : 1900;
    const std::optional<int> month = ReadInteger(line, at.month, 2);
    const std::optional<int> day = ReadInteger(line, at.day, 2);
    const std::optional<int> hour = ReadInteger(line, at.hour, 2);
    const std::optional<int> minute = ReadInteger(line, at.minute, 2);
    const Real second = ReadReal(line, at.second, at.secondWidth);
    if (!IsWithin(year, 1980, 2099) || !IsWithin(month, 1, 12) || !IsWithin(day, 1, 31) || !IsWithin(hour, 0, 23) ||
        !IsWithin(minute, 0, 59) || !second.IsGood() || !(second.value >= 0.0 && second.value < 61.0)) {
        return std::nullopt;
    }
    const auto date = std::chrono::year(*year) / *month / *day;
    if (!date.ok()) return std::nullopt;
    return TimeDate(Corvane::Date(*year, *month, *day), Corvane::TimeOfDay(*hour, *minute, second.value));
}

Real RinexRecord::Number(std::size_t index) const {
    const std::size_t line = LineOf(index);
    return line < nmrLines ? ReadReal(lines[line], ColumnOf(*this, index), Width) : Real();
}

std::string_view RinexRecord::Text(std::size_t index) const {
    const std::size_t line = LineOf(index);
    return line < nmrLines ? Trimmed(Columns(lines[line], ColumnOf(*this, index), Width)) : std::string_view();
}

std::string Complaint(const RinexField& field, const Real& number, std::string_view text) {
    const std::string name(field.name);
    switch (number.state) {
        case Real::State::Good:
            return name + " is beyond the range of the message";
        case Real::State::Blank:
            return name + " is missing";
        case Real::State::Cut:
            return "the line is cut short inside " + name;
        case Real::State::Bad:
            break;
    }
    return name + " is not a number: " + Quoted(text);
}

void Refuse(const RinexRecord& record, std::size_t line, const std::string& why, RinexNavigation& out) {
    ++out.nmrRefused;
    const std::size_t last = std::min(line, record.nmrLines - 1);
    out.warnings.Add(record.numbers[last], record.Satellite() + " left out: " + why);
}

void Warn(const RinexRecord& record, std::size_t line, const std::string& what, RinexNavigation& out) {
    const std::size_t last = std::min(line, record.nmrLines - 1);
    out.warnings.Add(record.numbers[last], record.Satellite() + ": " + what);
}

int UsableSatellite(const RinexRecord& record, std::size_t nmrLines, int maxSatellite, RinexNavigation& out) {
    const std::optional<int> satellite = record.SatelliteNumber();
    if (!satellite || *satellite < 1 || *satellite > maxSatellite) {
        Refuse(record, 0, "no such satellite", out);
        return 0;
    }
    if (record.nmrLines < nmrLines) {
        Refuse(record, record.nmrLines - 1,
               "has " + std::to_string(record.nmrLines) + " of its " + std::to_string(nmrLines) + " lines", out);
        return 0;
    }
    return *satellite;
}

std::optional<double> TransmissionSeconds(double number) {
    if (!(number >= -FarthestTransmission && number <= FarthestTransmission)) return std::nullopt;
    return number;
}

}  // namespace Host
