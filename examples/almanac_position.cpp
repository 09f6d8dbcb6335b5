// Where the almanac of 25 April 2025 puts GPS satellite 1 in the following hours, and the date in UTC.
#include <iomanip>
#include <iostream>

#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"

int main() {
    GNSS::Almanac::SV sv;
    sv.prn = 1;
    sv.toa = GNSS::GPSTime(2363, 589824.0);
    sv.e = 4.959106445e-04;
    sv.i = Corvane::Angle::FromSemiCircles(0.3 + 5.447387695e-03);
    sv.OmegaDot = Corvane::Angle::FromSemiCircles(-2.542947186e-09);
    sv.sqrtA = 5153.6796875;
    sv.Omega0 = Corvane::Angle::FromSemiCircles(0.7933305502);
    sv.w = Corvane::Angle::FromSemiCircles(0.03776383400);
    sv.M0 = Corvane::Angle::FromSemiCircles(-0.8541887999);
    GNSS::Almanac::UTC utc;
    utc.DtLSF = 18;  // as since 2017

    for (int hour = 0; hour <= 4; ++hour) {
        const GNSS::GPSTime t(2363, 455900.0 + hour * 3600.0);
        GNSS::ECEF posn;
        sv.CalculatePosn(t, posn);
        std::cout << sv.prn.Print() << "  " << utc.CalcUTC(t).Print(0) << " UTC" << std::fixed << std::setprecision(0)
                  << std::setw(12) << posn.GetX() / 1000 << std::setw(8) << posn.GetY() / 1000 << std::setw(8)
                  << posn.GetZ() / 1000 << " km\n";
    }
}
