#include "gnss/display/EphemerisView.h"

#include <array>

#include "gnss/display/HistoryViewRows.h"

namespace GNSS {

namespace {

using RecordRows::Cell;
using RecordRows::Degrees;
using RecordRows::Real;
using RecordRows::Whole;

using Item = RecordRows::Item<GPSEphemeride>;
using Status = GPSEphemeride::Status;

// A status word, if the record has been given it.
Cell Given(const Item& e, Status::Flag flag, const Cell& cell) {
    return e->status.IsValid(flag) ? cell : Cell();
}

double Age(const Item& e) {
    return (e.now - e->GetTOE()).Seconds();
}

// Last bits: IS-GPS-200, tables 20-I and 20-III.
constexpr auto Rows = std::to_array<RecordRows::Row<GPSEphemeride>>({
    {"Health", "", "", [](const Item& e) { return RecordRows::Health(e->status.IsHealthy()); }},
    {"Validity", "", "", [](const Item& e) { return RecordRows::Validity(e->IsTooOld(e.now), Age(e)); }},
    {"Age since reference time", "t - toe", "min", [](const Item& e) { return RecordRows::Minutes(Age(e)); }},
    {"Records held", "", "", [](const Item& e) { return Whole(e.nmrHeld); }, true},
    {"Issue of data, ephemeris", "IODE", "", [](const Item& e) { return Whole(e->posn.IODE); }},
    {"Issue of data, clock", "IODC", "", [](const Item& e) { return Whole(e->clock.IODC); }},
    {"Week of reference time", "WN", "week", [](const Item& e) { return Whole(e->GetTOE().GetWeek()); }},
    {"Reference time of ephemeris", "toe", "s", [](const Item& e) { return Real(e->posn.toe, 1.0); }},
    {"Reference time of clock", "toc", "s", [](const Item& e) { return Real(e->clock.toc, 1.0); }},
    {"Health word", "", "", [](const Item& e) { return Given(e, Status::Health, Whole(e->status.GetHealth())); }},
    {"User range accuracy index", "URA", "",
     [](const Item& e) { return Given(e, Status::Accuracy, Whole(e->status.GetURA())); }},
    {"Fit interval", "", "h", [](const Item& e) { return Given(e, Status::CurveFit, Whole(e->status.GetCurveFit())); }},
    {"Codes on L2", "", "", [](const Item& e) { return Given(e, Status::L2Codes, Whole(e->status.GetL2Codes())); }},
    {"L2 P data flag", "", "", [](const Item& e) { return Given(e, Status::L2PData, Whole(e->status.HasL2PData())); },
     true},
    {"Root of semi-major axis", "sqrt(A)", "m^1/2", [](const Item& e) { return Real(e->posn.sqrtA, 0x1p-19); }},
    {"Eccentricity", "e", "", [](const Item& e) { return Real(e->posn.e, 0x1p-33); }},
    {"Inclination", "i0", "deg", [](const Item& e) { return Degrees(e->posn.i0, 0x1p-31); }},
    {"Longitude of ascending node", "Omega0", "deg", [](const Item& e) { return Degrees(e->posn.Omega0, 0x1p-31); }},
    {"Argument of perigee", "omega", "deg", [](const Item& e) { return Degrees(e->posn.omega, 0x1p-31); }},
    {"Mean anomaly", "M0", "deg", [](const Item& e) { return Degrees(e->posn.M0, 0x1p-31); }, true},
    {"Correction to mean motion", "Delta n", "deg/s",
     [](const Item& e) { return Degrees(e->posn.deltaN, 0x1p-43, -9); }},
    {"Rate of right ascension", "OmegaDot", "deg/s",
     [](const Item& e) { return Degrees(e->posn.OmegaDot, 0x1p-43, -9); }},
    {"Rate of inclination", "IDOT", "deg/s", [](const Item& e) { return Degrees(e->posn.IDOT, 0x1p-43, -9); }, true},
    {"Radius correction, cosine", "Crc", "m", [](const Item& e) { return Real(e->posn.Crc, 0x1p-5); }},
    {"Radius correction, sine", "Crs", "m", [](const Item& e) { return Real(e->posn.Crs, 0x1p-5); }},
    {"Latitude correction, cosine", "Cuc", "rad",
     [](const Item& e) { return Real(e->posn.Cuc.Radians(), 0x1p-29, -6); }},
    {"Latitude correction, sine", "Cus", "rad", [](const Item& e) { return Real(e->posn.Cus.Radians(), 0x1p-29, -6); }},
    {"Inclination correction, cosine", "Cic", "rad",
     [](const Item& e) { return Real(e->posn.Cic.Radians(), 0x1p-29, -6); }},
    {"Inclination correction, sine", "Cis", "rad",
     [](const Item& e) { return Real(e->posn.Cis.Radians(), 0x1p-29, -6); }, true},
    {"Clock offset", "af0", "s", [](const Item& e) { return Real(e->clock.af0, 0x1p-31, -6); }},
    {"Clock drift", "af1", "s/s", [](const Item& e) { return Real(e->clock.af1, 0x1p-43, -12); }},
    {"Clock drift rate", "af2", "s/s^2", [](const Item& e) { return Real(e->clock.af2, 0x1p-55, -15); }},
    {"Group delay", "TGD", "s", [](const Item& e) { return Real(e->clock.Tgd, 0x1p-31, -9); }},
});

}  // namespace

template <>
const char* HistoryViewRows<GPSSystem>::Name() {
    return "GPS";
}

template <>
std::span<const RecordRows::Row<GPSEphemeride>> HistoryViewRows<GPSSystem>::Get() {
    return Rows;
}

template <>
bool HistoryViewRows<GPSSystem>::IsTooOld(const GPSEphemeride& record, const GPSTime& now) {
    return record.IsTooOld(now);
}

}  // namespace GNSS
