// An ephemeris from the words of subframes 1, 2 and 3, as a receiver hands them over (these are made up).
#include <iostream>

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/icd/ICD.h"

int main() {
    unsigned long subframes[3][10] = {
        {0x22C00000, 0x20D02100, 0x00000000, 0x00000000, 0x00000000, 0x00000000, 0x00003A00, 0x0C989C00, 0x003FF880,
         0x0639D600},
        {0x22C00000, 0x20D04200, 0x0CBF5400, 0x0C06C9C0, 0x2B851EC0, 0x3F6C4140, 0x0E3BCD40, 0x03256840, 0x034CCCC0,
         0x189C0000},
        {0x22C00000, 0x20D06300, 0x00102C00, 0x28F5C280, 0x3FF949C0, 0x1566CF40, 0x08280800, 0x0902DE00, 0x3FEA1880,
         0x0C842000},
    };

    GNSS::ICD icd;
    for (auto& words : subframes) {
        int subframe = 0;
        int svId = 0;
        if (icd.AddSubframe(words, subframe, svId) != GNSS::ICD::Ephemeris) continue;
        GNSS::GPSEphemeride ephemeride;
        if (!icd.GetEphemerisData(ephemeride)) continue;
        std::cout << "IODE " << ephemeride.posn.IODE << ", toe " << ephemeride.posn.toe << " s, sqrt A "
                  << ephemeride.posn.sqrtA << " m^0.5, e " << ephemeride.posn.e << ", i "
                  << ephemeride.posn.i0.Degrees() << " degrees, af0 " << ephemeride.clock.af0 << " s\n";
    }
}
