#include "gnss/time/HemisphereText.h"

#include <algorithm>
#include <array>
#include <istream>
#include <ostream>

#include "gnss/platform/Number.h"
#include "gnss/platform/StreamParser.h"
#include "gnss/platform/String.h"

namespace GNSS {

namespace {

constexpr char DegreeSign = '\xB0';
constexpr std::string_view Separators = "\xB0'\",";
constexpr int StoredDecimals = 10;  // of the seconds: 3e-15 degrees, the last bits of an angle
constexpr double ExactSeconds = 1e-12;

char ToUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// Takes one separator and the blanks beside it. Blanks alone do not separate: 51 and 30 in "51 30" are two values.
bool SkipSeparator(Corvane::StreamParser& parser) {
    parser.SkipBlanks();
    if (!parser.SkipOneOf(Separators)) return false;
    parser.SkipBlanks();
    return true;
}

// Up to three numbers, of which only the last may have a fraction, each followed by a separator.
struct Numbers {
    std::array<double, 3> values{};
    int count = 0;
};

std::optional<Numbers> ScanNumbers(Corvane::StreamParser& parser) {
    Numbers numbers;
    bool more = true;
    while (more) {
        const auto number = parser.ReadNumber();
        if (!number) return std::nullopt;
        numbers.values[static_cast<std::size_t>(numbers.count++)] = number->value;
        const bool separated = SkipSeparator(parser);
        const std::optional<char> next = parser.Peek();
        more = separated && numbers.count < 3 && !number->hasFraction && next && Corvane::StreamParser::IsDigit(*next);
    }
    return numbers;
}

Corvane::Degree MakeDegree(const Numbers& numbers, bool negative) {
    const auto [first, second, third] = numbers.values;
    switch (numbers.count) {
        case 1:
            return Corvane::Degree(negative ? -first : first);
        case 2:
            return Corvane::Degree(Corvane::ToInt(first), second, negative);
        default:
            return Corvane::Degree(Corvane::ToInt(first), Corvane::ToInt(second), third, negative);
    }
}

}  // namespace

bool HemisphereText::IsNegative(char hemisphere) const {
    return ToUpper(hemisphere) != positive;
}

void HemisphereText::PrintTo(std::ostream& os, Corvane::Angle angle, int decimals) const {
    using Corvane::String;
    decimals = std::max(decimals, 0);
    Corvane::Degree degree(angle);
    degree.Round(StoredDecimals);
    // 59.999 seconds at two decimals would print as 60.00: round, and carry, at what is printed.
    degree.Round(std::min(decimals, StoredDecimals));
    String text = String::FormatInt(degree.Degrees(), width, true);
    text += DegreeSign;
    text += " " + String::FormatInt(degree.Minutes(), 2, true);
    text += "' " + String::FormatReal(degree.Seconds(), 2, decimals, true, String::MinusOnly);
    text += "\" ";
    text += angle > Corvane::Angle::Zero ? positive : negative;
    os << text;
}

std::optional<Corvane::Degree> HemisphereText::ScanFrom(std::istream& is) const {
    Corvane::StreamParser parser(is);
    parser.SkipWhiteSpace();
    const int sign = parser.ReadSign();
    parser.SkipWhiteSpace();
    const std::optional<Numbers> numbers = ScanNumbers(parser);
    if (!numbers) return std::nullopt;
    bool isNegative = sign < 0;
    if (sign == 0) {
        SkipSeparator(parser);
        const std::optional<char> next = parser.Peek();
        if (next && Corvane::StreamParser::IsLetter(*next)) {
            const char letter = ToUpper(*next);
            if (letter != positive && letter != negative) {
                parser.Fail();
                return std::nullopt;
            }
            parser.Take();
            isNegative = letter == negative;
        }
    }
    if (is.fail()) return std::nullopt;
    return MakeDegree(*numbers, isNegative);
}

std::optional<Corvane::Angle> HemisphereText::Check(const Corvane::Degree& degree, std::istream& is) const {
    const bool isInside = degree.Degrees() < limit && degree.Minutes() < 60 && degree.Seconds() < 60.0;
    if (isInside) return degree.ToAngle();
    const bool isLimit = degree.Degrees() == limit && degree.Minutes() == 0 && degree.Seconds() < ExactSeconds;
    if (!isLimit) {
        is.setstate(std::ios_base::failbit);
        return std::nullopt;
    }
    const Corvane::Angle end = limit == 90 ? Corvane::Angle::Right : Corvane::Angle::Straight;
    return degree.IsNegative() ? -end : end;
}

}  // namespace GNSS
