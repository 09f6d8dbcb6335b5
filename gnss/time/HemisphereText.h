// The text form that latitude and longitude share: degrees, minutes, seconds and a hemisphere letter.
#pragma once

#include <iosfwd>
#include <optional>

#include "gnss/platform/Angle.h"
#include "gnss/platform/Degree.h"

namespace GNSS {

// In what the texts of latitude and longitude differ.
struct HemisphereText {
    char positive;  // the letter of angles above zero
    char negative;  // the letter of the others, zero among them
    int width;      // digits of the degrees
    int limit;      // the largest number of degrees, reached only without minutes and seconds

    void PrintTo(std::ostream& os, Corvane::Angle angle, int decimals) const;
    // The value as it was written, still to be checked; nothing when the text is malformed, which the stream then
    // shows.
    [[nodiscard]] std::optional<Corvane::Degree> ScanFrom(std::istream& is) const;
    // The angle of a value within the limit; otherwise nothing, and the stream's fail bit is set.
    [[nodiscard]] std::optional<Corvane::Angle> Check(const Corvane::Degree& degree, std::istream& is) const;

    // Whether a hemisphere letter, in upper or lower case, means a negative angle: all but one do.
    [[nodiscard]] bool IsNegative(char hemisphere) const;
};

inline constexpr HemisphereText LatitudeText{.positive = 'N', .negative = 'S', .width = 2, .limit = 90};
inline constexpr HemisphereText LongitudeText{.positive = 'E', .negative = 'W', .width = 3, .limit = 180};

}  // namespace GNSS
