// RinexRecord: the lines of one record of a RINEX navigation file, and the numbers in them. For RinexNavigation only.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "gnss/platform/TimeDate.h"
#include "host/receiver/FileReport.h"
#include "host/receiver/RinexNavigation.h"
#include "host/receiver/TextField.h"

namespace Host {

// One record: the line with satellite, epoch and three numbers, and the orbit lines of four numbers each.
struct RinexRecord {
    static constexpr std::size_t MaxLines = 8;

    char system = ' ';
    bool isVersion3 = false;
    std::size_t nmrLines = 0;
    std::array<std::string_view, MaxLines> lines;
    std::array<std::int64_t, MaxLines> numbers{};  // of the lines in the file

    // "G05", also for satellites that there are not.
    [[nodiscard]] std::string Satellite() const;
    // The number of the satellite; nothing when it is not a number.
    [[nodiscard]] std::optional<int> SatelliteNumber() const;
    // The epoch as the file writes it, in the scale of its system; nothing when it is not a date and time of 1980 to
    // 2099. Two digits of a year are 1980 to 2079. 60 seconds are read as such.
    [[nodiscard]] std::optional<Corvane::TimeDate> Epoch() const;
    // The number at an index: 0 to 2 on the first line, then four a line.
    [[nodiscard]] Real Number(std::size_t index) const;
    // What stands in its columns, without blanks at the ends.
    [[nodiscard]] std::string_view Text(std::size_t index) const;
    [[nodiscard]] static std::size_t LineOf(std::size_t index) { return index < 3 ? 0 : (index + 1) / 4; }
};

// What a number of a record may be: the range of the broadcast word, a little more for rounding.
struct RinexField {
    std::string_view name;
    double low;
    double high;
    bool isNeeded;  // without it the record is of no use
};

// The numbers of a record; what is blank, or unusable and not needed, is NaN.
template <std::size_t N>
using RinexNumbers = std::array<double, N>;

// What is wrong with a number that is not good, for a message. `text` is what stands in its columns.
[[nodiscard]] std::string Complaint(const RinexField& field, const Real& number, std::string_view text);

// The warning of a record that is left out, counted as refused.
void Refuse(const RinexRecord& record, std::size_t line, const std::string& why, RinexNavigation& out);
// The warning of a record that is kept.
void Warn(const RinexRecord& record, std::size_t line, const std::string& what, RinexNavigation& out);

// The satellite of a record with enough lines; 0, with the record refused, when lines are missing or the number is none
// of the system's.
[[nodiscard]] int UsableSatellite(const RinexRecord& record, std::size_t nmrLines, int maxSatellite,
                                  RinexNavigation& out);

// Reads the numbers and tests them against their fields. False, with the record refused, when one that is needed is
// missing or wrong.
template <std::size_t N>
bool ReadNumbers(const RinexRecord& record, const std::array<RinexField, N>& fields, RinexNumbers<N>& numbers,
                 RinexNavigation& out) {
    for (std::size_t i = 0; i < N; ++i) {
        const RinexField& field = fields[i];
        const Real number = record.Number(i);
        if (number.IsGood() && number.value >= field.low && number.value <= field.high) {
            numbers[i] = number.value;
            continue;
        }
        numbers[i] = std::numeric_limits<double>::quiet_NaN();
        if (number.state == Real::State::Blank && !field.isNeeded) continue;
        const std::size_t line = RinexRecord::LineOf(i);
        const std::string complaint = Complaint(field, number, record.Text(i));
        if (field.isNeeded) {
            Refuse(record, line, complaint, out);
            return false;
        }
        Warn(record, line, complaint + ", ignored", out);
    }
    return true;
}

// Equal numbers; blank equals blank.
template <std::size_t N>
bool AreEqual(const RinexNumbers<N>& a, const RinexNumbers<N>& b) {
    return std::equal(a.begin(), a.end(), b.begin(),
                      [](double x, double y) { return x == y || (std::isnan(x) && std::isnan(y)); });
}

// The seconds that stand where a time of transmission is to be; nothing for "unknown" (blank, 0.9999E9, absurd).
[[nodiscard]] std::optional<double> TransmissionSeconds(double number);

}  // namespace Host
