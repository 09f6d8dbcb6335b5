#include "gnss/time/Longitude.h"

#include <cmath>
#include <istream>
#include <sstream>

#include "gnss/time/HemisphereText.h"

namespace GNSS {

Longitude::Longitude(int degrees, int minutes, double seconds, char hemisphere)
    : Longitude(Corvane::Degree(degrees, minutes, seconds, LongitudeText.IsNegative(hemisphere)).ToAngle()) {}

void Longitude::SetAngle(const Corvane::Angle& angle) {
    const double given = angle.Degrees();
    if (given > -180.0 && given < 180.0) {
        angle_ = angle;
        return;
    }
    // fmod is exact: an angle of any size lands in range.
    double degrees = std::fmod(given, 360.0);
    if (degrees >= 180.0) degrees -= 360.0;
    if (degrees <= -180.0) degrees += 360.0;
    angle_ = Corvane::Angle::FromDegrees(degrees);
}

void Longitude::PrintTo(std::ostream& os, int decimals) const {
    LongitudeText.PrintTo(os, angle_, decimals);
}

Corvane::String Longitude::Print(int decimals) const {
    std::ostringstream os;
    PrintTo(os, decimals);
    return os.str();
}

void Longitude::ScanFrom(std::istream& is) {
    if (const auto degree = LongitudeText.ScanFrom(is)) SetFromDegree(*degree, is);
}

void Longitude::SetFromDegree(const Corvane::Degree& degree, std::istream& is) {
    if (const auto angle = LongitudeText.Check(degree, is)) SetAngle(*angle);
}

}  // namespace GNSS
