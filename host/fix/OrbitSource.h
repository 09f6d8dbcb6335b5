// OrbitSource: where the satellites of both systems are, from ephemerides where these hold and else from the almanac.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/HelmertShift.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/LineOfSight.h"
#include "host/receiver/EphemerisSet.h"

namespace Host {

// Which data gave a position.
enum class OrbitOrigin : std::uint8_t { None, Ephemeris, Almanac };
// "none", "ephemeris", "almanac"
[[nodiscard]] const char* Name(OrbitOrigin origin);

// A satellite at a time. Metres, seconds; earth-fixed, GPS in WGS 84, GLONASS in PZ-90 plus the source's shift.
struct OrbitState {
    OrbitOrigin origin = OrbitOrigin::None;
    bool isHealthy = false;  // by the data that gave the position
    int health = 0;          // their health word or flag, in which GPS is well with 0, a GLONASS almanac with 1
    double age = 0.0;        // from toe, tb, toa or the node crossing, s; below zero before it
    GNSS::ECEF posn;
    std::optional<GNSS::ECEF::Delta> vely;  // m/s, of ephemerides only
    double clock = 0.0;                     // satellite minus system time, of ephemerides and GPS almanacs
};

// Files are added first, then Complete; from then on it is only asked, by as many threads as like. The leap-second rule
// in force is that of the time asked for (LeapRule::SetFor), by which GLONASS is right. Questions allocate nothing.
class OrbitSource {
public:
    // Beyond these ages an almanac does not answer any more, in days. A GPS almanac is some degrees off by then
    // (IS-GPS-200 counts on half a year); a GLONASS one is meant for a month.
    static constexpr double MostGPSAlmanacDays = 180.0;
    static constexpr double MostGlonassAlmanacDays = 60.0;

    // Takes a file's records, or what a receiver's stream made in this form.
    void Add(const RinexNavigation& navigation, std::string_view file) { ephemerides_.Add(navigation, file); }
    // Takes the records that are newer than those it has. The process's clock has to stand near the GLONASS records'.
    void Add(const GNSS::Almanac::SV& record) { almanac_.UpdateSV(record); }
    void Add(const GNSS::Almanac::GlonassSV& record) { almanac_.UpdateGlonassSV(record); }
    void Add(const GNSS::Almanac& almanac);
    void Complete();

    // Which ephemeris answers; the nearest unless something else is set.
    void SetSelection(Selection selection) { selection_ = selection; }
    // From PZ-90 to WGS 84; none unless something else is set. It has to outlive this.
    void SetShift(const GNSS::HelmertShift& shift) { shift_ = &shift; }

    [[nodiscard]] const EphemerisSet& GetEphemerides() const { return ephemerides_; }
    [[nodiscard]] const GNSS::Almanac& GetAlmanac() const { return almanac_; }
    // Whether there is any record of a satellite, valid at a time or not.
    [[nodiscard]] bool HasRecords(char system, int number) const;
    // The reference times (toe, tb, toa, dates of GLONASS almanacs) of the first and the last record of all.
    struct Span {
        GNSS::GPSTime first;
        GNSS::GPSTime last;
    };
    [[nodiscard]] std::optional<Span> GetSpan() const;

    // A satellite, G or R and its number, at a system time. By an ephemeris that is valid then, healthy or not; without
    // one by the almanac. Origin None when neither is there, and for other letters and numbers.
    //
    // The library turns GLONASS almanacs with an earth rate of its own, 1e-6 rad/s too fast; here they are turned back,
    // which leaves some kilometres.
    [[nodiscard]] OrbitState Calculate(char system, int number, const GNSS::GPSTime& t) const;

    // Where a satellite is seen from a place, to some millimetres of its position. `state` is the satellite at the time
    // of reception. Nothing when there is no position.
    [[nodiscard]] std::optional<LineOfSight> Look(char system, int number, const GNSS::LocalGrid& place,
                                                  const GNSS::GPSTime& reception, OrbitState& state) const;

private:
    [[nodiscard]] OrbitState ByAlmanac(char system, int number, const GNSS::GPSTime& t) const;

    EphemerisSet ephemerides_;
    GNSS::Almanac almanac_;
    GNSS::Almanac::Calculator calculator_;
    Selection selection_ = Selection::Nearest;
    const GNSS::HelmertShift* shift_ = nullptr;
};

}  // namespace Host
