// GNSS::Longitude: an angle east (positive) or west of the prime meridian, and its text form.
#pragma once

#include <compare>
#include <iosfwd>

#include "gnss/platform/Angle.h"
#include "gnss/platform/Degree.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace GNSS {

// A longitude always lies in (-180, +180] degrees; NaN and infinite angles become NaN. East is positive. The relational
// operators compare the angles exactly, and the difference of two longitudes is that of the angles, in (-360, +360).
//
// Text: as for Latitude, with three digits of degrees, E and W, and a limit of 180 degrees, as in 000\xB0 15' 00" W.
// Every longitude reads back as printed, one that rounds to 180 degrees west as 180 degrees; zero prints as W.
class GNSS_EXPORT Longitude {
public:
    constexpr Longitude() = default;
    explicit Longitude(double degrees) { SetAngle(Corvane::Angle::FromDegrees(degrees)); }
    Longitude(const Corvane::Angle& angle) { SetAngle(angle); }
    // Signs of the numbers are ignored: the hemisphere decides, 'E' or 'e' for east and any other character for west.
    Longitude(int degrees, int minutes, double seconds, char hemisphere);
    Longitude& operator=(const Corvane::Degree& degree) {
        SetAngle(degree.ToAngle());
        return *this;
    }

    [[nodiscard]] constexpr Corvane::Angle GetAngle() const { return angle_; }
    // Adds whole turns; an angle already in range is stored to the last bit. -180 becomes 180, 190 becomes -170.
    void SetAngle(const Corvane::Angle& angle);

    friend constexpr Corvane::Angle operator-(const Longitude& a, const Longitude& b) { return a.angle_ - b.angle_; }
    friend constexpr bool operator==(const Longitude&, const Longitude&) = default;
    friend constexpr std::partial_ordering operator<=>(const Longitude&, const Longitude&) = default;

    // As Latitude's.
    void PrintTo(std::ostream& os, int decimals) const;
    [[nodiscard]] Corvane::String Print(int decimals) const;

    // As Latitude's, with E or e and W or w, and up to 180 degrees. -180 degrees becomes 180.
    void ScanFrom(std::istream& is);
    void SetFromDegree(const Corvane::Degree& degree, std::istream& is);

private:
    Corvane::Angle angle_;
};

}  // namespace GNSS
