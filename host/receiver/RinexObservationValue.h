// RinexObservationValue: one value of a RINEX observation file, read in place. For RinexObservation only.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "host/receiver/RinexObservationPlan.h"
#include "host/receiver/TextField.h"

namespace Host {

struct RinexObservationValue {
    double value = 0.0;
    bool isThere = false;
    bool isLost = false;       // loss-of-lock digit, bit 0
    bool isHalfCycle = false;  // bit 1

    // False when the columns hold anything but a value, 0.0 or blanks, or the line ends inside a number. A number has
    // its last digit in its last column.
    [[nodiscard]] bool Read(std::string_view line, const RinexObservationPlan::Column& column) {
        if (!column.isThere || column.first >= line.size()) return true;
        const std::string_view text = line.substr(column.first);
        if (text.size() > Width && text[Width] != ' ' && !ReadLossOfLock(text[Width])) return false;
        return text.size() >= Width && ReadUsual(text.data(), column.divisor) ? true : ReadAny(text, column.divisor);
    }

private:
    static constexpr std::size_t Width = RinexObservationPlan::NumberWidth;
    static constexpr std::size_t Point = Width - 4;
    static constexpr double Limit = 1e10;  // what the columns can hold as they should

    [[nodiscard]] static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
    // The digit of c, which is one.
    [[nodiscard]] static std::int64_t Digit(char c) { return c - '0'; }

    [[nodiscard]] bool ReadLossOfLock(char digit) {
        if (!IsDigit(digit)) return false;
        isLost = (Digit(digit) & 1) != 0;
        isHalfCycle = (Digit(digit) & 2) != 0;
        return true;
    }

    // Three decimals, as the format has it: a whole number of up to 13 digits divided by one below 2^53, which rounds
    // right.
    [[nodiscard]] bool ReadUsual(const char* text, double divisor) {
        if (text[Point] != '.' || !IsDigit(text[Point + 1]) || !IsDigit(text[Point + 2]) || !IsDigit(text[Point + 3]))
            return false;
        std::size_t at = 0;
        while (at < Point && text[at] == ' ') ++at;
        const bool isNegative = text[at] == '-';
        if (isNegative) ++at;
        std::int64_t digits = 0;
        for (; at < Point; ++at) {
            if (!IsDigit(text[at])) return false;
            digits = digits * 10 + Digit(text[at]);
        }
        digits = digits * 1000 + Digit(text[Point + 1]) * 100 + Digit(text[Point + 2]) * 10 + Digit(text[Point + 3]);
        isThere = digits != 0;
        value = static_cast<double>(isNegative ? -digits : digits) / divisor;
        return true;
    }

    // Blanks, and numbers with their point elsewhere.
    [[nodiscard]] bool ReadAny(std::string_view text, double divisor) {
        text = text.substr(0, Width);
        if (IsBlank(text)) return true;
        if (text.size() < Width || text.back() == ' ') return false;
        const Real number = ReadReal(text, 0, Width);
        if (!number.IsGood() || !(std::abs(number.value) < Limit)) return false;
        isThere = number.value != 0.0;
        value = number.value / (divisor / 1000.0);
        return true;
    }
};

}  // namespace Host
