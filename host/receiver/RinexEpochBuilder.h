// RinexEpochBuilder: the measurements of an epoch of a RINEX observation file, satellite by satellite. For
// RinexObservation only.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "gnss/measurement/MeasSet.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"
#include "host/receiver/RinexEpochLine.h"
#include "host/receiver/RinexObservationPlan.h"

namespace Host {

// Remembers of each signal what tells whether its next phase has slipped; see RinexObservationDecoder.
class RinexEpochBuilder {
public:
    enum class Outcome : std::uint8_t {
        Taken,
        Damaged,   // a column holds what is no value, or the line may have been cut
        Repeated,  // the satellite is there already; left out
        Other,     // of another system, or a number that is none; left out
    };

    RinexEpochBuilder();

    void SetPlan(const RinexObservationPlan& plan) { plan_ = plan; }
    [[nodiscard]] const RinexObservationPlan& GetPlan() const { return plan_; }

    // Begins an epoch, whatever became of the one before.
    void Begin(const GNSS::GPSTime& time, bool isAfterPowerFailure);
    // A line without an end counts only when nothing can be missing there.
    [[nodiscard]] Outcome Add(const RinexSatellite& satellite, std::string_view line, bool hasEnd);
    [[nodiscard]] GNSS::MeasSet TakeSet();
    // Whether phases have slipped is not known until the next.
    void ForgetPhases();

private:
    // What is remembered of a signal's phase.
    struct Carrier {
        bool isKnown = false;
        bool isLost = false;        // the file said so without a phase
        char code = ' ';            // of the phase
        std::int64_t failures = 0;  // of power, before
    };
    using Carriers = std::array<Carrier, 3>;

    template <typename SV>
    [[nodiscard]] bool Read(const RinexObservationPlan::System& plan, std::string_view line, SV& sv,
                            Carriers& carriers) const;

    RinexObservationPlan plan_;
    GNSS::MeasSet set_;
    std::array<std::uint64_t, 2> seen_{};  // satellites of the epoch, a bit for each
    bool isAfterPowerFailure_ = false;
    std::int64_t powerFailures_ = 0;
    // One of each satellite, which keep their memory.
    std::array<GNSS::GPSMeas::SV, GNSS::PRN::Max + 1> gps_;
    std::array<GNSS::Glonass::Measurement::SV, GNSS::Glonass::Slot::Max + 1> glonass_;
    std::array<Carriers, GNSS::PRN::Max + 1> gpsCarriers_{};
    std::array<Carriers, GNSS::Glonass::Slot::Max + 1> glonassCarriers_{};
};

}  // namespace Host
