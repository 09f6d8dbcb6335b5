// FixComponent: the component that turns each epoch's measurements into a position.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>

#include "gnss/almanac/Almanac.h"
#include "gnss/health/NotesHistory.h"
#include "gnss/health/SVHealthUpdate.h"
#include "gnss/measurement/MeasSet.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/Link.h"
#include "gnss/platform/Response.h"
#include "gnss/position/Position.h"
#include "host/fix/FixInputs.h"
#include "host/fix/FixResult.h"
#include "host/fix/FixSettings.h"
#include "host/fix/MissingSatellites.h"
#include "host/fix/PositionFix.h"

namespace Host {

// A fix as it is published: what the host knows of it, its remarks, and the record for everybody.
struct PublishedFix {
    FixResult result;
    GNSS::Notes notes;
    GNSS::Position position;

    static const Corvane::Type& Type();
};

// Listens to measurement sets, to the calculators that the stores publish, and to health updates: those of the stores
// and the operator's. Each epoch gives, in this order, a Position, a PublishedFix and the history of the notes so far,
// published while it is handled. An epoch that repeats the last one's time or lies before it is left out, with an event
// (of many, one of 1000) and a note; after MaxBackward earlier ones the stream is taken to have begun anew.
class FixComponent : public Corvane::Component {
public:
    static constexpr std::int32_t CycleMS = 100;
    static constexpr const char* Name = "Fix";
    static constexpr int MaxBackward = 10;
    // Epochs further apart than this are remarked on, s, unless they always are: than so much of the steps before.
    static constexpr double Gap = 20.0;
    static constexpr double GapSteps = 1.5;
    // A receiver's clock that jumps by more than this from one epoch to the next, m of range, is remarked on; the drift
    // of a bad oscillator stays below it in seconds.
    static constexpr double ClockJump = 0.5e-3 * 299792458.0;

    explicit FixComponent(const FixSettings& settings);

    // Under which positions travel: "Position".
    static const Corvane::Type& PositionType();
    // A table of GLONASS frequency channels, from whoever decodes them: "GLONASS Channels".
    static const Corvane::Type& ChannelsType();
    // Notes to be added to those of the next epoch, from whoever leads the streams: "Fix Remarks".
    static const Corvane::Type& RemarksType();

    struct Counts {
        std::int64_t epochs = 0;      // handled
        std::int64_t fixes = 0;       // with a position
        std::int64_t repeated = 0;    // left out
        std::int64_t outOfOrder = 0;  // left out
    };
    [[nodiscard]] const Counts& GetCounts() const { return counts_; }
    // Usual seconds from one epoch to the next; 0 while it is not known.
    [[nodiscard]] double GetInterval() const { return std::min(step_, stepBefore_); }
    [[nodiscard]] const FixSettings& GetSettings() const { return fix_.GetSettings(); }
    [[nodiscard]] const GNSS::Notes::History& GetHistory() const { return history_; }

    // The stream begins anew: the next epoch may be of any time.
    void BeginAnew();
    // Forgets positions and notes; the ephemerides are the stores'.
    void Clear() override;

private:
    void OnMeasurements(const GNSS::MeasSet& set);
    void OnHealth(const GNSS::SVHealth::Update& update) { inputs_.health.Refresh(update); }
    void OnAlmanac(const std::shared_ptr<const GNSS::Almanac>& almanac);
    void OnAlmanacUpdate(const GNSS::Almanac::Update& update);
    void OnAlmanacCalculator(const std::shared_ptr<const GNSS::Almanac::Calculator>& calculator) {
        inputs_.almanac = calculator;
    }
    void OnGPSCalculator(const std::shared_ptr<const GNSS::GPSEphemerisCalc>& calculator) { inputs_.gps = *calculator; }
    void OnGlonassCalculator(const std::shared_ptr<const GNSS::Glonass::EphemerisCalc>& calculator) {
        inputs_.glonass = *calculator;
    }
    void OnRemarks(const GNSS::Notes& notes) { remarks_ = notes; }
    void OnChannels(const GlonassChannels& channels) { inputs_.channels = channels; }
    [[nodiscard]] bool IsNext(const GNSS::GPSTime& time);
    void RemarkOnClock(const FixResult& result, GNSS::Notes& notes);

    PositionFix fix_;
    FixInputs inputs_;
    GNSS::Notes::History history_;
    std::optional<GNSS::GPSTime> last_;
    double step_ = 0.0;  // s, between the last two epochs; 0 before there were two
    double stepBefore_ = 0.0;
    MissingSatellites missing_;
    int nmrBackward_ = 0;
    std::optional<double> lastClock_;  // m, at last_
    double lastDrift_ = 0.0;           // m/s
    GNSS::Notes waiting_;              // about epochs that were left out
    GNSS::Notes remarks_;              // of others, about the next one
    Counts counts_;

    Corvane::Response<GNSS::MeasSet> measurements_;
    Corvane::Response<GNSS::SVHealth::Update> health_;
    Corvane::Response<GNSS::Almanac> almanac_;
    Corvane::Response<GNSS::Almanac::Update> almanacUpdate_;
    Corvane::Response<GNSS::Almanac::Calculator> almanacCalculator_;
    Corvane::Response<GNSS::GPSEphemerisCalc> gpsCalculator_;
    Corvane::Response<GNSS::Glonass::EphemerisCalc> glonassCalculator_;
    Corvane::Response<GlonassChannels> channels_;
    Corvane::Response<GNSS::Notes> remarksResponse_;
    Corvane::ManagedLink<GNSS::Position> positionLink_;
    Corvane::ManagedLink<PublishedFix> fixLink_;
    Corvane::ManagedLink<GNSS::Notes::History> historyLink_;
};

}  // namespace Host
