// Pipeline: a run from its inputs to the published fixes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gnss/platform/Event.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/FixComponent.h"
#include "host/fix/FixInputs.h"
#include "host/receiver/LeapRule.h"
#include "host/run/RunOutput.h"
#include "host/run/RunRequest.h"
#include "host/source/Input.h"
#include "host/source/NavigationPlan.h"
#include "host/stores/StoreTree.h"

namespace Host {

// Several streams are merged by the times that they tell: the one whose next message is earliest goes on; what comes
// before its first time goes at once. Navigation files are fed by NavigationPlan. The process's clock and leap-second
// rule are led along the data's time; each epoch is fixed before the next message is looked at. A time more than
// MaxBack behind is followed when the next one is behind as well: the ephemeris stores are then emptied, for they
// refuse what is older than what they have.
//
// Trouble goes to the event log, under the input's name, and the rest of the data is used.
class Pipeline {
public:
    static constexpr Corvane::Time MaxBack{3600.0};
    using OnProgress = std::function<void(const RunFacts&)>;

    // The outputs must outlive this.
    Pipeline(RunRequest request, std::vector<RunOutput*> outputs);
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    ~Pipeline();

    // Opens the inputs and reads the navigation files. False, with a line for a person, when one of them is of no use
    // or none can hold measurements; nothing has reached the outputs then.
    [[nodiscard]] bool Open(std::string& reason);
    // One more output, before Run.
    void AddOutput(RunOutput& output) { outputs_.push_back(&output); }
    // Asked while an input keeps one waiting: whether the run is to stop. After Open.
    void SetStop(const std::function<bool()>& isStopped);
    // Once, after Open. Empty, or what went wrong with the outputs. Progress is told after each piece.
    [[nodiscard]] std::string Run(const OnProgress& onProgress);

    [[nodiscard]] const RunFacts& GetFacts() const { return facts_; }

private:
    class Feed;
    class Port;
    class Listener;
    class PlanSink;

    [[nodiscard]] bool OpenInput(std::size_t index, std::string& reason);
    [[nodiscard]] std::optional<GNSS::GPSTime> SetDates();
    void LookAhead(const Input& input, const std::optional<GNSS::GPSTime>& date);

    void PlayMerged(const OnProgress& onProgress);
    [[nodiscard]] bool Pump(Feed& feed);
    void OnEvent(const Corvane::Event& event);
    void AdvanceTo(const GNSS::GPSTime& time, Feed& feed);
    void MoveTo(const GNSS::GPSTime& time, int leapSeconds);
    [[nodiscard]] bool IsFollowed(const GNSS::GPSTime& time);
    void TakeEpoch(const GNSS::MeasSet& set, Feed& feed);
    void TakeChannel(const GNSS::Glonass::Slot& slot, int channel);
    [[nodiscard]] bool AreOutputsGood() const;

    RunRequest request_;
    std::vector<RunOutput*> outputs_;
    RunFacts facts_;
    bool hasBegun_ = false;
    std::vector<RunEvent> early_;  // events before the outputs have begun

    LeapRule leaps_;
    StoreTree tree_;
    std::shared_ptr<Port> port_;
    std::shared_ptr<FixComponent> fix_;
    NavigationPlan plan_;
    std::vector<GNSS::Almanac::UTC> utcs_;    // of the headers
    std::vector<GNSS::Almanac::Iono> ionos_;  // of the headers, and looked ahead at
    std::vector<std::unique_ptr<Feed>> feeds_;
    std::optional<GNSS::GPSTime> now_;
    bool wasBehind_ = false;  // the last time that was told
    GlonassChannels channels_;
    bool areChannelsNew_ = false;
    Corvane::Event::SinkID sink_ = 0;
};

}  // namespace Host
