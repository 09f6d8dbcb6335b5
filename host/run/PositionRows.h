// PositionRows: one row for each epoch of a run, with the quality of its position.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/report/FixRows.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"
#include "host/run/RunOutput.h"

namespace Host {

// The rows of FixRow. The table for people shows the chief columns, the files all.
class PositionRows : public RunOutput {
public:
    // To a file, which appears when it is whole, or standard output for an empty path. A run that is stopped makes no
    // file.
    PositionRows(Form form, const std::string& path, std::function<bool()> isStopped = {});
    // To a file or standard output that others follow: each row is there at once, after those of earlier runs, and
    // stays.
    struct Followed {};
    static constexpr Followed Following{};
    PositionRows(Form form, const std::string& path, Followed followed, std::function<bool()> isStopped = {});

    void OnFix(const PublishedFix& fix) override;
    [[nodiscard]] std::string Finish(const RunFacts& facts) override;
    [[nodiscard]] bool IsGood() const override { return sink_.IsGood(); }

private:
    PositionRows(Form form, const std::string& path, Sink::Mode mode);

    std::function<bool()> isStopped_;
    std::vector<std::size_t> shown_;  // columns; all when empty
    Sink sink_;
    std::unique_ptr<RowWriter> writer_;
    FixRow row_;
    std::vector<Cell> cells_;
    bool isFollowed_;
};

}  // namespace Host
