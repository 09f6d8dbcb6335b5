// Corvane::Degree: an angle as people write it, in degrees, minutes and seconds.
#pragma once

#include <climits>

#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"

namespace Corvane {

// A sign and non-negative degrees, minutes and seconds. The value is kept as it was given (60 minutes stay 60 minutes)
// until Round or a conversion from an Angle puts it in order. A NaN or infinite value has 0 degrees and 0 minutes, and
// seconds that are not finite.
class GNSS_EXPORT Degree {
public:
    constexpr Degree() = default;
    // From degrees, degrees and minutes, or degrees, minutes and seconds; the last may have a fraction, which is spread
    // over the smaller units. Signs of the arguments are ignored but for the first form's, which is that of `degrees`.
    explicit Degree(double degrees);
    Degree(int degrees, double minutes, bool negative);
    constexpr Degree(int degrees, int minutes, double seconds, bool negative)
        : negative_(negative),
          degrees_(Magnitude(degrees)),
          minutes_(Magnitude(minutes)),
          seconds_(seconds < 0.0 ? -seconds : seconds) {}
    explicit Degree(Angle angle);

    [[nodiscard]] constexpr bool IsNegative() const { return negative_; }
    [[nodiscard]] constexpr int Degrees() const { return degrees_; }
    [[nodiscard]] constexpr int Minutes() const { return minutes_; }
    [[nodiscard]] constexpr double Seconds() const { return seconds_; }
    [[nodiscard]] constexpr double ToDegrees() const {
        const double magnitude = degrees_ + (minutes_ + seconds_ / 60.0) / 60.0;
        return negative_ ? -magnitude : magnitude;
    }
    [[nodiscard]] constexpr Angle ToAngle() const { return Angle::FromDegrees(ToDegrees()); }

    // Rounds the seconds to `decimals` places, halves away from zero, and carries: afterwards minutes and seconds are
    // below 60.
    void Round(int decimals);

private:
    static constexpr int Magnitude(int x) {
        if (x == INT_MIN) return INT_MAX;
        return x < 0 ? -x : x;
    }

    bool negative_ = false;
    int degrees_ = 0;
    int minutes_ = 0;
    double seconds_ = 0.0;
};

}  // namespace Corvane
