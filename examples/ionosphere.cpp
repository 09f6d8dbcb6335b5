// The delay of a GPS signal in the ionosphere over a day, seen from Esbjerg 30 degrees above the southern horizon.
#include <iomanip>
#include <iostream>

#include "gnss/almanac/AlmanacIono.h"

int main() {
    const GNSS::Almanac::Iono iono;  // the built-in coefficients
    const GNSS::Latitude lat(55.49);
    const GNSS::Longitude lon(8.46);
    const auto elevation = Corvane::Angle::FromDegrees(30.0);
    for (int hour = 0; hour < 24; hour += 3) {
        const GNSS::GPSTime t(2111, 4 * 86400.0 + hour * 3600.0);
        const double delay = iono.CalculateDelay(t, lat, lon, elevation, Corvane::Angle::Straight);
        std::cout << t.PrintRound(0) << std::fixed << std::setprecision(2) << std::setw(8) << delay << " m\n";
    }
}
