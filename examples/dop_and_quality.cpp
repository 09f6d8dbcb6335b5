// How well the satellites of a fix stand, and which of its ranges is in error.
#include <array>
#include <iostream>

#include "gnss/geodesy/Spheroid.h"
#include "gnss/position/Constellation.h"
#include "gnss/position/DOP.h"
#include "gnss/position/UKOOADesc.h"
#include "gnss/position/UKOOAResid.h"

int main() {
    const GNSS::LocalGrid grid(GNSS::Geog(GNSS::Latitude(55.5), GNSS::Longitude(8.5), 60.0), GNSS::Spheroid::WGS84);
    GNSS::Constellation sky;
    GNSS::UKOOA::Desc::List descs;
    Corvane::LLSq adjustment(4);  // earth-centred coordinates and the receiver clock, metres
    for (int i = 0; i < 7; ++i) {
        const GNSS::PRN prn(3 * i + 2);
        const auto elevation = Corvane::Angle::FromDegrees(15.0 + (i * 29) % 70);
        const auto azimuth = Corvane::Angle::FromDegrees(137.5 * i);
        sky.Add(prn, elevation, azimuth, GNSS::Constellation::HealthyGPS, false);
        const auto sight = grid.GetECEFDelta(GNSS::Grid::Delta(GNSS::Grid::Polar(elevation, azimuth, 1.0)));
        const double error = i == 4 ? 15.0 : 0.4 * (i % 3 - 1);
        adjustment.AddObs(std::array{-sight.GetX(), -sight.GetY(), -sight.GetZ(), 1.0}, error, 1.0);
        descs.emplace_back(GNSS::UKOOA::Desc::UnCorrID, prn);
    }
    const GNSS::DOP dop(sky, false, false);
    std::cout << "PDOP " << dop.GetPDOP() << ", HDOP " << dop.GetHDOP() << ", VDOP " << dop.GetVDOP() << '\n';

    if (!adjustment.Solve()) return 1;
    GNSS::UKOOA quality;
    quality.Set(descs, adjustment.GetStats(), grid, adjustment.GetCovar(), 0);
    std::cout << "F-test " << (quality.FTestFailed() ? "failed" : "passed") << ", an error of " << quality.GetIntRel()
              << " m would be found, one that is not moves the fix by up to " << quality.GetExtRel3D().value << " m\n";
    for (int i = 0; i < quality.NmrResid(); ++i) {
        const GNSS::UKOOA::Resid& resid = quality.GetResid(i);
        std::cout << resid.GetDesc().GetPRN().Print() << ": residual " << resid.GetResidual() << " m, w "
                  << resid.GetStandardised() << (resid.WTestFailed() ? ", failed\n" : "\n");
    }
}
