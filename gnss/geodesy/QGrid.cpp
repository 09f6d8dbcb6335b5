#include "gnss/geodesy/QGrid.h"

namespace GNSS {

void QGrid::Add(const Grid& position, const Grid::Covar& r, double dt) {
    if (const auto correction = Filter(position - grid_, r, dt)) {
        grid_ += *correction;
    } else {
        grid_ = position;
    }
}

}  // namespace GNSS
