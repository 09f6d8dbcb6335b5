// A library whose static initialisers use every class constant of GNSS while the libraries are being loaded, as an
// application's own modules do. LoadTest loads it, asks what it saw, and unloads it.
#include <iostream>

#include "gnss/gnss.h"

namespace {

int faults = 0;

void Expect(bool right, const char* what) {
    if (right) return;
    ++faults;
    std::cerr << "while loading: " << what << '\n';
}

// Runs when the library is loaded.
const bool checked = [] {
    using namespace GNSS;
    Expect(GPSTime::SecsInWeek == 604800.0 && GPSTime::HalfSecsInWeek == 302400.0 && GPSTime::SecsInDay == 86400.0,
           "GPSTime's seconds");
    Expect(GPSTime::Start == Corvane::Date(1980, 1, 6) && GPSTime::Zero == GPSTime(0, 0.0), "GPSTime's start");
    Expect(GPSTime::LeapChange() == 1.0, "the built-in leap-second rule");
    Expect(PRN::First == 1 && PRN::Last == 32 && PRN::Null.IsNull() && PRN::Min == 1 && PRN::Max == 32, "PRN");
    Expect(Glonass::Slot::First == 1 && Glonass::Slot::Last == 24 && Glonass::Slot::Null.IsNull(), "Glonass::Slot");
    Expect(GPSFreqy::CA.GetName() == "CA" && GPSFreqy::L1.GetName() == "L1" && GPSFreqy::L2.GetName() == "L2" &&
               GPSFreqy::Description::L2.GetFrequency() == 1.2276e9,
           "GPSFreqy");
    Expect(Glonass::Frequency::CA.GetName() == "CA" && Glonass::Frequency::L1.GetName() == "L1" &&
               Glonass::Frequency::L2.GetFrequency() == 1.246e9,
           "Glonass::Frequency");
    Expect(Spheroid::WGS84.GetName() == "WGS 84" && Spheroid::PZ90.GetName() == "PZ 90", "Spheroid");
    ECEF shifted;
    Glonass::PE90_to_WGS84.Forward(ECEF(0.0, 0.0, 0.0), shifted);
    Expect(shifted == ECEF(0.0, 0.0, 1.0), "Glonass::PE90_to_WGS84");
    Glonass::NovatelShift.Forward(ECEF(0.0, 0.0, 0.0), shifted);
    Expect(shifted == ECEF(0.0, 2.5, 0.0), "Glonass::NovatelShift");
    Glonass::ZeroShift.Forward(ECEF(1.0, 2.0, 3.0), shifted);
    Expect(shifted == ECEF(1.0, 2.0, 3.0), "Glonass::ZeroShift");
    Expect(Almanac::Iono().CalculateDelay(GPSTime::Zero, Latitude(40.0), Longitude(260.0), Corvane::Angle::Right,
                                          Corvane::Angle::Zero) > 1.0,
           "Almanac::Iono");
    Expect(GPSEphemeride::EarthRate.Radians() == 7.2921151467e-5 && Glonass::Ephemeride::UnknownAccuracy == 1000001.0,
           "the ephemerides' constants");
    Expect(MeasSet::Type == Corvane::Type("MeasSet"), "MeasSet::Type");
    Expect(Position::SolutionMode::MaxName == "Norvi DGPS+GLO (Settling)" &&
               Position(Geog(), Spheroid::WGS84).FindAttribute(Position::Coord::ID) == 0 &&
               Position::SimpleAttrib<DOP>::ID != Position::SimpleAttrib<UKOOA>::ID,
           "Position's identifiers");
    return true;
}();

}  // namespace

// What the static initialisers found wrong; -1 when they have not run.
extern "C" __attribute__((visibility("default"))) int NmrFaults() {
    return checked ? faults : -1;
}
