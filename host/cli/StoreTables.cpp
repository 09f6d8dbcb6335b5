#include "host/cli/StoreTables.h"

#include <cmath>
#include <string>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/time/GloTime.h"
#include "host/cli/RowTable.h"
#include "host/text/TimeText.h"

namespace Host {

using GNSS::Almanac;
using GNSS::GPSTime;

namespace {

constexpr int TimeWidth = 19;

// A row that keeps its texts until it is written.
class Row {
public:
    explicit Row(RowTable& table) : table_(table) { texts_.reserve(MostTexts); }
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;
    ~Row() { table_.Write(cells_); }

    Row& Text(std::string text) {
        texts_.push_back(std::move(text));
        return Add(std::string_view(texts_.back()));
    }
    Row& Time(const GPSTime& time) { return Text(PrintTime(time)); }
    template <typename Id>
    Row& Satellite(const Id& id) {
        return Text(id.Print().str());
    }
    Row& Whole(std::int64_t value) { return Add(value); }
    Row& Add(const Cell& cell) {
        cells_.push_back(cell);
        return *this;
    }

private:
    static constexpr std::size_t MostTexts = 4;  // more would move the first

    RowTable& table_;
    std::vector<std::string> texts_;
    std::vector<Cell> cells_;
};

void WriteAlmanacs(const Almanac& almanac, Form form, Sink& sink) {
    RowTable gps("GPS almanac", nullptr, form,
                 {{"GPS almanac", "", 11, 0, true},
                  {"health", "", 6},
                  {"time", "GPST", TimeWidth, 0, true},
                  {"toa", "GPST", TimeWidth, 0, true},
                  {"e", "", 10, 7},
                  {"i", "deg", 9, 4},
                  {"sqrtA", "m^0.5", 10, 4},
                  {"af0", "us", 9, 3},
                  {"af1", "ns/s", 8, 5}},
                 sink);
    for (int i = 0; i < almanac.NmrSV(); ++i) {
        const Almanac::SV& sv = almanac.GetSV(i);
        Row row(gps);
        row.Satellite(sv.prn).Whole(sv.health).Time(sv.time).Time(sv.toa).Add(sv.e).Add(sv.i.Degrees()).Add(sv.sqrtA);
        row.Add(sv.af0 * 1e6).Add(sv.af1 * 1e9);
    }
    RowTable glonass("GLONASS almanac", nullptr, form,
                     {{"GLONASS almanac", "", 15, 0, true},
                      {"channel", "", 7},
                      {"health", "", 6},
                      {"time", "GPST", TimeWidth, 0, true},
                      {"day", "", 5},
                      {"t lambda", "s", 10, 2},
                      {"lambda", "deg", 10, 4},
                      {"e", "", 10, 7},
                      {"i", "deg", 9, 4},
                      {"tau", "us", 9, 3}},
                     sink);
    for (int i = 0; i < almanac.NmrGlonassSV(); ++i) {
        const Almanac::GlonassSV& sv = almanac.GetGlonassSV(i);
        Row row(glonass);
        row.Satellite(sv.slot).Whole(sv.channel).Whole(sv.health).Time(sv.time).Whole(sv.day).Add(sv.TLambda);
        row.Add(sv.Lambda.Degrees()).Add(sv.Eccent).Add(sv.GetInclination().Degrees()).Add(sv.TauN * 1e6);
    }
}

// Of its newest record: the issue, as other commands number it, and the reference time of the orbit.
std::int64_t Issue(const GNSS::GPSEphemeride& record) {
    return record.posn.IODE;
}
std::int64_t Issue(const GNSS::Glonass::Ephemeride& record) {
    return std::llround(record.posn.tb / 900.0);
}
GPSTime OrbitTime(const GNSS::GPSEphemeride& record) {
    return record.GetTOE();
}
GPSTime OrbitTime(const GNSS::Glonass::Ephemeride& record) {
    return record.reference + Corvane::Time(record.GetReferenceTime() - GNSS::GloTime(record.reference));
}
int Health(const GNSS::GPSEphemeride& record) {
    return record.status.GetHealth();
}
int Health(const GNSS::Glonass::Ephemeride& record) {
    return record.status.Get(GNSS::Glonass::Ephemeride::Status::Health);
}

template <typename System>
void WriteEphemerides(const StoreWatch::Held<System>& held, const std::optional<GPSTime>& now, RowTable& table) {
    using Id = GNSS::SatelliteId<System>;
    if (!held.history) return;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        const auto* sv = held.history->FindSV(number);
        if (sv == nullptr) continue;
        const auto& record = *sv->GetEphem(0);
        const GPSTime orbit = OrbitTime(record);
        Row row(table);
        row.Satellite(Id(number)).Whole(Issue(record)).Time(record.reference).Time(orbit);
        row.Add(now ? Cell((*now - orbit).Seconds()) : Cell()).Whole(Health(record)).Add(record.status.IsHealthy());
        row.Whole(sv->NmrEphem());
    }
}

void WriteParameters(const Almanac& almanac, Form form, Sink& sink) {
    constexpr int Digits = -6;
    RowTable iono("ionosphere", nullptr, form,
                  {{"ionosphere", "GPST", TimeWidth, 0, true},
                   {"alpha0", "s", 13, Digits},
                   {"alpha1", "s/sc", 13, Digits},
                   {"alpha2", "s/sc2", 13, Digits},
                   {"alpha3", "s/sc3", 13, Digits},
                   {"beta0", "s", 13, Digits},
                   {"beta1", "s/sc", 13, Digits},
                   {"beta2", "s/sc2", 13, Digits},
                   {"beta3", "s/sc3", 13, Digits}},
                  sink);
    {
        const Almanac::Iono& record = almanac.GetIono();
        Row row(iono);
        row.Time(record.time).Add(record.alpha0).Add(record.alpha1).Add(record.alpha2).Add(record.alpha3);
        row.Add(record.beta0).Add(record.beta1).Add(record.beta2).Add(record.beta3);
    }
    RowTable table("UTC", nullptr, form,
                   {{"UTC", "GPST", TimeWidth, 0, true},
                    {"reference", "GPST", TimeWidth, 0, true},
                    {"A0", "ns", 10, 4},
                    {"A1", "ns/d", 10, 4},
                    {"leap", "s", 4},
                    {"leap week", "", 9},
                    {"leap day", "", 8},
                    {"leap after", "s", 10}},
                   sink);
    const Almanac::UTC& utc = almanac.GetUTC();
    Row row(table);
    row.Time(utc.time).Time(GPSTime(utc.WNt, utc.Tot)).Add(utc.A0 * 1e9).Add(utc.A1 * 1e9 * GPSTime::SecsInDay);
    row.Whole(utc.DtLS).Whole(utc.WNLSF).Whole(utc.DN).Whole(utc.DtLSF);
}

template <typename System>
void WriteAges(const GNSS::DataAge<System>& ages, RowTable& table) {
    using Id = GNSS::SatelliteId<System>;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        const int index = ages.FindSV(number);
        if (index < 0) continue;
        const auto issue = [](auto value) { return value < 0 ? Cell() : Cell(std::llround(value)); };
        Row row(table);
        row.Satellite(Id(number)).Add(issue(ages[index].GetCurrent())).Add(issue(ages[index].GetPrevious()));
    }
}

template <typename Id>
void WriteHealth(const GNSS::SVHealth& health, const Id& id, RowTable& table) {
    const auto word = [](bool has, std::int32_t value) { return has ? Cell(std::int64_t{value}) : Cell(); };
    Row row(table);
    row.Satellite(id).Add(health.IsEnabled()).Add(word(health.HasEphemeris(), health.GetEphemeris()));
    row.Add(word(health.HasAlmanac(), health.GetAlmanac())).Add(health.IsHealthy());
}

}  // namespace

void WriteStores(const StoreWatch& watch, const std::optional<GPSTime>& now, Form form, Sink& sink) {
    const auto almanac = watch.GetAlmanac();
    if (almanac) WriteAlmanacs(*almanac, form, sink);
    {
        RowTable table("ephemeris", nullptr, form,
                       {{"ephemeris", "", 9, 0, true},
                        {"issue", "", 5},
                        {"reference", "GPST", TimeWidth, 0, true},
                        {"toe or tb", "GPST", TimeWidth, 0, true},
                        {"age", "s", 9, 1},
                        {"health", "", 6},
                        {"healthy", "", 7},
                        {"depth", "", 5}},
                       sink);
        WriteEphemerides(watch.GPS(), now, table);
        WriteEphemerides(watch.Glonass(), now, table);
    }
    if (almanac) WriteParameters(*almanac, form, sink);
    {
        RowTable table("data age", nullptr, form,
                       {{"data age", "", 8, 0, true}, {"current", "", 7}, {"previous", "", 8}}, sink);
        WriteAges(watch.GPS().ages, table);
        WriteAges(watch.Glonass().ages, table);
    }
    RowTable table(
        "health", nullptr, form,
        {{"health", "", 6, 0, true}, {"enabled", "", 7}, {"ephemeris", "", 9}, {"almanac", "", 7}, {"healthy", "", 7}},
        sink);
    const GNSS::SVHealth::Set& health = watch.GetHealth();
    for (int i = 0; i < health.NmrSV(); ++i) WriteHealth(health.GetSV(i), health.GetSV(i).GetPRN(), table);
    for (int i = 0; i < health.NmrSlot(); ++i) WriteHealth(health.GetSlot(i), health.GetSlot(i).GetSlot(), table);
}

}  // namespace Host
