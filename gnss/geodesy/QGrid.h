// GNSS::QGrid: a filtered position in a local grid, with its covariance.
#pragma once

#include "gnss/geodesy/QFilter.h"

namespace GNSS {

// The default is not valid, at the origin, with the default covariance.
class GNSS_EXPORT QGrid : public QFilter {
public:
    // Filters in a position measured with the covariance r, dt (0 or below: no drift) after the last one.
    void Add(const Grid& position, const Grid::Covar& r, double dt);
    [[nodiscard]] const Grid& GetGrid() const { return grid_; }

private:
    Grid grid_;
};

}  // namespace GNSS
