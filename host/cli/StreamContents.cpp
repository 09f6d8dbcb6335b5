#include "host/cli/StreamContents.h"

#include <algorithm>
#include <cmath>

namespace Host {

using GNSS::Almanac;
using GNSS::GPSEphemeride;
using GNSS::GPSTime;
using GNSS::Glonass::Ephemeride;

namespace {

constexpr const char* GPSEphemerides = "GPS ephemeris";
constexpr const char* GlonassEphemerides = "GLONASS ephemeris";
constexpr const char* GPSAlmanacs = "GPS almanac";
constexpr const char* GlonassAlmanacs = "GLONASS almanac";
constexpr const char* Ionosphere = "ionosphere";
constexpr const char* UTCs = "UTC";

double Seconds(const GPSTime& time) {
    return (time - GPSTime::Zero).Seconds();
}

}  // namespace

void StreamContents::Span::Extend(const GPSTime& time) {
    first = std::min(first.value_or(time), time);
    last = std::max(last.value_or(time), time);
}

void StreamContents::TakeTime(const GPSTime& time) {
    told_.Extend(time);
    // Before what is dated by it.
    leaps_.SetFor(time, maker_.GetClock().GetLeapSeconds(time));
}

void StreamContents::OnTime(const GPSTime& time) {
    const auto& before = maker_.GetClock().GetTime();
    if (before && !jump_ && std::abs((time - *before).Seconds()) > GPSTime::SecsInDay) jump_ = {*before, time};
    TakeTime(time);
    maker_.OnTime(time);
}

void StreamContents::Hear() {
    if (const auto& now = maker_.GetClock().GetTime()) heard_.Extend(*now);
}

void StreamContents::OnSubframe(const GPSSubframe& subframe) {
    Hear();
    if (subframe.prn.IsValid()) ++satellites_[{'G', subframe.prn}].subframes;
    maker_.OnSubframe(subframe);
}

void StreamContents::OnString(const GlonassString& string) {
    Hear();
    if (string.slot.IsValid()) ++satellites_[{'R', string.slot}].strings;
    maker_.OnString(string);
}

template <typename Set>
void StreamContents::CountMeasured(char system, const Set& set) {
    for (int i = 0; i < set.NmrSV(); ++i) {
        const auto& sv = set.GetSV(i);
        if (sv.NmrMeas() > 0) ++satellites_[{system, int{sv.GetId()}}].epochs;
    }
}

void StreamContents::OnMeasurements(const GNSS::MeasSet& set) {
    ++nmrEpochs_;
    heard_.Extend(set.GetGPSTime());
    CountMeasured('G', set.GetGPS());
    CountMeasured('R', set.GetGlonass());
}

void StreamContents::CountRecord(const char* kind, int satellite, double a, double b) {
    Records& records = records_[kind];
    ++records.nmr;
    if (seen_.emplace(kind, satellite, a, b).second) ++records.different;
}

void StreamContents::OnRecord(const GPSEphemeride& record) {
    ++satellites_[{'G', record.prn}].ephemerides;
    CountRecord(GPSEphemerides, record.prn, Seconds(record.GetTOE()), record.clock.IODC);
    if (take_) take_(FieldsOf(record));
}

void StreamContents::OnRecord(const Ephemeride& record, std::optional<int> channel) {
    ++satellites_[{'R', record.slot}].ephemerides;
    CountRecord(GlonassEphemerides, record.slot, record.posn.day, record.posn.tb);
    if (take_) take_(FieldsOf(record, channel));
}

void StreamContents::OnRecord(const Almanac::SV& record) {
    ++satellites_[{'G', record.prn}].almanacs;
    CountRecord(GPSAlmanacs, record.prn, Seconds(record.toa), 0.0);
    if (take_) take_(FieldsOf(record));
}

void StreamContents::OnRecord(const Almanac::GlonassSV& record) {
    ++satellites_[{'R', record.slot}].almanacs;
    CountRecord(GlonassAlmanacs, record.slot, record.day, record.TLambda);
    if (take_) take_(FieldsOf(record));
}

void StreamContents::OnRecord(const Almanac::Iono& record) {
    CountRecord(Ionosphere, 0, record.alpha0, record.beta0);
    if (take_) take_(FieldsOf(record));
}

void StreamContents::OnRecord(const Almanac::UTC& record) {
    CountRecord(UTCs, 0, record.A0, record.WNt * GPSTime::SecsInWeek + record.Tot);
    if (take_) take_(FieldsOf(record));
}

}  // namespace Host
