#include "host/run/Pipeline.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "gnss/store/GPSEphemStore.h"
#include "gnss/store/GlonassEphemStore.h"
#include "host/run/PipelineParts.h"
#include "host/source/RecordCollection.h"

namespace Host {

using Corvane::Event;
using GNSS::GPSTime;

namespace {

constexpr const char* Source = "Run";

}  // namespace

Pipeline::Pipeline(RunRequest request, std::vector<RunOutput*> outputs)
    : request_(std::move(request)),
      outputs_(std::move(outputs)),
      port_(std::make_shared<Port>()),
      fix_(std::make_shared<FixComponent>(request_.settings)) {
    facts_.request = request_;
    facts_.inputs.resize(request_.inputs.size());
    sink_ = Event::InstallSink([this](const Event& event) { OnEvent(event); });
    tree_.Join(port_);
    tree_.Join(fix_);
    tree_.Join(std::make_shared<Listener>(outputs_));
    for (const GNSS::PRN& prn : request_.disabledGPS) port_->health.Send({GNSS::SVHealth::Update::Disable, prn, 0});
    for (const auto& slot : request_.disabledGlonass) port_->health.Send({GNSS::SVHealth::Update::Disable, slot, 0});
    tree_.Drain();
}

Pipeline::~Pipeline() {
    Event::RemoveSink(sink_);
}

void Pipeline::OnEvent(const Event& event) {
    RunEvent happened{now_, event.GetSource().str(), event.GetText().str()};
    if (!hasBegun_) {
        early_.push_back(std::move(happened));
        return;
    }
    for (RunOutput* output : outputs_) output->OnEvent(happened);
}

bool Pipeline::Open(std::string& reason) {
    for (std::size_t i = 0; i < request_.inputs.size(); ++i) {
        if (!OpenInput(i, reason)) return false;
    }
    if (feeds_.empty()) {
        reason = "none of the inputs can hold measurements: a receiver's log or a RINEX observation file is needed";
        return false;
    }
    const std::optional<GPSTime> date = SetDates();
    for (const auto& feed : feeds_) {
        if (feed->input.IsLogFile() && !request_.asReceived) LookAhead(feed->input, date);
    }
    // The plan works out positions to check the records, and GLONASS needs the leap rule for that.
    if (const auto first = plan_.GetFirstReference()) leaps_.SetFor(*first);
    plan_.Complete();
    for (const std::string& doubt : plan_.GetDoubts()) Say(Source, doubt);
    return true;
}

bool Pipeline::OpenInput(std::size_t index, std::string& reason) {
    const std::string& path = request_.inputs[index];
    RunInput& facts = facts_.inputs[index];
    facts.name = path;
    auto feed = std::make_unique<Feed>(*this, path, facts);
    FileError error;
    if (!feed->input.Open(error)) {
        reason = error.Print();
        return false;
    }
    facts.format = Name(feed->input.GetFormat());
    facts_.bytesTotal += feed->input.GetBytes().GetSize();
    if (!feed->input.IsNavigationFile()) {
        feeds_.push_back(std::move(feed));
        return true;
    }
    std::string text;
    RinexNavigation navigation;
    const auto tell = [&](const std::string& what) { Say(NameOf(path), what); };
    if (!feed->input.ReadText(text, tell, error) || !navigation.Parse(text, NameOf(path), error)) {
        reason = error.Print();
        return false;
    }
    facts.bytes = static_cast<std::int64_t>(text.size());
    facts.refused = navigation.nmrRefused;
    facts.records = static_cast<std::int64_t>(navigation.gps.size() + navigation.glonass.size());
    facts.isCut = feed->input.GetBytes().IsCut();
    facts.failure = feed->input.GetBytes().GetFailure();
    facts_.bytesDone += feed->input.GetBytes().GetNmrRead();

    std::int64_t told = 0;
    for (const Warnings::Entry& entry : navigation.warnings.GetKept()) {
        if (++told > Input::MaxTold) break;
        tell(entry.line > 0 ? fmt::format("line {}: {}", entry.line, entry.what) : entry.what);
    }
    if (navigation.warnings.GetCount() > Input::MaxTold) {
        tell(fmt::format("{} lines with faults in all", navigation.warnings.GetCount()));
    }
    if (facts.records == 0) tell("holds no GPS or GLONASS records");
    if (const std::string doubt = leaps_.Add(navigation, NameOf(path)); !doubt.empty()) Say(Source, doubt);
    plan_.Add(navigation, NameOf(path));
    if (navigation.utc && navigation.utc->IsValid()) utcs_.push_back(*navigation.utc);
    if (navigation.iono && navigation.iono->IsValid()) ionos_.push_back(*navigation.iono);
    return true;
}

// Takes the records of a log that is to be played.
void Pipeline::LookAhead(const Input& input, const std::optional<GPSTime>& date) {
    Input again(input.GetPath());
    FileError error;
    // What is wrong with it is said when it is played.
    if (!again.Open(error)) return;
    const RinexNavigation records = CollectRecords(again, again.NeedsDate() ? date : request_.date);
    plan_.Add(records, NameOf(input.GetPath()));
    if (records.iono) ionos_.push_back(*records.iono);
}

// Connects the streams, and tells those that do not know their week about when it is, which is returned.
std::optional<GPSTime> Pipeline::SetDates() {
    const bool isMerged = feeds_.size() > 1;
    std::optional<GPSTime> date = request_.date;
    const auto connect = [&](Feed& feed) {
        const auto tell = [name = NameOf(feed.input.GetPath())](const std::string& what) { Say(name, what); };
        feed.input.Connect(isMerged ? static_cast<ReceiverSink&>(feed.queue) : feed, tell);
    };
    for (const auto& feed : feeds_) {
        if (feed->input.NeedsDate()) continue;
        connect(*feed);
        if (request_.date) feed->input.SetApproximateTime(*request_.date);
        if (!isMerged) continue;
        while (feed->queue.FindTime() == nullptr && Pump(*feed)) {
        }
        const GPSTime* first = feed->queue.FindTime();
        if (first != nullptr && (!date || (!request_.date && *first < *date))) date = *first;
    }
    if (!date) date = plan_.GetFirstReference();
    for (const auto& feed : feeds_) {
        if (!feed->input.NeedsDate()) continue;
        connect(*feed);
        if (date) feed->input.SetApproximateTime(*date);
    }
    return date;
}

// Takes the input's next piece; false when it has ended.
bool Pipeline::Pump(Feed& feed) {
    if (!feed.isOpen) return false;
    const std::int64_t before = feed.input.GetBytes().GetNmrRead();
    feed.isOpen = feed.input.Pump();
    facts_.bytesDone += feed.input.GetBytes().GetNmrRead() - before;
    feed.UpdateFacts();
    return feed.isOpen;
}

void Pipeline::SetStop(const std::function<bool()>& isStopped) {
    for (const auto& feed : feeds_) feed->input.SetStop(isStopped);
}

std::string Pipeline::Run(const OnProgress& onProgress) {
    for (RunOutput* output : outputs_) output->Begin(facts_);
    hasBegun_ = true;
    for (const RunEvent& event : std::exchange(early_, {})) {
        for (RunOutput* output : outputs_) output->OnEvent(event);
    }
    if (feeds_.size() == 1) {
        Feed& feed = *feeds_.front();
        while (AreOutputsGood() && Pump(feed)) {
            if (onProgress) onProgress(facts_);
        }
    } else {
        PlayMerged(onProgress);
    }
    facts_.isStopped = !AreOutputsGood();
    for (const auto& feed : feeds_) feed->Finish(request_.date);
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

void Pipeline::PlayMerged(const OnProgress& onProgress) {
    // What has no time yet goes first.
    const auto isEarlier = [](const std::optional<GPSTime>& a, const std::optional<GPSTime>& b) {
        return b && (!a || *a < *b);
    };
    while (AreOutputsGood()) {
        Feed* next = nullptr;
        std::optional<GPSTime> earliest;
        std::optional<GPSTime> second;  // the earliest of the others
        bool isAlone = true;
        for (const auto& feed : feeds_) {
            while (feed->queue.IsEmpty() && Pump(*feed)) {
                if (onProgress) onProgress(facts_);
            }
            if (feed->queue.IsEmpty()) continue;
            const std::optional<GPSTime> time = feed->queue.GetTime();
            // Of equals the one named first.
            const bool isFirst = next == nullptr || isEarlier(time, earliest);
            if (next != nullptr) {
                const std::optional<GPSTime>& other = isFirst ? earliest : time;
                if (isAlone || isEarlier(other, second)) second = other;
                isAlone = false;
            }
            if (isFirst) {
                next = feed.get();
                earliest = time;
            }
        }
        if (next == nullptr) return;
        // Its turn lasts until another's comes: with many inputs the choice costs more than the messages.
        do {
            next->queue.PopTo(*next);
        } while (!next->queue.IsEmpty() && (isAlone || isEarlier(next->queue.GetTime(), second)));
    }
}

bool Pipeline::AreOutputsGood() const {
    return std::ranges::all_of(outputs_, [](const RunOutput* output) { return output->IsGood(); });
}

void Pipeline::MoveTo(const GPSTime& time, int leapSeconds) {
    // What has come until now is handled before the clock goes on.
    tree_.AdvanceTo(time);
    leaps_.SetFor(time, leapSeconds);
    now_ = time;
}

// Whether the clock goes along with a time that a stream tells.
bool Pipeline::IsFollowed(const GPSTime& time) {
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
    return true;
}

void Pipeline::AdvanceTo(const GPSTime& time, Feed& feed) {
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
    MoveTo(time, feed.GetClock().GetLeapSeconds(time));
}

void Pipeline::TakeChannel(const GNSS::Glonass::Slot& slot, int channel) {
    if (channels_.Set(slot, channel)) areChannelsNew_ = true;
}

void Pipeline::TakeEpoch(const GNSS::MeasSet& set, Feed& feed) {
    const RinexObservationDecoder* observations = feed.input.GetObservations();
    if (observations != nullptr && !std::exchange(feed.isKnown, true)) {
        const auto& channels = observations->GetHeader().channels;
        for (int slot = GNSS::Glonass::Slot::Min; slot <= GNSS::Glonass::Slot::Max; ++slot) {
            if (const auto channel = channels[static_cast<std::size_t>(slot)]) TakeChannel(slot, *channel);
        }
    }
    if (std::exchange(areChannelsNew_, false)) port_->channels.Send(channels_);
    // The stores' answers to what came before reach the fix first.
    tree_.Drain();
    port_->measurements.Send(set);
    tree_.Drain();
    facts_.counts = fix_->GetCounts();
}

}  // namespace Host
