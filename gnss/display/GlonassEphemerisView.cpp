#include "gnss/display/GlonassEphemerisView.h"

#include <array>

#include "gnss/display/HistoryViewRows.h"
#include "gnss/time/GloTime.h"

namespace GNSS {

namespace {

using Glonass::Ephemeride;
using RecordRows::Cell;
using RecordRows::Real;
using RecordRows::Whole;

using Item = RecordRows::Item<Ephemeride>;
using Status = Ephemeride::Status;

// A status word, if the record has been given it.
Cell Given(const Item& e, Status::Word word) {
    const int bit = 1 << (word - 1);
    return (e->status.Get(Status::Present) & bit) != 0 ? Whole(e->status.Get(word)) : Cell();
}

// The interval in which the calculator takes the newest record; it takes the one before for longer.
bool IsTooOld(const Ephemeride& record, const GPSTime& now) {
    return record.IsTooOld(now, false);
}

double Age(const Item& e) {
    return GloTime(e.now) - e->GetReferenceTime();
}

// Navigation files need not say whether it is a GLONASS-M satellite: what tells that tells one of P1 to P4 too.
Cell IsM(const Item& e) {
    constexpr int AllOfP = 2 | 4 | 8 | 16;
    if (e->m.isM) return RecordRows::Word("Yes");
    return (e->status.Get(Status::Present) & AllOfP) != 0 ? RecordRows::Word("No") : Cell();
}

// Zero, which stands for 1 m, is said by GLONASS-M satellites only.
Cell AccuracyIndex(const Item& e) {
    return e->m.isM || e->m.accuracyIndex != 0 ? Whole(e->m.accuracyIndex) : Cell();
}

// Last bits: GLONASS interface control document, edition 5.1, table 4.5.
constexpr double PosnBit = 0x1p-11;
constexpr double VelyBit = 0x1p-20;
constexpr double AccelBit = 0x1p-30;

constexpr auto Rows = std::to_array<RecordRows::Row<Ephemeride>>({
    {"Health", "", "", [](const Item& e) { return RecordRows::Health(e->status.IsHealthy()); }},
    {"Validity", "", "", [](const Item& e) { return RecordRows::Validity(IsTooOld(e.record, e.now), Age(e)); }},
    {"Age since reference time", "t - tb", "min", [](const Item& e) { return RecordRows::Minutes(Age(e)); }},
    {"Age since reception", "", "min",
     [](const Item& e) {
         return e->reference == GPSTime::Zero ? Cell() : RecordRows::Minutes((e.now - e->reference).Seconds());
     }},
    {"Records held", "", "", [](const Item& e) { return Whole(e.nmrHeld); }, true},
    {"Day of four-year interval", "N_T", "d", [](const Item& e) { return Whole(e->posn.day); }},
    {"Reference time (Moscow)", "tb", "s", [](const Item& e) { return Real(e->posn.tb, 1.0); }},
    {"Time of frame (Moscow)", "t_k", "s", [](const Item& e) { return Real(e->posn.frameTime, 1.0); }},
    {"Sequence within tb", "", "",
     [](const Item& e) { return e->posn.sequence < 0 ? Cell() : Whole(e->posn.sequence); }},
    {"Health word", "B_n", "", [](const Item& e) { return Given(e, Status::Health); }},
    {"Interval between tb", "P1", "min", [](const Item& e) { return Given(e, Status::P1); }},
    {"Oddness of tb", "P2", "", [](const Item& e) { return Given(e, Status::P2); }},
    {"Five almanacs in frame", "P3", "", [](const Item& e) { return Given(e, Status::P3); }},
    {"Ephemeris updated", "P4", "", [](const Item& e) { return Given(e, Status::P4); }},
    {"GLONASS-M satellite", "M", "", IsM},
    {"Age of immediate data", "E_n", "d", [](const Item& e) { return Whole(e->m.age); }},
    {"Accuracy index", "F_T", "", AccuracyIndex},
    {"Accuracy", "", "m",
     [](const Item& e) { return e->accuracy == Ephemeride::UnknownAccuracy ? Cell() : Real(e->accuracy, 0.1); }, true},
    {"Position", "x", "km", [](const Item& e) { return Real(e->posn.posn.GetX(), PosnBit); }},
    {"Position", "y", "km", [](const Item& e) { return Real(e->posn.posn.GetY(), PosnBit); }},
    {"Position", "z", "km", [](const Item& e) { return Real(e->posn.posn.GetZ(), PosnBit); }},
    {"Velocity", "vx", "km/s", [](const Item& e) { return Real(e->posn.vely.GetX(), VelyBit); }},
    {"Velocity", "vy", "km/s", [](const Item& e) { return Real(e->posn.vely.GetY(), VelyBit); }},
    {"Velocity", "vz", "km/s", [](const Item& e) { return Real(e->posn.vely.GetZ(), VelyBit); }},
    {"Lunisolar acceleration", "ax", "km/s^2", [](const Item& e) { return Real(e->posn.accel.GetX(), AccelBit, -9); }},
    {"Lunisolar acceleration", "ay", "km/s^2", [](const Item& e) { return Real(e->posn.accel.GetY(), AccelBit, -9); }},
    {"Lunisolar acceleration", "az", "km/s^2", [](const Item& e) { return Real(e->posn.accel.GetZ(), AccelBit, -9); },
     true},
    {"Clock correction", "tau_n", "s", [](const Item& e) { return Real(e->clock.tau, 0x1p-30, -6); }},
    {"Relative frequency offset", "gamma_n", "", [](const Item& e) { return Real(e->clock.gamma, 0x1p-40, -12); }},
});

}  // namespace

template <>
const char* HistoryViewRows<GlonassSystem>::Name() {
    return "GLONASS";
}

template <>
std::span<const RecordRows::Row<Ephemeride>> HistoryViewRows<GlonassSystem>::Get() {
    return Rows;
}

template <>
bool HistoryViewRows<GlonassSystem>::IsTooOld(const Ephemeride& record, const GPSTime& now) {
    return GNSS::IsTooOld(record, now);
}

}  // namespace GNSS
