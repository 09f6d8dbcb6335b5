// RunCore: what every run has, of files or live: the components, the clock that leads them, and who hears of it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/measurement/MeasSet.h"
#include "gnss/platform/Event.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GlonassSlot.h"
#include "host/fix/FixComponent.h"
#include "host/fix/FixInputs.h"
#include "host/receiver/LeapRule.h"
#include "host/receiver/RinexNavigation.h"
#include "host/receiver/StreamClock.h"
#include "host/run/FourYearTurn.h"
#include "host/run/RunOutput.h"
#include "host/run/RunRequest.h"
#include "host/run/StandingRemarks.h"
#include "host/source/Input.h"
#include "host/source/NavigationPlan.h"
#include "host/stores/StoreTree.h"
#include "host/text/Satellites.h"

namespace Host {

// To the event log.
void Say(const std::string& source, const std::string& text);
// An input for people: "standard input" for "-".
[[nodiscard]] std::string NameOf(const std::string& path);

// The process's clock and leap-second rule are led along the data's time; each epoch is fixed before the next message
// is looked at. A time more than MaxBack behind is followed when the next one is behind as well: the ephemeris stores
// are then emptied, for they refuse what is older than what they have. Records of navigation files come when their time
// has come, by NavigationPlan.
//
// Trouble goes to the event log, under the input's name, and the rest of the data is used. One thread leads it.
class RunCore {
public:
    static constexpr Corvane::Time MaxBack{3600.0};

    // The outputs must outlive this.
    RunCore(RunRequest request, std::vector<RunOutput*> outputs);
    RunCore(const RunCore&) = delete;
    RunCore& operator=(const RunCore&) = delete;
    ~RunCore();

    [[nodiscard]] const RunRequest& GetRequest() const { return request_; }
    // Those of the inputs have their places, in the order of the request, from the beginning.
    [[nodiscard]] RunFacts& GetFacts() { return facts_; }
    [[nodiscard]] const RunFacts& GetFacts() const { return facts_; }
    [[nodiscard]] StoreTree& GetTree() { return tree_; }
    [[nodiscard]] NavigationPlan& GetPlan() { return plan_; }
    [[nodiscard]] const std::optional<GNSS::GPSTime>& GetNow() const { return now_; }
    // Of the last fix; nothing before there was one.
    struct Place {
        GNSS::Geog geog;
        int satellites = 0;
        double hdop = 0.0;
    };
    [[nodiscard]] const std::optional<Place>& GetLastPlace() const { return lastPlace_; }

    // Before Begin. A navigation file that has been opened: its records are planned. False with the reason.
    [[nodiscard]] bool TakeNavigationFile(Input& input, RunInput& facts, std::string& reason);
    // Records that are known from the beginning, of the input with this name.
    void TakeRecords(const RinexNavigation& records, const std::string& name);
    // When everything that is known before has been taken.
    void CompletePlan();
    // One more output, before Begin.
    void AddOutput(RunOutput& output) { outputs_.push_back(&output); }

    // The outputs begin, and hear the events from before.
    void Begin();
    [[nodiscard]] bool AreOutputsGood() const;
    // Everything has come. Empty, or what went wrong with the outputs.
    [[nodiscard]] std::string Finish();

    // Of the streams. A time that one of them tells, with its own count of leap seconds.
    void AdvanceTo(const GNSS::GPSTime& time, const StreamClock& clock);
    [[nodiscard]] int CountLeapSeconds(const GNSS::GPSTime& time) const { return leaps_.Count(time); }
    void TakeEpoch(const GNSS::MeasSet& set);
    void TakeChannel(const GNSS::Glonass::Slot& slot, int channel);
    // The ephemeris store is emptied before a record of the next four years, which it would refuse.
    void TakeGlonass(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel);
    // To be said in the fixes of the next seconds.
    void Remark(FixNote note, int param, const std::string& text);
    void TakeReceiverFix(const ReceiverFix& fix);
    void TakeStation(const StationPosition& station);

    // Of the operator, between two messages: whether a satellite (with its number) is used from the next epoch on. Goes
    // the way of the list at the start. Who it was is told on the event log.
    void SetEnabled(const Satellite& satellite, bool isEnabled, const std::string& who);
    [[nodiscard]] Navigation& GetNavigation() { return tree_.GetNavigation(); }

private:
    class Port;
    class Listener;
    class PlanSink;

    void OnEvent(const Corvane::Event& event);
    void MoveTo(const GNSS::GPSTime& time, int leapSeconds);
    [[nodiscard]] bool IsFollowed(const GNSS::GPSTime& time);
    void RemarkOnTime(const GNSS::GPSTime& time, int leapSeconds);
    void WatchSilence(const GNSS::GPSTime& time);

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
    std::optional<GNSS::GPSTime> now_;
    bool wasBehind_ = false;  // the last time that was told
    StandingRemarks remarks_;
    FourYearTurn fourYears_;
    std::optional<int> leapSeconds_;             // as last told
    std::optional<GNSS::GPSTime> leapRemarked_;  // when their change was last remarked on
    std::optional<GNSS::GPSTime> lastEpoch_;
    bool isSilent_ = false;
    std::optional<Place> lastPlace_;
    GlonassChannels channels_;
    bool areChannelsNew_ = false;
    Corvane::Event::SinkID sink_ = 0;
};

}  // namespace Host
