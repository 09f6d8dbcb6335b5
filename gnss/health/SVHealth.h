// GNSS::SVHealth: whether one satellite may be used.
#pragma once

#include <cstdint>

#include "gnss/platform/Export.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// What is known of the health of one GPS or GLONASS satellite: whether the user has enabled it, and the last health
// words that the almanac and its own ephemeris gave. A plain value.
class GNSS_EXPORT SVHealth {
public:
    class Update;
    class Set;

    // The health word of a message that has not been received.
    static constexpr std::int32_t None = -1;

    // Enabled, with no health word received.
    explicit constexpr SVHealth(const PRN& prn) : prn_(prn) {}
    explicit constexpr SVHealth(const Glonass::Slot& slot) : slot_(slot), glonass_(true) {}

    // Null in a GLONASS record.
    [[nodiscard]] const PRN& GetPRN() const { return prn_; }
    // Null in a GPS record.
    [[nodiscard]] const Glonass::Slot& GetSlot() const { return slot_; }
    [[nodiscard]] bool IsGPS() const { return !glonass_; }
    [[nodiscard]] bool IsGlonass() const { return glonass_; }

    [[nodiscard]] bool IsEnabled() const { return enabled_; }
    void SetIsEnabled(bool enabled) { enabled_ = enabled; }

    // The health word of the broadcast ephemeris (GPS: the 6 bits of subframe 1; GLONASS: the 3 bits of B_n).
    [[nodiscard]] std::int32_t GetEphemeris() const { return ephemeris_; }
    void SetEphemeris(int health) { ephemeris_ = health; }
    [[nodiscard]] bool HasEphemeris() const { return ephemeris_ > None; }

    // The health word of the almanac (GPS: the satellite health of the almanac page; GLONASS: C_n).
    [[nodiscard]] std::int32_t GetAlmanac() const { return almanac_; }
    void SetAlmanac(int health) { almanac_ = health; }
    [[nodiscard]] bool HasAlmanac() const { return almanac_ > None; }

    // What the ephemeris says or, without one, the almanac; false when neither has been received.
    // GPS (IS-GPS-200, 20.3.3.3.1.4 and 20.3.3.5.1.3): healthy when no bit of the word is set.
    // GLONASS (ICD 5.1, 4.4 and 4.5): unhealthy when the most significant of the three bits of the ephemeris is set;
    // the almanac's flag has the opposite sense, 1 is healthy.
    [[nodiscard]] bool IsHealthy() const {
        if (glonass_) {
            if (ephemeris_ != None) return (ephemeris_ & 4) == 0;
            return almanac_ != None && (almanac_ & 1) != 0;
        }
        return (ephemeris_ != None ? ephemeris_ : almanac_) == 0;
    }
    [[nodiscard]] bool IsEnabledAndHealthy() const { return enabled_ && IsHealthy(); }

    // Applies an update, whichever satellite it names: the caller has chosen the record. Whether a value changed.
    bool Refresh(const Update& update);

    friend constexpr bool operator==(const SVHealth&, const SVHealth&) = default;

private:
    PRN prn_;
    Glonass::Slot slot_;
    bool enabled_ = true;
    std::int32_t ephemeris_ = None;
    std::int32_t almanac_ = None;
    bool glonass_ = false;
};

}  // namespace GNSS
