#include "host/run/PositionRows.h"

#include <span>
#include <utility>

namespace Host {

PositionRows::PositionRows(Form form, const std::string& path, std::function<bool()> isStopped)
    : PositionRows(form, path, Sink::Mode::Whole) {
    isStopped_ = std::move(isStopped);
}

PositionRows::PositionRows(Form form, const std::string& path, Followed /*followed*/, std::function<bool()> isStopped)
    : PositionRows(form, path, Sink::Mode::Added) {
    sink_.SetStop(std::move(isStopped));
}

PositionRows::PositionRows(Form form, const std::string& path, Sink::Mode mode)
    : sink_(path, mode), isFollowed_(mode == Sink::Mode::Added) {
    std::vector<Column> columns = FixRow::Columns();
    if (form == Form::Table) {
        shown_ = FixRow::ChiefColumns();
        std::vector<Column> shown;
        for (const std::size_t i : shown_) shown.push_back(columns[i]);
        columns = std::move(shown);
    }
    writer_ = RowWriter::Make(form, std::move(columns), sink_);
}

void PositionRows::OnFix(const PublishedFix& fix) {
    const std::span<const Cell> cells = row_.Fill(fix, FiguresOf(fix.result));
    if (shown_.empty()) {
        writer_->Write(cells);
    } else {
        cells_.clear();
        for (const std::size_t i : shown_) cells_.push_back(cells[i]);
        writer_->Write(cells_);
    }
    if (isFollowed_) sink_.Flush();
}

std::string PositionRows::Finish(const RunFacts& /*facts*/) {
    writer_.reset();
    if (isStopped_ && isStopped_()) sink_.Discard();
    return sink_.Close();
}

}  // namespace Host
