// GNSS::Position::Geoid: how far the geoid is from the ellipsoid at a fix.
#pragma once

#include "gnss/platform/Export.h"
#include "gnss/position/Position.h"

namespace GNSS {

// The height of the geoid (mean sea level) above the ellipsoid in metres: a height above the sea is the height above
// the ellipsoid less this. Any number.
class GNSS_EXPORT Position::Geoid {
public:
    explicit constexpr Geoid(double separation) : separation_(separation) {}
    // The spelling is intended: it is the interface's.
    [[nodiscard]] constexpr double GetSeperation() const { return separation_; }
    constexpr void SetSeperation(double separation) { separation_ = separation; }

private:
    double separation_;
};

}  // namespace GNSS
