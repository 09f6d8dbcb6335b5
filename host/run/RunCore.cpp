#include "host/run/RunCore.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "gnss/health/SVHealthUpdate.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/Link.h"
#include "gnss/platform/Response.h"
#include "gnss/store/GPSEphemStore.h"
#include "gnss/store/GlonassEphemStore.h"

namespace Host {

using Corvane::Event;
using GNSS::GPSTime;

namespace {

constexpr const char* Source = "Run";

}  // namespace

void Say(const std::string& source, const std::string& text) {
    Event::AddEvent(Corvane::String(source), Corvane::String(text));
}

std::string NameOf(const std::string& path) {
    return path == StandardInput ? "standard input" : path;
}

// Sends the measurements, the GLONASS channels and the operator's list.
class RunCore::Port : public Corvane::Component {
public:
    static constexpr const char* Name = "Receiver";
    Port()
        : Component(Corvane::Ident(Name), StoreTree::CycleMS),
          measurements(*this, GNSS::MeasSet::Type, Name),
          channels(*this, FixComponent::ChannelsType(), Name),
          health(*this, GNSS::SVHealth::Update::Type, Name),
          remarks(*this, FixComponent::RemarksType(), Name) {}

    Corvane::Link<GNSS::MeasSet> measurements;
    Corvane::Link<GlonassChannels> channels;
    Corvane::Link<GNSS::SVHealth::Update> health;
    Corvane::Link<GNSS::Notes> remarks;
};

// Hears the fixes.
class RunCore::Listener : public Corvane::Component {
public:
    explicit Listener(RunCore& core)
        : Component(Corvane::Ident("Run Outputs"), StoreTree::CycleMS),
          core_(core),
          fixes_(*this, PublishedFix::Type(), &Listener::OnFix, FixComponent::Name) {}

private:
    void OnFix(const PublishedFix& fix) {
        if (fix.result.valid) core_.lastPlace_ = {fix.result.geog, fix.result.NmrUsed(), fix.result.dop.GetHDOP()};
        for (RunOutput* output : core_.outputs_) output->OnFix(fix);
    }

    RunCore& core_;
    Corvane::Response<PublishedFix> fixes_;
};

// The way of the navigation files' records into the tree.
class RunCore::PlanSink : public RecordSink {
public:
    explicit PlanSink(RunCore& core) : core_(core) {}
    using RecordSink::OnRecord;
    void OnRecord(const GNSS::GPSEphemeride& record) override { core_.tree_.GetNavigation().OnRecord(record); }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
        core_.TakeGlonass(record, channel);
    }

private:
    RunCore& core_;
};

RunCore::RunCore(RunRequest request, std::vector<RunOutput*> outputs)
    : request_(std::move(request)),
      outputs_(std::move(outputs)),
      port_(std::make_shared<Port>()),
      fix_(std::make_shared<FixComponent>(request_.settings)) {
    facts_.request = request_;
    facts_.inputs.resize(request_.inputs.size());
    sink_ = Event::InstallSink([this](const Event& event) { OnEvent(event); });
    tree_.Join(port_);
    tree_.Join(fix_);
    tree_.Join(std::make_shared<Listener>(*this));
    for (const GNSS::PRN& prn : request_.disabledGPS) port_->health.Send({GNSS::SVHealth::Update::Disable, prn, 0});
    for (const auto& slot : request_.disabledGlonass) port_->health.Send({GNSS::SVHealth::Update::Disable, slot, 0});
    tree_.Drain();
}

RunCore::~RunCore() {
    Event::RemoveSink(sink_);
}

void RunCore::OnEvent(const Event& event) {
    RunEvent happened{now_, event.GetSource().str(), event.GetText().str()};
    if (!hasBegun_) {
        early_.push_back(std::move(happened));
        return;
    }
    for (RunOutput* output : outputs_) output->OnEvent(happened);
}

bool RunCore::TakeNavigationFile(Input& input, RunInput& facts, std::string& reason) {
    const std::string name = NameOf(input.GetPath());
    FileError error;
    std::string text;
    RinexNavigation navigation;
    const auto tell = [&](const std::string& what) { Say(name, what); };
    if (!input.ReadText(text, tell, error) || !navigation.Parse(text, name, error)) {
        reason = error.Print();
        return false;
    }
    facts.bytes = static_cast<std::int64_t>(text.size());
    facts.refused = navigation.nmrRefused;
    facts.records = static_cast<std::int64_t>(navigation.gps.size() + navigation.glonass.size());
    facts.isCut = input.GetBytes().IsCut();
    facts.failure = input.GetBytes().GetFailure();
    facts_.bytesDone += input.GetBytes().GetNmrRead();

    std::int64_t told = 0;
    for (const Warnings::Entry& entry : navigation.warnings.GetKept()) {
        if (++told > Input::MaxTold) break;
        tell(entry.line > 0 ? fmt::format("line {}: {}", entry.line, entry.what) : entry.what);
    }
    if (navigation.warnings.GetCount() > Input::MaxTold) {
        tell(fmt::format("{} lines with faults in all", navigation.warnings.GetCount()));
    }
    if (facts.records == 0) tell("holds no GPS or GLONASS records");
    if (const std::string doubt = leaps_.Add(navigation, name); !doubt.empty()) Say(Source, doubt);
    plan_.Add(navigation, name);
    if (navigation.utc && navigation.utc->IsValid()) utcs_.push_back(*navigation.utc);
    if (navigation.iono && navigation.iono->IsValid()) ionos_.push_back(*navigation.iono);
    return true;
}

void RunCore::TakeRecords(const RinexNavigation& records, const std::string& name) {
    plan_.Add(records, name);
    if (records.iono) ionos_.push_back(*records.iono);
}

void RunCore::CompletePlan() {
    // The plan works out positions to check the records, and GLONASS needs the leap rule for that.
    if (const auto first = plan_.GetFirstReference()) leaps_.SetFor(*first);
    plan_.Complete();
    for (const std::string& doubt : plan_.GetDoubts()) Say(Source, doubt);
}

void RunCore::Begin() {
    for (RunOutput* output : outputs_) output->Begin(facts_);
    hasBegun_ = true;
    for (const RunEvent& event : std::exchange(early_, {})) {
        for (RunOutput* output : outputs_) output->OnEvent(event);
    }
}

std::string RunCore::Finish() {
    tree_.Drain();
    facts_.counts = fix_->GetCounts();
    if (!facts_.isStopped && plan_.GetNmrRecords() == 0 &&
        std::ranges::all_of(facts_.inputs, [](const RunInput& input) { return input.records == 0; })) {
        Say(Source, "no navigation records: without ephemerides there is no position; add a RINEX navigation file");
    }
    std::string failure;
    for (RunOutput* output : outputs_) {
        const std::string reason = output->Finish(facts_);
        if (failure.empty()) failure = reason;
    }
    return failure;
}

bool RunCore::AreOutputsGood() const {
    return std::ranges::all_of(outputs_, [](const RunOutput* output) { return output->IsGood(); });
}

void RunCore::MoveTo(const GPSTime& time, int leapSeconds) {
    // What has come until now is handled before the clock goes on.
    tree_.AdvanceTo(time);
    leaps_.SetFor(time, leapSeconds);
    RemarkOnTime(time, leapSeconds);
    now_ = time;
}

// Whether the clock goes along with a time that a stream tells.
bool RunCore::IsFollowed(const GPSTime& time) {
    const bool isBehind = now_ && *now_ - time > MaxBack;
    const bool isSecond = std::exchange(wasBehind_, isBehind);
    if (!isBehind) return true;
    if (!isSecond) return false;
    wasBehind_ = false;
    Say(Source, fmt::format("The data go back in time, from {} to {}; ephemerides of later than that are dropped.",
                            now_->PrintRound(0).str(), time.PrintRound(0).str()));
    tree_.Drain();
    tree_.GetRoot().ForEach([](Corvane::Component& component) {
        const bool isStore =
            component.GetIdent() == GNSS::GPSEphemStore::ID || component.GetIdent() == GNSS::Glonass::EphemStore::ID;
        if (isStore) component.Clear();
    });
    fix_->BeginAnew();
    plan_.Rewind();
    now_.reset();
    remarks_.Clear();
    fourYears_.Reset();
    leapSeconds_.reset();
    leapRemarked_.reset();
    lastEpoch_.reset();
    isSilent_ = false;
    return true;
}

void RunCore::AdvanceTo(const GPSTime& time, const StreamClock& clock) {
    for (RunOutput* output : outputs_) output->OnTime(time);
    if (!IsFollowed(time)) return;
    Navigation& navigation = tree_.GetNavigation();
    PlanSink sink(*this);
    while (const GPSTime* due = plan_.GetNext()) {
        if (*due > time) break;
        if (!now_ || *now_ < *due) MoveTo(*due, leaps_.Count(*due));
        for (const auto& utc : std::exchange(utcs_, {})) navigation.OnRecord(utc);
        for (const auto& iono : std::exchange(ionos_, {})) navigation.OnRecord(iono);
        plan_.SendNext(sink);
    }
    MoveTo(time, clock.GetLeapSeconds(time));
    WatchSilence(time);
}

// Where the counts of time turn over.
void RunCore::RemarkOnTime(const GPSTime& time, int leapSeconds) {
    constexpr int WeeksSent = 1024;
    constexpr Corvane::Time Seldom{3600.0};  // streams that contradict each other are not to fill the log
    if (now_ && *now_ < time && now_->GetWeek() != time.GetWeek()) {
        const bool isRollover = now_->GetWeek() / WeeksSent != time.GetWeek() / WeeksSent;
        const char* what = isRollover ? "The week number that GPS sends begins anew" : "A new week of GPS time";
        if (isRollover) Say(Source, fmt::format("{}, with week {}.", what, time.GetWeek()));
        now_ = time;
        Remark(FixNote::NewWeek, GNSS::Notes::Note::Absent, what);
    }
    const std::optional<int> before = std::exchange(leapSeconds_, leapSeconds);
    if (!before || *before == leapSeconds || (leapRemarked_ && time - *leapRemarked_ < Seldom)) return;
    leapRemarked_ = now_ = time;
    Say(Source,
        fmt::format("A leap second: GPS time is {} s ahead of UTC from now on, {} s before.", leapSeconds, *before));
    Remark(FixNote::LeapSecond, GNSS::Notes::Note::Absent, "A leap second");
}

// The streams go on, but nobody measures any more. (When they fall silent themselves their sources say so.)
void RunCore::WatchSilence(const GPSTime& time) {
    if (!lastEpoch_ || isSilent_) return;
    const double interval = fix_->GetInterval();
    if (interval <= 0.0) return;
    const double silence = (time - *lastEpoch_).Seconds();
    isSilent_ = silence > std::max(FixComponent::Gap, FixComponent::GapSteps * interval);
    if (isSilent_) Say(Source, fmt::format("No measurements since {}.", lastEpoch_->PrintRound(0).str()));
}

void RunCore::Remark(FixNote note, int param, const std::string& text) {
    if (now_) remarks_.Add(*now_, note, param, text);
}

void RunCore::TakeGlonass(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) {
    const FourYearTurn::Verdict verdict = fourYears_.Judge(record.posn.day);
    if (verdict == FourYearTurn::Verdict::Drop) return;
    if (verdict == FourYearTurn::Verdict::ClearFirst) {
        Say(Source, "GLONASS counts the days of four years anew; its ephemerides of before are dropped.");
        Remark(FixNote::NewFourYears, GNSS::Notes::Note::Absent, "GLONASS counts the days of four years anew");
        tree_.Drain();
        if (const auto store = tree_.GetRoot().Find(GNSS::Glonass::EphemStore::ID)) store->Clear();
        tree_.Drain();
    }
    if (channel) TakeChannel(record.slot, *channel);
    tree_.GetNavigation().OnRecord(record, channel);
}

void RunCore::TakeChannel(const GNSS::Glonass::Slot& slot, int channel) {
    if (channels_.Set(slot, channel)) areChannelsNew_ = true;
}

void RunCore::TakeEpoch(const GNSS::MeasSet& set) {
    if (std::exchange(areChannelsNew_, false)) port_->channels.Send(channels_);
    // The stores' answers to what came before reach the fix first. A UTC record has changed the leap-second rule.
    tree_.Drain();
    if (now_ && leapSeconds_) leaps_.SetFor(*now_, *leapSeconds_);
    const GPSTime time = set.GetGPSTime();
    if (std::exchange(isSilent_, false)) {
        const double silence = (time - lastEpoch_.value_or(time)).Seconds();
        Say(Source, fmt::format("Measurements again after {:.0f} s.", silence));
    }
    lastEpoch_ = time;
    if (const GNSS::Notes remarks = remarks_.Take(time); remarks.NmrNote() > 0) port_->remarks.Send(remarks);
    port_->measurements.Send(set);
    tree_.Drain();
    facts_.counts = fix_->GetCounts();
}

void RunCore::SetEnabled(const Satellite& satellite, bool isEnabled, const std::string& who) {
    using Update = GNSS::SVHealth::Update;
    const Update::Mode mode = isEnabled ? Update::Enable : Update::Disable;
    if (satellite.system == 'G') {
        port_->health.Send({mode, GNSS::PRN(satellite.number), 0});
    } else {
        port_->health.Send({mode, GNSS::Glonass::Slot(satellite.number), 0});
    }
    tree_.Drain();
    Say("Console", fmt::format("{}: {} {}", who, PrintSatellite(satellite.system, satellite.number),
                               isEnabled ? "enabled" : "disabled"));
}

void RunCore::TakeReceiverFix(const ReceiverFix& fix) {
    for (RunOutput* output : outputs_) output->OnReceiverFix(fix);
}

void RunCore::TakeStation(const StationPosition& station) {
    if (!facts_.station) facts_.station = station;
}

}  // namespace Host
