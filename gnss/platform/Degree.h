// Corvane::Degree: an angle as people write it, in degrees, minutes and seconds.
#pragma once

#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"

namespace Corvane {

// A sign and non-negative degrees, minutes and seconds. The value is kept as it was given (60 minutes stay 60 minutes)
// until Round or a conversion from an Angle puts it in order. A NaN or infinite value has 0 degrees and 0 minutes, and
// seconds that are not finite.
class GNSS_EXPORT Degree {
public:
    Degree() = default;
    // From degrees, degrees and minutes, or degrees, minutes and seconds; the last may have a fraction, which is spread
    // over the smaller units. Signs of the arguments are ignored but for the first form's, which is that of `degrees`.
    explicit Degree(double degrees);
    Degree(int degrees, double minutes, bool negative);
    Degree(int degrees, int minutes, double seconds, bool negative);
    explicit Degree(Angle angle);

    [[nodiscard]] bool IsNegative() const { return negative_; }
    [[nodiscard]] int Degrees() const { return degrees_; }
    [[nodiscard]] int Minutes() const { return minutes_; }
    [[nodiscard]] double Seconds() const { return seconds_; }
    [[nodiscard]] double ToDegrees() const;
    [[nodiscard]] Angle ToAngle() const { return Angle::FromDegrees(ToDegrees()); }

    // Rounds the seconds to `decimals` places, halves away from zero, and carries: afterwards minutes and seconds are
    // below 60.
    void Round(int decimals);

private:
    bool negative_ = false;
    int degrees_ = 0;
    int minutes_ = 0;
    double seconds_ = 0.0;
};

}  // namespace Corvane
