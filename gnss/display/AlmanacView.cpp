#include "gnss/display/AlmanacView.h"

#include <array>
#include <span>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/display/RecordRows.h"
#include "gnss/store/GNSSLink.h"
#include "gnss/time/GloTime.h"

namespace GNSS {

using Corvane::String;

namespace {

using RecordRows::Cell;
using RecordRows::DaysSince;
using RecordRows::Degrees;
using RecordRows::Health;
using RecordRows::Item;
using RecordRows::Real;
using RecordRows::Row;
using RecordRows::Whole;
using RecordRows::Word;

// Of the updates that travel under the same type, those that a store has accepted.
constexpr const char* StoreOutputs = "Almanac";

// Last bits: IS-GPS-200, table 20-VI.
using SV = Item<Almanac::SV>;
constexpr auto GPSRows = std::to_array<Row<Almanac::SV>>({
    {"Health", "", "", [](const SV& sv) { return Health(sv->health == 0); }},
    {"Age since reference time", "t - toa", "d", [](const SV& sv) { return DaysSince(sv->toa, sv.now); }},
    {"Age since reception", "", "d", [](const SV& sv) { return DaysSince(sv->time, sv.now); }, true},
    {"Health word", "", "", [](const SV& sv) { return Whole(sv->health); }},
    {"Reference week", "WNa", "week", [](const SV& sv) { return Whole(sv->toa.GetWeek()); }},
    {"Reference time", "toa", "s", [](const SV& sv) { return Real(sv->toa.GetSeconds(), 1.0); }, true},
    {"Root of semi-major axis", "sqrt(A)", "m^1/2", [](const SV& sv) { return Real(sv->sqrtA, 0x1p-11); }},
    {"Eccentricity", "e", "", [](const SV& sv) { return Real(sv->e, 0x1p-21); }},
    {"Inclination", "i", "deg", [](const SV& sv) { return Degrees(sv->i, 0x1p-19); }},
    {"Longitude of ascending node", "Omega0", "deg", [](const SV& sv) { return Degrees(sv->Omega0, 0x1p-23); }},
    {"Rate of right ascension", "OmegaDot", "deg/s", [](const SV& sv) { return Degrees(sv->OmegaDot, 0x1p-38, -9); }},
    {"Argument of perigee", "omega", "deg", [](const SV& sv) { return Degrees(sv->w, 0x1p-23); }},
    {"Mean anomaly", "M0", "deg", [](const SV& sv) { return Degrees(sv->M0, 0x1p-23); }, true},
    {"Clock offset", "af0", "s", [](const SV& sv) { return Real(sv->af0, 0x1p-20, -6); }},
    {"Clock drift", "af1", "s/s", [](const SV& sv) { return Real(sv->af1, 0x1p-38, -12); }},
});

// Last bits: GLONASS interface control document, edition 5.1, table 4.9.
using GlonassSV = Item<Almanac::GlonassSV>;
constexpr auto GlonassRows = std::to_array<Row<Almanac::GlonassSV>>({
    {"Health", "", "", [](const GlonassSV& sv) { return Health(sv->health == 1); }},
    {"Age since node crossing", "t - t_lambda", "d",
     [](const GlonassSV& sv) { return sv->day == 0 ? Cell() : RecordRows::Days(GloTime(sv.now) - sv->GetEpoch()); }},
    {"Age since reception", "", "d", [](const GlonassSV& sv) { return DaysSince(sv->time, sv.now); }, true},
    {"Health flag", "C_n", "", [](const GlonassSV& sv) { return Whole(sv->health); }},
    {"Frequency channel", "H_n", "", [](const GlonassSV& sv) { return Whole(sv->channel); }},
    {"Day of four-year interval", "N_A", "d", [](const GlonassSV& sv) { return Whole(sv->day); }},
    {"Time of ascending node", "t_lambda", "s", [](const GlonassSV& sv) { return Real(sv->TLambda, 0x1p-5); }, true},
    {"Longitude of ascending node", "lambda", "deg", [](const GlonassSV& sv) { return Degrees(sv->Lambda, 0x1p-20); }},
    {"Correction to inclination", "delta i", "deg", [](const GlonassSV& sv) { return Degrees(sv->Di, 0x1p-20); }},
    {"Eccentricity", "epsilon", "", [](const GlonassSV& sv) { return Real(sv->Eccent, 0x1p-20); }},
    {"Argument of perigee", "omega", "deg", [](const GlonassSV& sv) { return Degrees(sv->W, 0x1p-15); }},
    {"Correction to draconic period", "delta T", "s", [](const GlonassSV& sv) { return Real(sv->DDrac, 0x1p-9); }},
    {"Rate of draconic period", "delta T dot", "s/rev^2",
     [](const GlonassSV& sv) { return Real(sv->DDracDot, 0x1p-14); }, true},
    {"Clock correction", "tau_n", "s", [](const GlonassSV& sv) { return Real(sv->TauN, 0x1p-18, -6); }},
});

// What a fresh almanac has, which nobody has received.
template <typename Record>
bool IsBuiltIn(const Record& record) {
    return record == Record();
}

// Last bits: IS-GPS-200, tables 20-X and 20-IX.
using Iono = Item<Almanac::Iono>;
constexpr auto IonoRows = std::to_array<Row<Almanac::Iono>>({
    {"Source", "", "", [](const Iono& i) { return Word(IsBuiltIn(i.record) ? "Built-in" : "Broadcast"); }},
    {"Age since reception", "", "d",
     [](const Iono& i) { return IsBuiltIn(i.record) ? Cell() : DaysSince(i->time, i.now); }, true},
    {"Amplitude", "alpha0", "s", [](const Iono& i) { return Real(i->alpha0, 0x1p-30, -9); }},
    {"Amplitude", "alpha1", "s/semicircle", [](const Iono& i) { return Real(i->alpha1, 0x1p-27, -9); }},
    {"Amplitude", "alpha2", "s/semicircle^2", [](const Iono& i) { return Real(i->alpha2, 0x1p-24, -9); }},
    {"Amplitude", "alpha3", "s/semicircle^3", [](const Iono& i) { return Real(i->alpha3, 0x1p-24, -9); }},
    {"Period", "beta0", "s", [](const Iono& i) { return Real(i->beta0, 0x1p11); }},
    {"Period", "beta1", "s/semicircle", [](const Iono& i) { return Real(i->beta1, 0x1p14); }},
    {"Period", "beta2", "s/semicircle^2", [](const Iono& i) { return Real(i->beta2, 0x1p16); }},
    {"Period", "beta3", "s/semicircle^3", [](const Iono& i) { return Real(i->beta3, 0x1p16); }},
});

using UTC = Item<Almanac::UTC>;
constexpr auto UTCRows = std::to_array<Row<Almanac::UTC>>({
    {"Source", "", "", [](const UTC& u) { return Word(IsBuiltIn(u.record) ? "Built-in" : "Broadcast"); }},
    {"Age since reception", "", "d",
     [](const UTC& u) { return IsBuiltIn(u.record) ? Cell() : DaysSince(u->time, u.now); }, true},
    {"UTC offset without leap seconds", "A0", "s", [](const UTC& u) { return Real(u->A0, 0x1p-30, -9); }},
    {"Drift of UTC offset", "A1", "s/s", [](const UTC& u) { return Real(u->A1, 0x1p-50, -15); }},
    {"Reference week", "WNt", "week", [](const UTC& u) { return Whole(u->WNt); }},
    {"Reference time", "tot", "s", [](const UTC& u) { return Real(u->Tot, 1.0); }},
    {"Leap seconds before event", "DtLS", "s", [](const UTC& u) { return Whole(u->DtLS); }},
    {"Week of event", "WNLSF", "week", [](const UTC& u) { return Whole(u->WNLSF); }},
    {"Day of event", "DN", "d", [](const UTC& u) { return Whole(u->DN); }},
    {"Leap seconds after event", "DtLSF", "s", [](const UTC& u) { return Whole(u->DtLSF); }},
});

String Title(const char* system, int nmr) {
    const String nmrText = nmr == 0 ? "no" : String::FormatInt(nmr);
    return system + (" almanac: " + nmrText) + (nmr == 1 ? " satellite" : " satellites");
}

template <typename Record, std::size_t Size>
RecordTable SingleTable(const char* title, const std::array<Row<Record>, Size>& rows, const Record& record,
                        const GPSTime& now) {
    RecordTable table = RecordRows::NewTable<Record>(title, rows);
    RecordRows::AddRecord<Record>(table, rows, "Value", {record, now});
    return table;
}

}  // namespace

const Corvane::Ident AlmanacView::ID("Almanac View");

AlmanacView::AlmanacView()
    : RecordView(ID, true),
      almanacInput_(*this, GNSSLink::AlmanacType, &AlmanacView::OnAlmanac, StoreOutputs),
      updateInput_(*this, GNSSLink::AlmanacUpdateType, &AlmanacView::OnUpdate, StoreOutputs),
      calculatorInput_(*this, GNSSLink::AlmanacCalcType, &AlmanacView::OnCalculator, StoreOutputs) {}

AlmanacView::~AlmanacView() = default;

void AlmanacView::SetAlmanac(const Almanac& almanac) {
    Almanac old = almanac;  // the one before is destroyed outside the lock
    {
        const std::lock_guard lock(mutex_);
        std::swap(almanac_, old);
    }
    Invalidate();
}

Almanac AlmanacView::GetAlmanac() const {
    const std::lock_guard lock(mutex_);
    return almanac_;
}

void AlmanacView::Look() {
    if (const auto almanac = almanacInput_.Get()) SetAlmanac(*almanac);
}

std::vector<RecordTable> AlmanacView::MakeTables(const GPSTime& now, bool withGlonass) const {
    const Almanac almanac = GetAlmanac();
    std::vector<RecordTable> tables;
    tables.push_back(RecordRows::NewTable<Almanac::SV>(Title("GPS", almanac.NmrSV()), GPSRows));
    for (int i = 0; i < almanac.NmrSV(); ++i) {
        const auto& sv = almanac.GetSV(i);
        RecordRows::AddRecord<Almanac::SV>(tables.back(), GPSRows, sv.prn.Print(), {sv, now});
    }
    if (withGlonass) {
        tables.push_back(
            RecordRows::NewTable<Almanac::GlonassSV>(Title("GLONASS", almanac.NmrGlonassSV()), GlonassRows));
        for (int i = 0; i < almanac.NmrGlonassSV(); ++i) {
            const auto& sv = almanac.GetGlonassSV(i);
            RecordRows::AddRecord<Almanac::GlonassSV>(tables.back(), GlonassRows, sv.slot.Print(), {sv, now});
        }
    }
    tables.push_back(SingleTable("Ionosphere", IonoRows, almanac.GetIono(), now));
    tables.push_back(SingleTable("UTC", UTCRows, almanac.GetUTC(), now));
    return tables;
}

}  // namespace GNSS
