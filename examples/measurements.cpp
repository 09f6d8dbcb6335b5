// An epoch of GPS measurements, of which only the ranges are in use, and the ionospheric delay from two signals.
#include <iostream>

#include "gnss/measurement/MeasAvail.h"

int main() {
    GNSS::GPSMeas::Set gps(GNSS::GPSTime(2111, 345600.0));
    GNSS::GPSMeas l1(GNSS::GPSFreqy::L1), l2(GNSS::GPSFreqy::L2);
    l1.SetRange({22123456.7, 0.3});
    l1.SetDoppler({-1234.5, 0.1});
    l2.SetRange({22123461.2, 0.4});
    for (const GNSS::GPSMeas& meas : {l1, l2}) gps.AddMeas(GNSS::PRN(5), meas);

    GNSS::MeasSet set(gps);  // shares the measurements until one of the two is changed
    GNSS::MeasAvail avail;
    if (!avail.Parse("GPS L1 R, L2 R")) return 1;
    avail.Apply(set);
    Corvane::QValue delay;
    if (!set.GetGPS().GetSV(0).CalcIonoDelay(delay, false, false)) return 1;
    std::cout << avail.Print() << "\nDelay " << delay.Value() << " m, standard deviation " << delay.Quality() << " m\n";
}
