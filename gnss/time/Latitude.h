// GNSS::Latitude: an angle north (positive) or south of the equator, and its text form.
#pragma once

#include <compare>
#include <iosfwd>

#include "gnss/platform/Angle.h"
#include "gnss/platform/Degree.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace GNSS {

// A latitude keeps whatever angle it is given, beyond 90 degrees too; only text is checked. North is positive. The
// relational operators compare the angles exactly.
//
// Text: degrees, minutes, seconds and N or S, in Latin-1, as in 51\xB0 30' 00.00" N. Every latitude from -90 to +90
// degrees reads back as printed; zero prints as S.
class GNSS_EXPORT Latitude {
public:
    constexpr Latitude() = default;
    explicit constexpr Latitude(double degrees) : angle_(Corvane::Angle::FromDegrees(degrees)) {}
    constexpr Latitude(const Corvane::Angle& angle) : angle_(angle) {}
    // Signs of the numbers are ignored: the hemisphere decides, 'N' or 'n' for north and any other character for south.
    Latitude(int degrees, int minutes, double seconds, char hemisphere);
    constexpr Latitude& operator=(const Corvane::Degree& degree) {
        angle_ = degree.ToAngle();
        return *this;
    }

    [[nodiscard]] constexpr Corvane::Angle GetAngle() const { return angle_; }
    constexpr void SetAngle(const Corvane::Angle& angle) { angle_ = angle; }

    friend constexpr Corvane::Angle operator-(const Latitude& a, const Latitude& b) { return a.angle_ - b.angle_; }
    friend constexpr bool operator==(const Latitude&, const Latitude&) = default;
    friend constexpr std::partial_ordering operator<=>(const Latitude&, const Latitude&) = default;

    // Writes the text with `decimals` decimals of the seconds (0 to 40; below 0 counts as 0), rounded, halves away from
    // zero, with carry: never 60 minutes or seconds. The seconds of NaN print as "nan", of an infinite angle as "inf".
    void PrintTo(std::ostream& os, int decimals) const;
    [[nodiscard]] Corvane::String Print(int decimals) const;

    // Reads degrees, degrees and minutes, or degrees, minutes and seconds, the last with or without a fraction, after
    // an optional sign. One degree sign (byte 0xB0), apostrophe, double quote or comma, with blanks beside it,
    // separates two numbers and may follow the last; a number with a fraction is the last. Without a sign a letter may
    // follow: N or n, S or s. Without sign and letter the latitude is north. White space may stand before the sign and
    // the number; what follows the value stays in the stream. Malformed text, any other letter, 60 or more minutes or
    // seconds, and more than 90 degrees set the stream's fail bit and leave this latitude as it was; reading itself
    // never throws, but a stream told by exceptions() to throw at its fail, bad or end bit does so. -90 degrees keeps
    // its sign.
    void ScanFrom(std::istream& is);

    // Takes a value as read if it lies within the limits above, else sets the stream's fail bit. NaN does not.
    void SetFromDegree(const Corvane::Degree& degree, std::istream& is);

private:
    Corvane::Angle angle_;
};

}  // namespace GNSS
