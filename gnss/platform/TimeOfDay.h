// Corvane::TimeOfDay: seconds since midnight.
#pragma once

#include <compare>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Time.h"

namespace Corvane {

// Seconds of a day, from 0 to below 86400; a value of 86400 and on lies in a leap second and prints as 23:59:60.
class GNSS_EXPORT TimeOfDay {
public:
    constexpr TimeOfDay() = default;
    explicit constexpr TimeOfDay(double seconds) : seconds_(seconds) {}
    constexpr TimeOfDay(int hours, int minutes, double seconds) : seconds_(hours * 3600.0 + minutes * 60.0 + seconds) {}

    [[nodiscard]] constexpr double Seconds() const { return seconds_; }
    // The parts of hh:mm:ss, with the leap second as 23, 59, 60; each 0 for what is not finite or negative.
    [[nodiscard]] int Hour() const;
    [[nodiscard]] int Minute() const;
    [[nodiscard]] double SecondOfMinute() const;

    // "hh:mm:ss" with the decimals asked for, rounded or cut. What rounds up to the end of the day prints as 24:00:00;
    // what is not finite or negative prints as the number of seconds.
    [[nodiscard]] String PrintRound(int decimals) const;
    [[nodiscard]] String PrintTrunc(int decimals) const;

    friend constexpr bool operator==(TimeOfDay, TimeOfDay) = default;
    friend constexpr std::partial_ordering operator<=>(TimeOfDay, TimeOfDay) = default;

private:
    double seconds_ = 0.0;
};

}  // namespace Corvane
