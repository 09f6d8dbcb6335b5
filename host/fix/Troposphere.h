// The delay of radio signals in the neutral atmosphere.
#pragma once

#include "gnss/geodesy/Geog.h"
#include "gnss/platform/Angle.h"

namespace Host {

// Delay in metres in a standard atmosphere (ISO 2533 pressure and temperature at the height; relative humidity 70 %):
// J. Saastamoinen's delays at the zenith (Bulletin Geodesique 105 to 107, 1972/73; constants of J. L. Davis et al.,
// Radio Science 20, 1985), brought to the elevation by H. D. Black and A. Eisner (Radio Science 19, 1984), within a
// centimetre a metre of the exact from 5 degrees upwards. Heights beyond -1 to 20 km count as these; 0 for an elevation
// of 0 or below.
class StandardTroposphere {
public:
    StandardTroposphere() = default;
    // At a place; for a place that is not finite there is no delay.
    explicit StandardTroposphere(const GNSS::Geog& place);

    [[nodiscard]] double GetZenithDelay() const { return zenith_; }
    // By which the delay at an elevation is larger than at the zenith.
    [[nodiscard]] static double GetMapping(double sinElevation);
    [[nodiscard]] double GetDelay(double sinElevation) const { return zenith_ * GetMapping(sinElevation); }

private:
    double zenith_ = 0.0;
};

}  // namespace Host
