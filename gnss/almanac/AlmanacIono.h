// GNSS::Almanac::Iono: the broadcast ionosphere.
#pragma once

#include "gnss/almanac/Almanac.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/Latitude.h"
#include "gnss/time/Longitude.h"

namespace GNSS {

// The coefficients of page 18 of subframe 4 and the single-frequency model that they belong to (IS-GPS-200,
// 20.3.3.5.2.5; J. A. Klobuchar, IEEE Transactions on Aerospace and Electronic Systems 23, 1987): half a cosine by day
// upon a constant by night, which removes about half of the delay. A fresh record holds built-in coefficients.
class GNSS_EXPORT Almanac::Iono {
public:
    // Bound of the latitude where the signal enters the ionosphere.
    static constexpr Corvane::Angle PhiLimit = Corvane::Angle::FromSemiCircles(0.416);

    GPSTime time{1433, 560502.0};  // dates the record; set by whoever delivers it, and orders updates
    // Amplitude of the vertical delay: seconds, and seconds per semicircle, semicircle^2 and semicircle^3.
    double alpha0 = 4.6566128730773926e-9;
    double alpha1 = 1.4901161193847656e-8;
    double alpha2 = -5.960464477539063e-8;
    double alpha3 = -1.1920928955078125e-7;
    // Period of its cosine, likewise.
    double beta0 = 81920.0;
    double beta1 = 81920.0;
    double beta2 = -65536.0;
    double beta3 = -524288.0;

    void Reset() { *this = Iono(); }
    // Dated later than the start of GPS time.
    [[nodiscard]] bool IsValid() const { return time > GPSTime::Zero; }
    // Times within the tolerance of GPSTime, coefficients exactly.
    friend bool operator==(const Iono&, const Iono&) = default;

    // Delay of an L1 signal in metres, at least 5 ns times the slant factor: for a receiver at lat and lon, a satellite
    // at that elevation and azimuth (from north to east), at a GPS time. An elevation of NaN gives NaN; where anything
    // else is NaN the delay is that of the night. Allocates nothing.
    [[nodiscard]] double CalculateDelay(const GPSTime& t, const Latitude& lat, const Longitude& lon,
                                        const Corvane::Angle& elevation, const Corvane::Angle& azimuth) const;

    // False when the stream fails or the week does not fit into 16 bits; a failed read leaves the object as it was.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);
};

}  // namespace GNSS
