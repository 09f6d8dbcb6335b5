// The satellites of a simulation: where they begin, their clocks and channels.
#pragma once

#include <vector>

#include "gnss/time/GPSTime.h"
#include "host/simulate/SimulatedNoise.h"
#include "host/simulate/SimulatedOrbits.h"

namespace Host {

struct SimulatedSatellite {
    char system = 'G';
    int number = 0;                // PRN or slot
    int channel = 0;               // of GLONASS
    double clock = 0.0;            // satellite minus system time at the origin, without relativity, s
    double drift = 0.0;            // s/s: a whole multiple of what the message can say
    double groupDelay = 0.0;       // of GPS, s
    SimulatedOrbits::State state;  // inertial, at the origin
};

// GPS: 32 satellites, the expanded 24 slots of the constellation (SPS Performance Standard, 2008, section 3.2) and five
// in between. GLONASS: 24 in three planes (interface control document, edition 5.1, 4.2), on the twelve channels that
// antipodal satellites share since 2009. By the nominal motion they stand where they should at any date. Clocks and
// eccentricities are drawn by the noise.
//
// The offset of a GPS clock at every even hour, its drift and the group delay are whole multiples of what the message
// can say, which leaves the rounding of the orbit as its error: the units of the clock, 14 cm, would be the larger one.
[[nodiscard]] std::vector<SimulatedSatellite> MakeNominalSky(const GNSS::GPSTime& origin, const SimulatedNoise& noise);

}  // namespace Host
