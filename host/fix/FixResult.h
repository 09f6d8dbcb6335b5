// FixResult: one position fix with everything that the program shows of it.
#pragma once

#include <optional>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/geodesy/GridCovar.h"
#include "gnss/position/Constellation.h"
#include "gnss/position/DOP.h"
#include "gnss/position/UKOOA.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/FixSatellite.h"
#include "host/fix/FixSolver.h"
#include "host/fix/FixVelocity.h"

namespace Host {

// What the statistics say of the fix as a whole.
enum class FixTest : std::uint8_t {
    None,             // no fix
    Passed,           // F-test and every w-test
    Failed,           // one of them failed, and nothing could be rejected any more
    NotTestable,      // no redundancy
    NotIdentifiable,  // passed with a redundancy of 1: a fault would have been seen, but not been placed
};
[[nodiscard]] const char* Name(FixTest test);

struct FixResult {
    GNSS::GPSTime time;
    bool valid = false;
    FixFailure failure = FixFailure::None;
    FixTest test = FixTest::None;

    // Of a valid fix; WGS 84.
    GNSS::ECEF ecef;
    GNSS::Geog geog;
    GNSS::Grid::Covar covar;                       // east, north, up, m2
    std::optional<double> clockGPS, clockGlonass;  // receiver minus system time, m
    GNSS::DOP dop;                                 // of the satellites used
    GNSS::UKOOA ukooa;
    double fLimit = 0.0;  // of the unit variance
    double wLimit = 0.0;  // of |w|
    // The largest |w| of the ranges and the height that took part; no row for none that is testable.
    double maxW = 0.0;
    int maxWRow = -1;
    Velocity velocity;
    bool usedIonosphere = false;
    bool heightAided = false;
    bool heightRejected = false;

    // All satellites measured, with what each had to do with the fix. Those with a place in the sky are in the
    // constellation.
    std::vector<FixSatellite> satellites;
    GNSS::Constellation constellation;
    // By system, GPS first: measured, used, rejected.
    struct Count {
        int tracked = 0;
        int used = 0;
        int rejected = 0;
    };
    Count gps, glonass;

    [[nodiscard]] int NmrUsed() const { return gps.used + glonass.used; }
    [[nodiscard]] int NmrRejected() const { return gps.rejected + glonass.rejected; }
    // The satellite of a row of the adjustment; null for the height and outside.
    [[nodiscard]] const FixSatellite* FindRow(int row) const;
};

}  // namespace Host
