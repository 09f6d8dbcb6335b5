// FixInputs: what a position fix takes from the stores.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>

#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/ephemeris/GPSEphemerisCalc.h"
#include "gnss/ephemeris/GlonassEphemerisCalc.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/health/SVHealthSet.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// The frequency channels of the GLONASS satellites, by slot.
class GlonassChannels {
public:
    static constexpr int Min = -7;
    static constexpr int Max = 6;

    [[nodiscard]] std::optional<int> Get(const GNSS::Glonass::Slot& slot) const {
        const std::int8_t channel = channels_[static_cast<std::size_t>(int{slot})];
        return channel == Unknown ? std::nullopt : std::optional<int>(channel);
    }
    // Whether this is new. Nothing for a null slot or a channel that there is not.
    bool Set(const GNSS::Glonass::Slot& slot, int channel) {
        if (slot.IsNull() || channel < Min || channel > Max) return false;
        std::int8_t& place = channels_[static_cast<std::size_t>(int{slot})];
        if (place == channel) return false;
        place = static_cast<std::int8_t>(channel);
        return true;
    }

private:
    static constexpr std::int8_t Unknown = 127;
    static constexpr std::size_t NmrPlaces = static_cast<std::size_t>(GNSS::Glonass::Slot::Max) + 1;
    std::array<std::int8_t, NmrPlaces> channels_ = [] {
        std::array<std::int8_t, NmrPlaces> all{};
        all.fill(Unknown);
        return all;
    }();
};

// Differential corrections, by whoever receives them. Nothing in the program does so yet: this is where they enter.
class FixCorrections {
public:
    struct Correction {
        double range = 0.0;  // m, to be added to the measured range, brought to the time asked for
        double age = 0.0;    // s, since it was worked out
    };

    virtual ~FixCorrections() = default;
    // Of a satellite (PRN or slot) at a time, for ranges that go with this issue of data (GPS: IODE; GLONASS: tb, s of
    // the Moscow day). Nothing when there is none, or none for the issue.
    [[nodiscard]] virtual std::optional<Correction> Find(bool glonass, int number, int issue,
                                                         const GNSS::GPSTime& t) const = 0;

protected:
    FixCorrections() = default;
    FixCorrections(const FixCorrections&) = default;
    FixCorrections& operator=(const FixCorrections&) = default;
};

struct FixInputs {
    GNSS::GPSEphemerisCalc gps;
    GNSS::Glonass::EphemerisCalc glonass;
    // For the ionosphere and, where GlonassChannels does not know it, the channel's effect on it; null for none.
    std::shared_ptr<const GNSS::Almanac::Calculator> almanac;
    bool hasIonosphere = false;  // the almanac's coefficients have been received
    // A satellite without a record counts as enabled, its health as its ephemeris says.
    GNSS::SVHealth::Set health;
    GlonassChannels channels;
    // Null for none; a satellite without a correction is used as it is.
    std::shared_ptr<const FixCorrections> corrections;
};

}  // namespace Host
