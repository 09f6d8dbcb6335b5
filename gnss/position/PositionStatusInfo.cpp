#include "gnss/position/PositionStatusInfo.h"

#include <limits>
#include <utility>

#include "gnss/platform/Number.h"
#include "gnss/position/PositionStation.h"

namespace GNSS {

using Corvane::Time;

namespace {

// Where the station of an identifier stands or would stand.
template <typename Stations>
auto FindPlace(Stations& stations, int ident) {
    return std::lower_bound(stations.begin(), stations.end(), ident,
                            [](const auto& station, int number) { return station->GetIdent() < number; });
}

}  // namespace

Position::StatusInfo::StatusInfo() = default;
Position::StatusInfo::StatusInfo(StatusInfo&& other) noexcept = default;
Position::StatusInfo& Position::StatusInfo::operator=(StatusInfo&& other) noexcept = default;
Position::StatusInfo::~StatusInfo() = default;

Position::StatusInfo::StatusInfo(const StatusInfo& other)
    : usedStations_(other.usedStations_),
      gpsLatency_(other.gpsLatency_),
      compositeID_(other.compositeID_),
      mode_(other.mode_),
      glonassLatency_(other.glonassLatency_),
      hasGlonassLatency_(other.hasGlonassLatency_),
      gps_(other.gps_),
      glonass_(other.glonass_) {
    stations_.reserve(other.stations_.size());
    for (const auto& station : other.stations_) stations_.push_back(std::make_unique<Station>(*station));
}

Position::StatusInfo& Position::StatusInfo::operator=(const StatusInfo& other) {
    return *this = StatusInfo(other);
}

void Position::StatusInfo::Reset() {
    *this = StatusInfo();
}

Position::StatusInfo::Station& Position::StatusInfo::AddStation(int ident, int rtcmID, double baselineKM) {
    const auto place = FindPlace(stations_, ident);
    if (place != stations_.end() && (*place)->GetIdent() == ident) return **place;
    return **stations_.insert(place, std::make_unique<Station>(ident, rtcmID, baselineKM));
}

void Position::StatusInfo::SetUsage(int ident, Time latency, int count, Mode mode, bool used) {
    const auto place = FindPlace(stations_, ident);
    if (place == stations_.end() || (*place)->GetIdent() != ident) return;
    mode_ = mode;
    Station& station = **place;
    station.used_ = used;
    station.latency_ = latency;
    station.count_ = count;
    if (!used) return;
    if (usedStations_ == 0 || latency.Compare(gpsLatency_) < 0) gpsLatency_ = latency;
    compositeID_ = ComposeID(station);
    usedStations_ = Corvane::Saturate(std::int64_t{usedStations_} + 1);
}

void Position::StatusInfo::SetUsage(int ident, Time latency, Time glonassLatency, int count, Mode mode, bool used) {
    SetUsage(ident, latency, count, mode, used);
    glonassLatency_ = glonassLatency;
    hasGlonassLatency_ = true;
}

std::int32_t Position::StatusInfo::ComposeID(const Station& station) const {
    if (usedStations_ == 0) return station.GetRTCMID();
    const std::int64_t nmr = std::int64_t{usedStations_} + 1;
    if (IsElkan()) return Corvane::Saturate(nmr + 100);
    return Corvane::Saturate(nmr + (IsMorra() ? 10000 : 1000));
}

Time Position::StatusInfo::GetLatency() const {
    if (!hasGlonassLatency_) return gpsLatency_;
    return gpsLatency_.Compare(glonassLatency_) < 0 ? gpsLatency_ : glonassLatency_;
}

int Position::StatusInfo::NmrStation() const {
    return static_cast<int>(stations_.size());
}

const Position::StatusInfo::Station& Position::StatusInfo::GetStation(int index) const {
    static const Station none(0, 0, std::numeric_limits<double>::quiet_NaN());
    return index >= 0 && index < NmrStation() ? *stations_[static_cast<std::size_t>(index)] : none;
}

const Position::StatusInfo::Station* Position::StatusInfo::Find(int ident) const {
    const auto place = FindPlace(stations_, ident);
    return place != stations_.end() && (*place)->GetIdent() == ident ? place->get() : nullptr;
}

const Position::StatusInfo::Station* Position::StatusInfo::FindRTCMID(int rtcmID) const {
    for (const auto& station : stations_) {
        if (station->GetRTCMID() == rtcmID) return station.get();
    }
    return nullptr;
}

Position::StatusInfo::Status Position::StatusInfo::GetSVStatus(const PRN& prn) const {
    return gps_.GetSVStatus(prn);
}

Position::StatusInfo::Status Position::StatusInfo::GetSVStatus(const Glonass::Slot& slot) const {
    return glonass_.GetSVStatus(slot);
}

void Position::StatusInfo::SetSVStatus(const PRN& prn, Status status) {
    gps_.SetSVStatus(prn, status);
}

void Position::StatusInfo::SetSVStatus(const Glonass::Slot& slot, Status status) {
    glonass_.SetSVStatus(slot, status);
}

}  // namespace GNSS
