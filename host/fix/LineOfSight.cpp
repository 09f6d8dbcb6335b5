#include "host/fix/LineOfSight.h"

#include "gnss/ephemeris/GPSEphemeride.h"

namespace Host {

GNSS::ECEF TurnDuringFlight(const GNSS::ECEF& posn, double flight) {
    const double turn = GNSS::GPSEphemeride::EarthRate.Radians() * flight;
    const double s = std::sin(turn);
    const double c = std::cos(turn);
    return {posn.GetX() * c + posn.GetY() * s, posn.GetY() * c - posn.GetX() * s, posn.GetZ()};
}

}  // namespace Host
