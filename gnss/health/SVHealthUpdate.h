// GNSS::SVHealth::Update: one change to the health of one satellite, as modules tell it each other.
#pragma once

#include <cstdint>

#include "gnss/health/SVHealth.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"

namespace GNSS {

// A plain value.
class GNSS_EXPORT SVHealth::Update {
public:
    // Under which updates travel on the host's links: "SVHealth Update".
    static const Corvane::Type Type;

    enum Mode : std::int32_t {
        Enable = 0,
        Disable = 1,
        AlmanacHealth = 2,    // a new health word of the almanac
        EphemerisHealth = 3,  // a new health word of the broadcast ephemeris
        Unknown = 4,          // changes nothing
    };

    // Of mode Unknown, for the null PRN.
    Update() = default;
    // `health` counts in the two health modes only.
    Update(Mode mode, const PRN& prn, int health) { Set(mode, prn, health); }
    Update(Mode mode, const Glonass::Slot& slot, int health) { Set(mode, slot, health); }

    // Overwrites everything.
    void Set(Mode mode, const PRN& prn, int health);
    void Set(Mode mode, const Glonass::Slot& slot, int health);

    [[nodiscard]] Mode GetMode() const { return mode_; }
    // Null in a GLONASS update.
    [[nodiscard]] const PRN& GetPRN() const { return prn_; }
    // Null in a GPS update.
    [[nodiscard]] const Glonass::Slot& GetSlot() const { return slot_; }
    [[nodiscard]] std::int32_t GetHealth() const { return health_; }
    [[nodiscard]] bool IsGPS() const { return !glonass_; }
    [[nodiscard]] bool IsGlonass() const { return glonass_; }

    // For logs and lists: "GPS Enabled 12", "Glonass Almanac 5 1", "GPS Unknown".
    [[nodiscard]] Corvane::String GetDesc() const;

    friend bool operator==(const Update&, const Update&) = default;

private:
    PRN prn_;
    Glonass::Slot slot_;
    std::int32_t health_ = 0;
    Mode mode_ = Unknown;
    bool glonass_ = false;
};

}  // namespace GNSS
