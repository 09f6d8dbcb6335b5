// LiveRun: a run of live sources, until it is stopped.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/live/LiveLoop.h"
#include "host/live/LiveSource.h"
#include "host/live/RawRecorder.h"
#include "host/live/Secret.h"
#include "host/run/LiveStream.h"
#include "host/run/RunCore.h"
#include "host/run/RunOutput.h"
#include "host/run/RunRequest.h"

namespace Host {

struct LiveRunSettings {
    LiveSettings live;
    // Where the raw bytes of each source are kept while it runs: a folder, in which each source has a file named after
    // it; none when empty.
    std::string recordings;
    Secret password;  // of casters
    // Where the almanac store keeps its almanac, without ".alm"; not kept when empty.
    std::string almanac;
    std::optional<double> duration;  // s of the data's time, after which the run ends
    // Of the source "simulator".
    double speed = 1.0;
    std::uint64_t seed = 1;
    // About now, for streams that do not tell their week; the machine's clock without one.
    std::function<GNSS::GPSTime()> date;
};

// Messages are taken as they come, each source's in its order. Sources reconnect by themselves; what happens to them is
// on the event log. Navigation files may stand among the inputs; their records are there from the beginning.
class LiveRun : private LiveSink {
public:
    // What a display shows of a source.
    struct SourceStatus {
        std::string name;
        LiveSource::State state = LiveSource::State::Stopped;
        std::optional<double> age;   // s since the last byte
        std::optional<double> wait;  // s until the next try
        LiveCounts counts;
        std::string fault;                // why no data flow
        const RunInput* facts = nullptr;  // never null
    };

    // The outputs must outlive this.
    LiveRun(RunRequest request, std::vector<RunOutput*> outputs, LiveRunSettings settings);
    ~LiveRun() override;

    // Reads the navigation files and makes the sources. False, with a line for a person, when an input is of no use.
    [[nodiscard]] bool Open(std::string& reason);
    void AddOutput(RunOutput& output) { core_.AddOutput(output); }
    // Until isStopped says so, an output cannot be written any more, or every source has failed for good. Asked after
    // each wait, which ends at least each second and when GetWakeFile is written to. Empty, or what went wrong.
    [[nodiscard]] std::string Run(const std::function<bool()>& isStopped,
                                  const std::function<void()>& everySecond = {});

    [[nodiscard]] int GetWakeFile() const { return loop_.GetWakeFile(); }
    [[nodiscard]] const RunFacts& GetFacts() const { return core_.GetFacts(); }
    [[nodiscard]] RunCore& GetCore() { return core_; }
    [[nodiscard]] std::vector<SourceStatus> GetSources() const;

private:
    struct Feed;

    void OnBytes(LiveSource& source, std::string_view bytes) override;
    void OnBroken(LiveSource& source) override;
    void OnEvent(LiveSource& source, const std::string& text) override;
    [[nodiscard]] Feed* Find(const LiveSource& source);
    [[nodiscard]] bool OpenInput(std::size_t index, std::string& reason);
    void AddSimulator(std::size_t index);
    void Add(std::unique_ptr<Feed> feed);
    [[nodiscard]] GNSS::GPSTime GuessTime() const;
    void AddSource(const std::string& address, std::size_t index, std::string& reason);
    [[nodiscard]] bool HasSource() const;
    [[nodiscard]] bool IsOver();

    LiveRunSettings settings_;
    RunCore core_;
    LiveLoop loop_;
    std::optional<GNSS::GPSTime> first_;
    std::optional<SteadyTime> lastByte_;  // of any source
    std::vector<std::unique_ptr<Feed>> feeds_;
};

}  // namespace Host
