// Where a GPS satellite stands in the sky of Esbjerg, by its almanac.
#include <iostream>

#include "gnss/almanac/AlmanacSV.h"
#include "gnss/geodesy/LocalGrid.h"

int main() {
    GNSS::Almanac::SV satellite;
    satellite.prn = 16;
    satellite.toa.SetTo(2111, 405504.0);
    satellite.sqrtA = 5153.6;
    satellite.e = 0.0125;
    satellite.i = Corvane::Angle::FromDegrees(55.4);
    satellite.Omega0 = Corvane::Angle::FromDegrees(298.0);
    satellite.M0 = Corvane::Angle::FromDegrees(90.0);
    satellite.OmegaDot = Corvane::Angle(-7.9e-9);

    const GNSS::Geog esbjerg(GNSS::Latitude(55.4936), GNSS::Longitude(8.4568), 60.0);
    const GNSS::LocalGrid grid(esbjerg, GNSS::Spheroid::WGS84);
    for (int hour = 0; hour < 6; ++hour) {
        const GNSS::GPSTime t(2111, 388800.0 + hour * 3600.0);
        GNSS::ECEF posn;
        satellite.CalculatePosn(t, posn);
        const GNSS::Grid::Polar seen = grid.GetGridPolar(posn);
        std::cout << t.GetTimeDate().Print(0).str() << ": elevation " << seen.GetElevation().Degrees() << ", azimuth "
                  << seen.GetAzimuth().Degrees() << " degrees\n";
    }
}
