#include "host/run/Pipeline.h"

#include <algorithm>
#include <utility>

#include "host/run/RunStream.h"
#include "host/source/EventQueue.h"
#include "host/source/RecordCollection.h"

namespace Host {

using GNSS::GPSTime;

// One input with its stream.
class Pipeline::Feed : public RunStream {
public:
    Feed(RunCore& core, const std::string& path, RunInput& facts) : RunStream(core, facts, NameOf(path)), input(path) {}

    void Update() {
        RunInput& facts = GetFacts();
        facts.isCut = input.GetBytes().IsCut();
        facts.failure = input.GetBytes().GetFailure();
        if (input.GetDecoder() != nullptr) UpdateFacts(*input.GetDecoder(), {});
    }

    Input input;
    EventQueue queue;    // where there are several
    bool isOpen = true;  // there may be more
};

Pipeline::Pipeline(RunRequest request, std::vector<RunOutput*> outputs)
    : core_(std::move(request), std::move(outputs)) {}

Pipeline::~Pipeline() = default;

bool Pipeline::Open(std::string& reason) {
    for (std::size_t i = 0; i < core_.GetRequest().inputs.size(); ++i) {
        if (!OpenInput(i, reason)) return false;
    }
    if (feeds_.empty()) {
        reason = "none of the inputs can hold measurements: a receiver's log or a RINEX observation file is needed";
        return false;
    }
    SetDates();
    for (const auto& feed : feeds_) {
        if (feed->input.IsLogFile() && !core_.GetRequest().asReceived) LookAhead(feed->input);
    }
    core_.CompletePlan();
    return true;
}

bool Pipeline::OpenInput(std::size_t index, std::string& reason) {
    const std::string& path = core_.GetRequest().inputs[index];
    RunFacts& all = core_.GetFacts();
    RunInput& facts = all.inputs[index];
    facts.name = path;
    auto feed = std::make_unique<Feed>(core_, path, facts);
    FileError error;
    if (!feed->input.Open(error)) {
        reason = error.Print();
        return false;
    }
    facts.format = Name(feed->input.GetFormat());
    all.bytesTotal += feed->input.GetBytes().GetSize();
    if (!feed->input.IsNavigationFile()) {
        feeds_.push_back(std::move(feed));
        return true;
    }
    return core_.TakeNavigationFile(feed->input, facts, reason);
}

// Takes the records of a log that is to be played.
void Pipeline::LookAhead(const Input& input) {
    Input again(input.GetPath());
    FileError error;
    // What is wrong with it is said when it is played.
    if (!again.Open(error)) return;
    const RinexNavigation records = CollectRecords(again, again.NeedsDate() ? date_ : core_.GetRequest().date);
    core_.TakeRecords(records, NameOf(input.GetPath()));
}

// Connects the streams, and tells those that do not know their week about when it is.
void Pipeline::SetDates() {
    const RunRequest& request = core_.GetRequest();
    const bool isMerged = feeds_.size() > 1;
    std::optional<GPSTime> date = request.date;
    const auto connect = [&](Feed& feed) {
        const auto tell = [name = feed.GetName()](const std::string& what) { Say(name, what); };
        feed.input.Connect(isMerged ? static_cast<ReceiverSink&>(feed.queue) : feed, tell);
        feed.SetObservations(feed.input.GetObservations());
    };
    for (const auto& feed : feeds_) {
        if (feed->input.NeedsDate()) continue;
        connect(*feed);
        if (request.date) feed->input.SetApproximateTime(*request.date);
        if (!isMerged) continue;
        while (feed->queue.FindTime() == nullptr && Pump(*feed)) {
        }
        const GPSTime* first = feed->queue.FindTime();
        if (first != nullptr && (!date || (!request.date && *first < *date))) date = *first;
    }
    if (!date) date = core_.GetPlan().GetFirstReference();
    for (const auto& feed : feeds_) {
        if (!feed->input.NeedsDate()) continue;
        connect(*feed);
        if (date) feed->input.SetApproximateTime(*date);
    }
    date_ = date;
}

std::optional<Pipeline::Span> Pipeline::FindSpan() const {
    struct Times : ReceiverSink {
        void OnMeasurements(const GNSS::MeasSet& set) override {
            const GPSTime time = set.GetGPSTime();
            if (!span) span = Span{time, time};
            span->first = std::min(span->first, time);
            span->last = std::max(span->last, time);
        }
        std::optional<Span> span;
    };
    Times times;
    for (const auto& feed : feeds_) {
        Input again(feed->input.GetPath());
        FileError error;
        if (feed->input.GetPath() == StandardInput || !again.Open(error)) continue;
        again.Connect(times, [](const std::string&) {});
        const std::optional<GPSTime>& date = again.NeedsDate() ? date_ : core_.GetRequest().date;
        if (date) again.SetApproximateTime(*date);
        while (again.Pump()) {
        }
    }
    return times.span;
}

// Takes the input's next piece; false when it has ended.
bool Pipeline::Pump(Feed& feed) {
    if (!feed.isOpen) return false;
    const std::int64_t before = feed.input.GetBytes().GetNmrRead();
    feed.isOpen = feed.input.Pump();
    core_.GetFacts().bytesDone += feed.input.GetBytes().GetNmrRead() - before;
    feed.Update();
    return feed.isOpen;
}

void Pipeline::SetStop(const std::function<bool()>& isStopped) {
    for (const auto& feed : feeds_) feed->input.SetStop(isStopped);
}

std::string Pipeline::Run(const OnProgress& onProgress) {
    core_.Begin();
    if (feeds_.size() == 1) {
        Feed& feed = *feeds_.front();
        while (core_.AreOutputsGood() && Pump(feed)) {
            if (onProgress) onProgress(GetFacts());
        }
    } else {
        PlayMerged(onProgress);
    }
    core_.GetFacts().isStopped = !core_.AreOutputsGood();
    for (const auto& feed : feeds_) {
        feed->Finish(core_.GetRequest().date);
        feed->Update();
    }
    return core_.Finish();
}

void Pipeline::PlayMerged(const OnProgress& onProgress) {
    // What has no time yet goes first.
    const auto isEarlier = [](const std::optional<GPSTime>& a, const std::optional<GPSTime>& b) {
        return b && (!a || *a < *b);
    };
    while (core_.AreOutputsGood()) {
        Feed* next = nullptr;
        std::optional<GPSTime> earliest;
        std::optional<GPSTime> second;  // the earliest of the others
        bool isAlone = true;
        for (const auto& feed : feeds_) {
            while (feed->queue.IsEmpty() && Pump(*feed)) {
                if (onProgress) onProgress(GetFacts());
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

}  // namespace Host
