// GNSS::Almanac: the coarse orbits of all satellites, with the ionosphere and UTC parameters that come with them.
#pragma once

#include "gnss/platform/Export.h"

namespace GNSS {

// The records are nested classes with a header each: AlmanacSV.h, AlmanacGlonassSV.h, AlmanacIono.h and AlmanacUTC.h.
// They are plain values: public fields, a default that is defined, and a Read that takes all or nothing.
class GNSS_EXPORT Almanac {
public:
    class SV;         // a GPS satellite
    class GlonassSV;  // a GLONASS satellite
    class Iono;       // the ionosphere
    class UTC;        // GPS time against UTC

    // WGS 84 gravitational constant of the earth for the GPS model, m^3/s^2.
    static constexpr double Gravity = 3.986004418e14;
    // Rotation of the earth for the GPS model, rad/s.
    static constexpr double EarthRate = 7.2921151467e-05;
    // Relativistic clock constant, s/m^0.5.
    static constexpr double F = -4.442807633e-10;
};

}  // namespace GNSS
