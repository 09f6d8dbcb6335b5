// Where Utrecht's cathedral tower stands as seen from the church of Our Lady in Amersfoort, 20 km away.
#include <iostream>

#include "gnss/geodesy/LocalGrid.h"

int main() {
    const GNSS::Geog amersfoort(GNSS::Latitude(52, 9, 18.6, 'N'), GNSS::Longitude(5, 23, 13.9, 'E'), 45.0);
    const GNSS::Geog utrecht(GNSS::Latitude(52, 5, 26.6, 'N'), GNSS::Longitude(5, 7, 17.3, 'E'), 45.0);
    const GNSS::LocalGrid grid(amersfoort, GNSS::Spheroid::WGS84);
    const GNSS::Grid::Delta delta = grid.GetGridDelta(utrecht);
    const GNSS::Grid::Polar polar(delta);
    std::cout << "east " << delta.GetEast() << " m, north " << delta.GetNorth() << " m, up " << delta.GetHeight()
              << " m\nazimuth " << polar.GetAzimuth().Degrees() << " degrees, elevation "
              << polar.GetElevation().Degrees() << " degrees, " << polar.GetRange() << " m\n";
}
