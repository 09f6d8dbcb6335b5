// Reads a position as people write it, and shows it earth-centred, and in the other frame.
#include <iostream>
#include <sstream>

#include "gnss/geodesy/HelmertShift.h"
#include "gnss/geodesy/Spheroid.h"

int main() {
    std::istringstream text("52,22,26.4 N 4,53,22.9 E");
    GNSS::Latitude latitude;
    GNSS::Longitude longitude;
    latitude.ScanFrom(text);
    longitude.ScanFrom(text);
    GNSS::ECEF pz90;
    GNSS::Spheroid::PZ90.GeogToECEF(GNSS::Geog(latitude, longitude, 43.0), pz90);
    GNSS::ECEF wgs84;
    GNSS::Glonass::PE90_to_WGS84.Forward(pz90, wgs84);
    GNSS::Geog geog;
    GNSS::Spheroid::WGS84.ECEFToGeog(wgs84, geog);
    std::cout << "PZ-90  " << latitude.Print(3).ToUTF8() << ", " << longitude.Print(3).ToUTF8() << '\n'
              << "WGS 84 " << geog.GetLatitude().Print(3).ToUTF8() << ", " << geog.GetLongitude().Print(3).ToUTF8()
              << '\n';
}
