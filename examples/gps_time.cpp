// The current time in the three scales of the library, and the leap second of New Year 2017.
#include <iostream>

#include "gnss/time/GPSTime.h"
#include "gnss/time/GloTime.h"

int main() {
    // What the almanac of a receiver says: 17 leap seconds before 1 January 2017, 18 from then on.
    GNSS::GPSTime::SetUTCParam(GNSS::GPSTime(1930, 0.0), 17, 18);

    GNSS::GPSTime now;
    now.SetFromUTC(Corvane::Now.GetTimeDate());
    const GNSS::GloTime glonass(now);
    std::cout << "UTC      " << now.GetUTC().Print(1) << "\nGPS      week and time " << now.PrintTrunc(1)
              << "\nGLONASS  day " << glonass.GetDay() << " from 1 January " << glonass.GetLeapYear() << ", "
              << glonass.GetSeconds() << " s on Moscow time\n\n";

    for (int second = 16; second <= 19; ++second) {
        const GNSS::GPSTime gps(1930, second);
        std::cout << "GPS " << gps.PrintRound(0) << " is UTC " << gps.GetUTC().Print(0) << '\n';
    }
}
