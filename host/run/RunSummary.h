// RunSummary: what a run came to, in a few lines.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "host/fix/FixNotes.h"
#include "host/run/RunOutput.h"

namespace Host {

class RunSummary : public RunOutput {
public:
    void OnFix(const PublishedFix& fix) override;
    void OnEvent(const RunEvent& event) override { nmrEvents_ += event.text.empty() ? 0 : 1; }

    [[nodiscard]] std::int64_t NmrEpochs() const { return nmrEpochs_; }
    [[nodiscard]] std::int64_t NmrFixes() const { return nmrFixes_; }
    [[nodiscard]] std::int64_t NmrOf(FixTest test) const { return tests_[static_cast<std::size_t>(test)]; }
    // Epochs in which a satellite was rejected, by SatelliteName.
    [[nodiscard]] const std::map<std::string, std::int64_t>& GetRejected() const { return rejected_; }

    // Lines for people: epochs and fixes, the results of the tests in percent of the fixes, satellites rejected, the
    // notes by their kind.
    [[nodiscard]] std::string Print() const;

private:
    struct NoteKind {
        std::string text;  // of the first
        std::int64_t nmrEpochs = 0;
        std::int64_t lastEpoch = -1;
    };

    std::int64_t nmrEpochs_ = 0;
    std::int64_t nmrFixes_ = 0;
    std::int64_t nmrEvents_ = 0;
    std::optional<GNSS::GPSTime> first_, last_;
    std::array<std::int64_t, 5> tests_{};
    std::map<std::string, std::int64_t> rejected_;
    std::map<int, NoteKind> notes_;  // by FixNote
};

}  // namespace Host
