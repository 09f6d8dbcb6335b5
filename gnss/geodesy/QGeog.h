// GNSS::QGeog: a filtered geographic position, with its covariance.
#pragma once

#include "gnss/geodesy/Geog.h"
#include "gnss/geodesy/QFilter.h"

namespace GNSS {

// The covariance is of east, north and height. Innovation and correction are metres in the local grid about the
// filtered position on WGS 84, so that poles and the meridian of 180 degrees are places like any other. The grid's axes
// are straight: a correction that goes part of the way to a measurement d metres off comes out up to d2 / 51,000 km too
// low (0.2 mm for 100 m, 2 cm for 1 km). The default is not valid, at zero, with the default covariance.
class GNSS_EXPORT QGeog : public QFilter {
public:
    // Filters in a position measured with the covariance r, dt (0 or below: no drift) after the last one.
    void Add(const Geog& position, const Grid::Covar& r, double dt);
    [[nodiscard]] const Geog& GetGeog() const { return geog_; }

private:
    Geog geog_;
};

}  // namespace GNSS
