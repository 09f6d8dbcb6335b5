#include "gnss/geodesy/QGeog.h"

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"

namespace GNSS {

void QGeog::Add(const Geog& position, const Grid::Covar& r, double dt) {
    const LocalGrid here(geog_, Spheroid::WGS84);
    const auto correction = Filter(here.GetGridDelta(position), r, dt);
    if (!correction) {
        geog_ = position;
    } else if (correction->Magnitude() > 0.0) {
        geog_ = here.GetGeog(here.GetOriginECEF() + here.GetECEFDelta(*correction));
    }
}

}  // namespace GNSS
