// The record of a fix: what is known of it is attached, what is not is null, and a copy keeps what it had.
#include <iostream>

#include "gnss/gnss.h"

int main() {
    GNSS::Position fix(GNSS::Geog(GNSS::Latitude(55.5), GNSS::Longitude(8.44), 61.8), GNSS::Spheroid::WGS84);
    fix.SetGPSTime(GNSS::GPSTime(2110, 475200.0));
    fix.SetSolutionMode("Norvi DGPS+GLO", 2, 3, GNSS::Position::SolutionMode::Settled);
    const GNSS::Position sent = fix;

    GNSS::Position::StatusInfo info;
    info.AddStation(1, 810, 240.5).SetSVStatus(GNSS::PRN(12), GNSS::Position::StatusInfo::Used);
    info.SetUsage(1, Corvane::Time(1.2), 1, GNSS::Position::StatusInfo::Norvi, true);
    fix.SetStatusInfo(info);

    std::cout << fix.GetSolutionMode()->GetTrimmedName(0) << " by station " << fix.GetStatusInfo()->GetCompositeID()
              << ", " << fix.GetCoord()->GetECEF().GetX() << " m\n"
              << (sent.GetStatusInfo() == nullptr ? "the one that was sent knows of no station\n" : "");
}
