// RunSummary: what a run came to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "gnss/geodesy/ECEF.h"
#include "host/report/PositionDifferences.h"
#include "host/report/RunFigures.h"
#include "host/report/RunSeries.h"
#include "host/run/RunOutput.h"

namespace Host {

// Sums a run up for its other outputs: it comes before them, and is finished when they are told to finish. Keeps less
// than two hundred bytes of every epoch.
class RunSummary : public RunOutput {
public:
    // The reference is the true position, where it is known; without it differences are from the run's own mean.
    explicit RunSummary(const std::optional<GNSS::ECEF>& reference = std::nullopt) : given_(reference) {}

    void OnFix(const PublishedFix& fix) override;
    void OnEvent(const RunEvent& event) override { nmrEvents_ += event.text.empty() ? 0 : 1; }
    void OnReceiverFix(const ReceiverFix& fix) override { comparison_.Add(fix); }
    [[nodiscard]] std::string Finish(const RunFacts& facts) override;

    [[nodiscard]] const RunSeries& GetSeries() const { return series_; }
    // Once finished.
    [[nodiscard]] const RunFigures& GetFigures() const { return figures_; }
    [[nodiscard]] RunReference GetReference() const { return {series_, given_}; }

private:
    std::optional<GNSS::ECEF> given_;
    RunSeries series_;
    ReceiverComparison comparison_;
    std::int64_t nmrEvents_ = 0;
    RunFigures figures_;
};

}  // namespace Host
