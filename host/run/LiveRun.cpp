#include "host/run/LiveRun.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "host/live/LiveSources.h"
#include "host/live/NtripRequest.h"
#include "host/live/SourceAddress.h"
#include "host/simulate/SimulatedSource.h"
#include "host/source/Input.h"

namespace Host {

using namespace std::chrono_literals;

namespace {

constexpr SteadySpan GarbageSpan = 60s;
constexpr std::chrono::milliseconds LongestWait = 1000ms;
// The simulated receiver has heard navigation messages for so long before its first epoch, s.
constexpr double WarmUp = 30.0;

// The machine's clock, which only streams without a week need, to half a week.
GNSS::GPSTime MachineTime() {
    constexpr double UnixOfGPS = 315964800.0;
    constexpr double Week = 604800.0;
    const double seconds = static_cast<double>(std::time(nullptr)) - UnixOfGPS;
    const double week = std::floor(seconds / Week);
    return {static_cast<int>(week), seconds - week * Week};
}

// A file name of an address: "tcp://localhost:2101" as "tcp_localhost_2101".
std::string FileNameOf(const std::string& name) {
    std::string file;
    for (const char c : name) {
        const bool isPlain =
            (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '-';
        if (isPlain) {
            file += c;
        } else if (!file.empty() && file.back() != '_') {
            file += '_';
        }
    }
    return file;
}

}  // namespace

struct LiveRun::Feed {
    Feed(RunCore& core, RunInput& facts, std::string name) : stream(core, facts, std::move(name)) {}

    LiveStream stream;
    std::unique_ptr<LiveSource> source;
    std::unique_ptr<RawRecorder> recorder;
    bool isNew = true;  // nothing has come since the stream began
};

LiveRun::LiveRun(RunRequest request, std::vector<RunOutput*> outputs, LiveRunSettings settings)
    : settings_(std::move(settings)), core_(std::move(request), std::move(outputs)), loop_(settings_.live.clock) {
    if (!settings_.date) settings_.date = MachineTime;
}

LiveRun::~LiveRun() = default;

bool LiveRun::Open(std::string& reason) {
    if (!settings_.recordings.empty()) {
        std::error_code error;
        std::filesystem::create_directories(settings_.recordings, error);
        if (error) {
            reason = settings_.recordings + ": cannot be made: " + error.message();
            return false;
        }
    }
    for (std::size_t i = 0; i < core_.GetRequest().inputs.size(); ++i) {
        if (!OpenInput(i, reason)) return false;
    }
    if (!HasSource()) {
        reason = "none of the inputs is live";
        return false;
    }
    if (!settings_.almanac.empty()) core_.GetTree().SetRootPath(settings_.almanac);
    core_.CompletePlan();
    loop_.Every(GarbageSpan, [this] {
        for (const auto& feed : feeds_) feed->stream.TellGarbage();
    });
    return true;
}

bool LiveRun::HasSource() const {
    return !feeds_.empty();
}

bool LiveRun::OpenInput(std::size_t index, std::string& reason) {
    const std::string& input = core_.GetRequest().inputs[index];
    if (input == SimulatedSource::Address) {
        AddSimulator(index);
        return true;
    }
    if (SourceAddress::IsLive(input)) {
        AddSource(input, index, reason);
        return reason.empty();
    }
    RunInput& facts = core_.GetFacts().inputs[index];
    facts.name = input;
    Input file(input);
    FileError error;
    if (!file.Open(error)) {
        reason = error.Print();
        return false;
    }
    facts.format = Name(file.GetFormat());
    if (!file.IsNavigationFile()) {
        reason = NameOf(input) + ": beside live sources only RINEX navigation files can be read";
        return false;
    }
    return core_.TakeNavigationFile(file, facts, reason);
}

void LiveRun::AddSimulator(std::size_t index) {
    RunInput& facts = core_.GetFacts().inputs[index];
    facts.name = SimulatedSource::Address;
    auto feed = std::make_unique<Feed>(core_, facts, facts.name);
    SimulatorSettings simulator;
    simulator.seed = settings_.seed;
    simulator.warmUp = WarmUp;
    LiveSink& sink = *this;
    feed->source =
        std::make_unique<SimulatedSource>(simulator, settings_.speed, settings_.duration, settings_.live, sink);
    Add(std::move(feed));
}

void LiveRun::Add(std::unique_ptr<Feed> feed) {
    if (!settings_.recordings.empty()) {
        const std::string& name = feed->source->GetName();
        // Two sources do not write into one file.
        const std::string file = FileNameOf(name);
        const auto nmr = std::ranges::count_if(
            feeds_, [&](const auto& other) { return FileNameOf(other->source->GetName()) == file; });
        const std::string path =
            fmt::format("{}/{}{}.raw", settings_.recordings, file, nmr > 0 ? fmt::format("_{}", nmr + 1) : "");
        feed->recorder = std::make_unique<RawRecorder>(path, settings_.live.clock,
                                                       [name](const std::string& what) { Say(name, what); });
    }
    loop_.Add(*feed->source);
    feeds_.push_back(std::move(feed));
}

void LiveRun::AddSource(const std::string& text, std::size_t index, std::string& reason) {
    SourceAddress address;
    if (!SourceAddress::Parse(text, address, reason)) return;
    RunInput& facts = core_.GetFacts().inputs[index];
    facts.name = address.GetName();
    auto feed = std::make_unique<Feed>(core_, facts, address.GetName());
    const NtripSource::Position position = [this] {
        const std::optional<RunCore::Place>& place = core_.GetLastPlace();
        const std::optional<GNSS::GPSTime>& now = core_.GetNow();
        if (!place || !now) return std::string();
        GgaPosition gga;
        const double utc = now->GetSeconds() - core_.CountLeapSeconds(*now) + GNSS::GPSTime::SecsInDay;
        gga.secondsOfDay = std::fmod(utc, GNSS::GPSTime::SecsInDay);
        gga.latitude = place->geog.GetPhi().Degrees();
        gga.longitude = place->geog.GetLambda().Degrees();
        gga.height = place->geog.GetHeight();
        gga.satellites = place->satellites;
        gga.hdop = place->hdop;
        return MakeGga(gga);
    };
    feed->source = MakeLiveSource(address, settings_.live, *this, settings_.password, position);
    Add(std::move(feed));
}

LiveRun::Feed* LiveRun::Find(const LiveSource& source) {
    const auto found = std::ranges::find_if(feeds_, [&](const auto& feed) { return feed->source.get() == &source; });
    return found != feeds_.end() ? found->get() : nullptr;
}

void LiveRun::OnBytes(LiveSource& source, std::string_view bytes) {
    Feed* feed = Find(source);
    if (feed == nullptr) return;
    if (feed->recorder) feed->recorder->Write(bytes);
    if (std::exchange(feed->isNew, false)) feed->stream.SetApproximateTime(GuessTime());
    lastByte_ = settings_.live.clock();
    feed->stream.Take(bytes);
}

void LiveRun::OnBroken(LiveSource& source) {
    Feed* feed = Find(source);
    if (feed == nullptr) return;
    feed->stream.Break();
    feed->isNew = true;
}

// By the data, where they have told it, and by how long there have been none since: an outage may last for weeks.
GNSS::GPSTime LiveRun::GuessTime() const {
    if (!core_.GetNow()) return core_.GetRequest().date.value_or(settings_.date());
    const SteadySpan since = lastByte_ ? settings_.live.clock() - *lastByte_ : SteadySpan::zero();
    return *core_.GetNow() + Corvane::Time(std::chrono::duration<double>(since).count());
}

void LiveRun::OnEvent(LiveSource& source, const std::string& text) {
    Say(source.GetName(), text);
}

std::vector<LiveRun::SourceStatus> LiveRun::GetSources() const {
    std::vector<SourceStatus> sources;
    const auto seconds = [](const std::optional<SteadySpan>& span) {
        return span ? std::optional<double>(std::chrono::duration<double>(*span).count()) : std::nullopt;
    };
    for (const auto& feed : feeds_) {
        const LiveSource& source = *feed->source;
        sources.push_back({source.GetName(), source.GetState(), seconds(source.GetAge()), seconds(source.GetWait()),
                           source.GetCounts(), source.GetFault(), &feed->stream.GetFacts()});
    }
    return sources;
}

// Whether as much of the data's time has passed as was asked for.
bool LiveRun::IsOver() {
    if (!settings_.duration || !core_.GetNow()) return false;
    if (!first_) first_ = core_.GetNow();
    return (*core_.GetNow() - *first_).Seconds() >= *settings_.duration;
}

std::string LiveRun::Run(const std::function<bool()>& isStopped, const std::function<void()>& everySecond) {
    core_.Begin();
    if (everySecond) loop_.Every(1s, everySecond);
    for (const auto& feed : feeds_) feed->source->Start();
    const auto hasEnded = [](const auto& feed) {
        const LiveSource::State state = feed->source->GetState();
        return state == LiveSource::State::Failed || state == LiveSource::State::Stopped;
    };
    while (core_.AreOutputsGood() && !IsOver() && !(isStopped && isStopped()) && !std::ranges::all_of(feeds_, hasEnded))
        loop_.RunOnce(LongestWait);
    // Stopping is how a live run ends: what has come is complete.
    for (const auto& feed : feeds_) {
        feed->source->Stop();
        feed->stream.TellGarbage();
        // Nothing is wrong with the time of what has not come.
        if (feed->stream.GetFacts().messages > 0) feed->stream.Finish(core_.GetRequest().date);
    }
    // So it is when an output cannot be written any more: the others are whole.
    return core_.Finish();
}

}  // namespace Host
