#include "host/fix/Troposphere.h"

#include <algorithm>
#include <cmath>

namespace Host {

StandardTroposphere::StandardTroposphere(const GNSS::Geog& place) {
    if (!std::isfinite(place.GetHeight()) || !std::isfinite(place.GetPhi().Radians())) return;
    const double height = std::clamp(place.GetHeight(), -1000.0, 20000.0);
    constexpr double Humidity = 0.7;
    // Pressure and temperature of the standard atmosphere; the linear fall of temperature ends at 11 km.
    const double temperature = 288.15 - 6.5e-3 * std::min(height, 11000.0);
    double pressure = 1013.25 * std::pow(temperature / 288.15, 5.25588);
    if (height > 11000.0) pressure *= std::exp(-(height - 11000.0) / 6341.6);
    const double vapour =
        height > 11000.0 ? 0.0 : 6.108 * Humidity * std::exp((17.15 * temperature - 4684.0) / (temperature - 38.45));
    const double gravity = 1.0 - 0.00266 * std::cos(2.0 * place.GetPhi().Radians()) - 0.28e-6 * height;
    zenith_ = 0.0022768 * pressure / gravity + 0.002277 * (1255.0 / temperature + 0.05) * vapour;
}

double StandardTroposphere::GetMapping(double sinElevation) {
    if (!(sinElevation > 0.0)) return 0.0;
    return 1.001 / std::sqrt(0.002001 + sinElevation * sinElevation);
}

}  // namespace Host
