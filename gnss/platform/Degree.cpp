#include "gnss/platform/Degree.h"

#include <cmath>
#include <cstdint>

namespace Corvane {

namespace {

// The whole units in x, leaving the fraction in x itself. What has no whole units (NaN, infinity) gives 0 and stays.
int TakeWhole(double& x) {
    if (!std::isfinite(x)) return 0;
    const int whole = ToInt(x);
    x -= whole;
    return whole;
}

}  // namespace

Degree::Degree(double degrees) : negative_(degrees < 0.0) {
    double rest = std::abs(degrees);
    degrees_ = TakeWhole(rest);
    rest *= 60.0;
    minutes_ = TakeWhole(rest);
    seconds_ = rest * 60.0;
}

Degree::Degree(int degrees, double minutes, bool negative) : negative_(negative), degrees_(Magnitude(degrees)) {
    double rest = std::abs(minutes);
    minutes_ = TakeWhole(rest);
    seconds_ = rest * 60.0;
}

Degree::Degree(Angle angle) : Degree(angle.Degrees()) {}

void Degree::Round(int decimals) {
    if (!std::isfinite(seconds_)) return;
    seconds_ = round(seconds_, decimals);
    const double carriedMinutes = std::floor(seconds_ / 60.0);
    seconds_ -= carriedMinutes * 60.0;
    const std::int64_t minutes = std::int64_t{minutes_} + ToInt(carriedMinutes);
    minutes_ = static_cast<int>(minutes % 60);
    degrees_ = Saturate(degrees_ + minutes / 60);
}

}  // namespace Corvane
