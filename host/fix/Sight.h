// The straight line from a receiver to a satellite, the earth's turn during the signal's flight allowed for.
#pragma once

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/time/Constants.h"

namespace Host {

struct Sight {
    GNSS::ECEF::Delta direction;  // unit vector from the receiver, earth-fixed at reception
    double range = 0.0;           // m

    // To a satellite whose earth-fixed position is that of the time when it sent. A satellite at the receiver gives a
    // range of 0.
    Sight(const GNSS::ECEF& satellite, const GNSS::ECEF& receiver) {
        // The range enters the rotation by way of the flight time only: 1 km off is 0.6 mm.
        const double straight = (satellite - receiver).Magnitude();
        direction = AtReception(satellite, straight) - receiver;
        static_cast<void>(direction.Normalise(range));
    }

    // A place of the time when the signal was sent, in the frame of its reception.
    // GPSEphemerisCalc::CalculateRotation to the second order of the angle, 1e-5 rad: the next one is 1e-8 m.
    [[nodiscard]] static GNSS::ECEF AtReception(const GNSS::ECEF& posn, double range) {
        const double angle = GNSS::GPSEphemeride::EarthRate.Radians() * (range / GNSS::LightSpeed);
        const double cosine = 1.0 - 0.5 * angle * angle;
        return {posn.GetX() * cosine + posn.GetY() * angle, posn.GetY() * cosine - posn.GetX() * angle, posn.GetZ()};
    }
};

}  // namespace Host
