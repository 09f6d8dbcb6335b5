// Coordinates are computed without allocating.
#include <gtest/gtest.h>

#include "gnss/geodesy/GridCovar.h"
#include "gnss/geodesy/HelmertShift.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/QGeog.h"
#include "gnss/geodesy/Spheroid.h"
#include "tests/support/CountingNew.h"

TEST(GeodesyAllocation, None) {
    using GNSS::Spheroid;
    const Corvane::Matrix covariance(4, 4, {4, 1, 0, 0, 1, 4, 0, 0, 0, 0, 9, 0, 0, 0, 0, 1});
    const long before = tests::CountAllocations();
    GNSS::ECEF ecef;
    GNSS::Geog geog(GNSS::Latitude(52.0), GNSS::Longitude(4.0), 100.0);
    Spheroid::WGS84.GeogToECEF(geog, ecef);
    GNSS::Glonass::PE90_to_WGS84.Forward(ecef, ecef);
    Spheroid::WGS84.ECEFToGeog(ecef, geog);
    const GNSS::LocalGrid grid(geog, Spheroid::WGS84);
    const double range = grid.GetGridPolar(ecef).GetRange() + geog.ApproxKM(GNSS::Geog());
    GNSS::Grid::Covar covar;
    const bool isTurned = grid.GetGridCovarFromECEF(covariance, covar);
    GNSS::QGeog filtered;
    filtered.Add(geog, covar, 0.0);
    filtered.Add(geog, covar, 1.0);
    const long after = tests::CountAllocations();
    EXPECT_EQ(after - before, 0);
    EXPECT_TRUE(isTurned && filtered.IsValid() && range > 0.0);
}
