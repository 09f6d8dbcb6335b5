#include "gnss/position/PositionStatusInfo.h"

#include <limits>
#include <utility>

#include "gnss/platform/Number.h"
#include "gnss/position/PositionStation.h"

namespace GNSS {

using Corvane::Time;

namespace {

using Stations = std::vector<std::unique_ptr<Position::StatusInfo::Station>>;

// Where the station of an identifier stands or would stand.
Stations::const_iterator FindPlace(const Stations& stations, int ident) {
    return std::lower_bound(stations.begin(), stations.end(), ident,
                            [](const auto& station, int number) { return station->GetIdent() < number; });
}

Position::StatusInfo::Station* FindIdent(const Stations& stations, int ident) {
    const auto place = FindPlace(stations, ident);
    return place != stations.end() && (*place)->GetIdent() == ident ? place->get() : nullptr;
}

Position::StatusInfo::Station* FindNumber(const Stations& stations, int rtcmID) {
    const auto place = std::find_if(stations.begin(), stations.end(),
                                    [rtcmID](const auto& station) { return station->GetRTCMID() == rtcmID; });
    return place != stations.end() ? place->get() : nullptr;
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
    if (Station* station = Find(ident); station != nullptr) return *station;
    return **stations_.insert(FindPlace(stations_, ident), std::make_unique<Station>(ident, rtcmID, baselineKM));
}

void Position::StatusInfo::SetUsage(int ident, Time latency, int count, Mode mode, bool used) {
    Station* station = Find(ident);
    if (station == nullptr) return;
    mode_ = mode;
    station->used_ = used;
    station->latency_ = latency;
    station->count_ = count;
    if (!used) return;
    if (usedStations_ == 0 || latency.Compare(gpsLatency_) < 0) gpsLatency_ = latency;
    compositeID_ = ComposeID(*station);
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
    return FindIdent(stations_, ident);
}

Position::StatusInfo::Station* Position::StatusInfo::Find(int ident) {
    return FindIdent(stations_, ident);
}

const Position::StatusInfo::Station* Position::StatusInfo::FindRTCMID(int rtcmID) const {
    return FindNumber(stations_, rtcmID);
}

Position::StatusInfo::Station* Position::StatusInfo::FindRTCMID(int rtcmID) {
    return FindNumber(stations_, rtcmID);
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
