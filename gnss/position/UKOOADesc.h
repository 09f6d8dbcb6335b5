// GNSS::UKOOA::Desc: what one observation of a fix was.
#pragma once

#include <vector>

#include "gnss/position/UKOOA.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// A range to a satellite, corrected by a reference station or not, or the height. The default is no observation.
class UKOOA::Desc {
public:
    // One for each observation of an adjustment, in their order.
    using List = DescList;

    // What a station's identifier, above 0, is not.
    static constexpr int InvalidID = -2;
    static constexpr int HeightID = -1;
    static constexpr int UnCorrID = 0;  // no station corrected the observation

    constexpr Desc() = default;
    constexpr Desc(int stationID, const PRN& prn) : stationID_(stationID), prnBased_(true), prn_(prn) {}
    constexpr Desc(int stationID, const Glonass::Slot& slot) : stationID_(stationID), slot_(slot) {}

    [[nodiscard]] constexpr bool IsValid() const { return stationID_ != InvalidID; }
    [[nodiscard]] constexpr bool IsHeight() const { return stationID_ == HeightID; }
    [[nodiscard]] constexpr bool IsUncorrected() const { return stationID_ == UnCorrID; }
    [[nodiscard]] constexpr bool IsCorrected() const { return stationID_ > UnCorrID; }
    // Of a GPS or of a GLONASS satellite. An invalid description counts as the latter.
    [[nodiscard]] constexpr bool IsPRNBased() const { return !IsHeight() && prnBased_; }
    [[nodiscard]] constexpr bool IsSlotBased() const { return !IsHeight() && !prnBased_; }
    [[nodiscard]] constexpr int GetStationID() const { return stationID_; }
    // Null when the observation is not of such a satellite.
    [[nodiscard]] constexpr const PRN& GetPRN() const { return prn_; }
    [[nodiscard]] constexpr const Glonass::Slot& GetSlot() const { return slot_; }

    // Of the same station and the same satellite, which is compared in the system of this description.
    [[nodiscard]] constexpr bool IsTheSame(const Desc& other) const {
        return stationID_ == other.stationID_ && HasSatelliteOf(other);
    }
    // Both of the height, or neither and of the same satellite, whatever the stations.
    [[nodiscard]] constexpr bool IsTheSameSV(const Desc& other) const {
        if (IsHeight() || other.IsHeight()) return IsHeight() && other.IsHeight();
        return HasSatelliteOf(other);
    }
    friend constexpr bool operator==(const Desc&, const Desc&) = default;

private:
    friend class UKOOA;
    explicit constexpr Desc(int stationID) : stationID_(stationID) {}
    [[nodiscard]] constexpr bool HasSatelliteOf(const Desc& other) const {
        return IsPRNBased() ? prn_ == other.prn_ : slot_ == other.slot_;
    }

    int stationID_ = InvalidID;
    bool prnBased_ = false;
    PRN prn_;
    Glonass::Slot slot_;
};

inline constexpr UKOOA::Desc UKOOA::Height{UKOOA::Desc::HeightID};

}  // namespace GNSS
