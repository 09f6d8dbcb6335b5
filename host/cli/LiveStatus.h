// LiveStatus: how a live run goes, on the terminal.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/run/LiveRun.h"
#include "host/run/RunOutput.h"

namespace Host {

// On standard error: the first position at once; then, on a terminal, lines that are written anew each second, and
// otherwise a line each minute.
class LiveStatus : public RunOutput {
public:
    LiveStatus();
    // Takes the lines away.
    ~LiveStatus() override;

    void OnFix(const PublishedFix& fix) override;
    void OnEvent(const RunEvent& /*event*/) override { Wipe(); }
    // Before the last lines of others.
    [[nodiscard]] std::string Finish(const RunFacts& /*facts*/) override { return Wipe(), std::string(); }
    // Each second.
    void Show(const LiveRun& run);
    // Before something else is written to the terminal.
    void Wipe();

private:
    struct Last {
        GNSS::GPSTime time;
        std::string text;
        std::string notes;
    };
    [[nodiscard]] std::string DescribeSources(const LiveRun& run) const;

    bool isTerminal_;
    int nmrLines_ = 0;  // that stand there
    std::int64_t nmrSeconds_ = 0;
    std::int64_t nmrEpochs_ = 0;
    std::int64_t nmrFixes_ = 0;
    std::optional<Last> last_;
};

}  // namespace Host
