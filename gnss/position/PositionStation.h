// GNSS::Position::StatusInfo::Station: one reference station of a differential fix.
#pragma once

#include <cstdint>

#include "gnss/platform/Export.h"
#include "gnss/platform/Time.h"
#include "gnss/position/PositionStatusInfo.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// Made by StatusInfo::AddStation, told of its use by StatusInfo::SetUsage; its status, and those of its satellites, are
// set here. All numbers are as given. It can be copied but not
// assigned, since its place in the list is by its identifier.
class GNSS_EXPORT Position::StatusInfo::Station {
public:
    // Not in use, without corrections. The baseline, in kilometres, is from the fix to the station; NaN and what is not
    // below RangeKMLimit is out of range.
    Station(int ident, int rtcmID, double baselineKM)
        : ident_(ident), rtcmID_(rtcmID), baselineKM_(baselineKM), withinRange_(baselineKM < RangeKMLimit) {}
    Station(const Station&) = default;
    Station& operator=(const Station&) = delete;
    ~Station() = default;

    // The host's number of the station.
    [[nodiscard]] int GetIdent() const { return ident_; }
    // The number in its messages, 0 to 1023 by RTCM SC-104 version 2 and to 4095 by version 3.
    [[nodiscard]] int GetRTCMID() const { return rtcmID_; }
    [[nodiscard]] double GetBaselineKM() const { return baselineKM_; }
    [[nodiscard]] bool IsWithinRange() const { return withinRange_; }

    // As told by SetUsage last: whether the fix used it, the age of its GPS corrections, and the count.
    [[nodiscard]] bool IsUsed() const { return used_; }
    [[nodiscard]] Corvane::Time GetGPSLatency() const { return latency_; }
    [[nodiscard]] int GetUsageCount() const { return count_; }

    [[nodiscard]] Status GetStatus() const { return status_; }
    void SetStatus(Status status) { status_ = status; }

    // How each satellite's corrections from this station stand. Setting a null satellite does nothing.
    [[nodiscard]] Status GetSVStatus(const PRN& prn) const { return gps_.GetSVStatus(prn); }
    [[nodiscard]] Status GetSVStatus(const Glonass::Slot& slot) const { return glonass_.GetSVStatus(slot); }
    void SetSVStatus(const PRN& prn, Status status) { gps_.SetSVStatus(prn, status); }
    void SetSVStatus(const Glonass::Slot& slot, Status status) { glonass_.SetSVStatus(slot, status); }
    // How many satellites have a status, and all of them.
    [[nodiscard]] int NmrSV() const { return gps_.NmrSV(); }
    [[nodiscard]] int NmrGlonassSV() const { return glonass_.NmrSV(); }
    [[nodiscard]] const SV::List& GetSVs() const { return gps_; }
    [[nodiscard]] const GloSV::List& GetGlonassSVs() const { return glonass_; }

private:
    friend class StatusInfo;

    std::int32_t ident_;
    std::int32_t rtcmID_;
    double baselineKM_;
    bool used_ = false;
    bool withinRange_;
    Corvane::Time latency_;
    std::int32_t count_ = 0;
    Status status_ = NoCorrections;
    SV::List gps_;
    GloSV::List glonass_;
};

}  // namespace GNSS
