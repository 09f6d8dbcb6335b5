// Pipeline: a run of files and standard input, from the inputs to the published fixes.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gnss/time/GPSTime.h"
#include "host/run/RunCore.h"
#include "host/run/RunOutput.h"
#include "host/run/RunRequest.h"
#include "host/source/Input.h"

namespace Host {

// Several streams are merged by the times that they tell: the one whose next message is earliest goes on; what comes
// before its first time goes at once.
class Pipeline {
public:
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
    void AddOutput(RunOutput& output) { core_.AddOutput(output); }
    // Asked while an input keeps one waiting: whether the run is to stop. After Open.
    void SetStop(const std::function<bool()>& isStopped);
    // Once, after Open. Empty, or what went wrong with the outputs. Progress is told after each piece.
    [[nodiscard]] std::string Run(const OnProgress& onProgress);

    [[nodiscard]] const RunFacts& GetFacts() const { return core_.GetFacts(); }
    [[nodiscard]] RunCore& GetCore() { return core_; }
    // First and last time of the measurements, by reading them all once more. Nothing where there are none, and for
    // standard input, which cannot be read twice. After Open.
    struct Span {
        GNSS::GPSTime first;
        GNSS::GPSTime last;
    };
    [[nodiscard]] std::optional<Span> FindSpan() const;

private:
    class Feed;

    [[nodiscard]] bool OpenInput(std::size_t index, std::string& reason);
    void SetDates();
    void LookAhead(const Input& input);

    void PlayMerged(const OnProgress& onProgress);
    [[nodiscard]] bool Pump(Feed& feed);

    RunCore core_;
    std::vector<std::unique_ptr<Feed>> feeds_;
    std::optional<GNSS::GPSTime> date_;  // about when it was, for streams that tell no week
};

}  // namespace Host
