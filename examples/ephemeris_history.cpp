// A satellite's history takes a record once, and a calculator answers from the history that is in force.
#include <iostream>
#include <memory>

#include "gnss/ephemeris/GlonassEphemeris.h"

int main() {
    GNSS::Glonass::Ephemeride record;
    record.slot = 7;
    record.reference.SetTo(1525, 299715.0);
    record.posn.day = GNSS::GloTime(record.reference).GetDay();
    record.posn.tb = GNSS::GloTime(record.reference).GetSeconds();
    record.posn.posn = {7003.008789, -12206.626953, 21280.765625};
    record.posn.vely = {0.7835417, 2.8042530, 1.3525150};
    GNSS::Glonass::Ephemeris history;
    std::cout << "taken: " << history.Update(record) << ", again: " << history.Update(record) << '\n';

    GNSS::Glonass::EphemerisCalc calc;
    calc.SetImplementation(std::make_shared<const GNSS::Glonass::Ephemeris>(history));
    GNSS::Glonass::Ephemeride::Result result;
    if (!calc.CalculateHealthyPosn(7, record.reference + Corvane::Time(300.0), result)) return 1;
    std::cout << "five minutes later it is " << result.posn.Radius() / 1000 << " km from the earth's centre\n";
}
