#include "gnss/time/Latitude.h"

#include <istream>
#include <sstream>

#include "gnss/time/HemisphereText.h"

namespace GNSS {

Latitude::Latitude(int degrees, int minutes, double seconds, char hemisphere)
    : Latitude(Corvane::Degree(degrees, minutes, seconds, LatitudeText.IsNegative(hemisphere)).ToAngle()) {}

void Latitude::PrintTo(std::ostream& os, int decimals) const {
    LatitudeText.PrintTo(os, angle_, decimals);
}

Corvane::String Latitude::Print(int decimals) const {
    std::ostringstream os;
    PrintTo(os, decimals);
    return os.str();
}

void Latitude::ScanFrom(std::istream& is) {
    if (const auto degree = LatitudeText.ScanFrom(is)) SetFromDegree(*degree, is);
}

void Latitude::SetFromDegree(const Corvane::Degree& degree, std::istream& is) {
    if (const auto angle = LatitudeText.Check(degree, is)) SetAngle(*angle);
}

}  // namespace GNSS
