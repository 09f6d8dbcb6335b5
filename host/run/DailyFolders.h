// DailyFolders: the output of a run without an end, a folder for each day.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "host/live/Descriptor.h"
#include "host/run/RunFolderOutput.h"
#include "host/run/RunOutput.h"
#include "host/run/RunSummary.h"

namespace Host {

// Each day of GPS time has a folder like that of RunFolderOutput, called after its date in the folder of the options:
// DIR/2025-06-04. It appears when the day has passed or the run has ended; where there is one already, from before the
// program was started again, DIR/2025-06-04_2 is made, and so on. What a run has left that was killed is kept as
// DIR/2025-06-04_interrupted. A folder that cannot be written is lost; that is told on the event log at once, the run
// goes on, and another one is begun after a while. The figures of the inputs are those since the day before ended. One
// run at a time writes to DIR.
class DailyFolders : public RunOutput {
public:
    // Empty in GetFailure, or why nothing can be written.
    explicit DailyFolders(RunFolderOptions options, const std::optional<GNSS::ECEF>& reference = std::nullopt);
    ~DailyFolders() override;

    void Begin(const RunFacts& facts) override { facts_ = &facts; }
    void OnFix(const PublishedFix& fix) override;
    void OnEvent(const RunEvent& event) override;
    void OnReceiverFix(const ReceiverFix& fix) override;
    [[nodiscard]] std::string Finish(const RunFacts& facts) override;

    [[nodiscard]] const std::string& GetFailure() const { return failure_; }
    // The last one made; empty before.
    [[nodiscard]] const std::string& GetLast() const { return last_; }
    // How its day went, in lines for the terminal.
    [[nodiscard]] const std::string& GetLastSummary() const { return lastSummary_; }

private:
    struct Day {
        Day(RunFolderOptions options, const std::optional<GNSS::ECEF>& reference)
            : summary(reference), folder(std::move(options), summary) {}
        RunSummary summary;
        RunFolderOutput folder;
    };

    [[nodiscard]] bool IsOtherFolder(std::int64_t number);
    void TellFailure(const std::string& failure, const char* next);
    void BeginDay(const GNSS::GPSTime& time);
    [[nodiscard]] std::string EndDay(const RunFacts& facts);

    RunFolderOptions options_;
    std::optional<GNSS::ECEF> reference_;
    Descriptor lock_;
    const RunFacts* facts_ = nullptr;
    RunFacts before_;  // when the last day ended
    std::optional<Day> day_;
    std::vector<RunEvent> early_;  // from before the first day
    std::int64_t number_ = 0;      // of the day, from the beginning of GPS time
    std::int64_t lastNumber_ = 0;  // of the last epoch's day
    int nmrJumps_ = 0;
    std::int64_t nmrSteady_ = 0;             // epochs since the last jump
    std::optional<GNSS::GPSTime> failedAt_;  // when a folder could not be written, until the next one
    std::string lost_;                       // what was the matter
    std::string current_;                    // its folder
    std::string last_;
    std::string lastSummary_;
    std::string failure_;
};

}  // namespace Host
