// PositionRows: one row for each epoch of a run, with the quality of its position.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/report/Rows.h"
#include "host/report/Sink.h"
#include "host/run/RunOutput.h"

namespace Host {

// An epoch without a position has a row with its time, its counts and the reason. The table for people shows the chief
// columns, the files all. Times are GPS time.
class PositionRows : public RunOutput {
public:
    // To a file, or standard output for an empty path.
    PositionRows(Form form, const std::string& path);

    void OnFix(const PublishedFix& fix) override;
    [[nodiscard]] std::string Finish(const RunFacts& facts) override;
    [[nodiscard]] bool IsGood() const override { return sink_.IsGood(); }

private:
    bool isTable_;
    Sink sink_;
    std::unique_ptr<RowWriter> writer_;
    std::vector<Cell> cells_;
};

}  // namespace Host
