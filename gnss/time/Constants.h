// Physical constants of the whole library.
#pragma once

namespace GNSS {

// Pi as the GPS interface document fixes it (IS-GPS-200, 20.3.3.4.3), for all GPS orbit arithmetic.
inline constexpr double GPSPi = 3.1415926535898;

// Speed of light in vacuum, m/s.
inline constexpr double LightSpeed = 299792458.0;

}  // namespace GNSS
