#include "host/run/PositionRows.h"

#include <span>
#include <utility>

namespace Host {

PositionRows::PositionRows(Form form, const std::string& path, std::function<bool()> isStopped)
    : isStopped_(std::move(isStopped)), sink_(path, Sink::Mode::Whole) {
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
    if (shown_.empty()) return writer_->Write(cells);
    cells_.clear();
    for (const std::size_t i : shown_) cells_.push_back(cells[i]);
    writer_->Write(cells_);
}

std::string PositionRows::Finish(const RunFacts& /*facts*/) {
    writer_.reset();
    if (isStopped_ && isStopped_()) sink_.Discard();
    return sink_.Close();
}

}  // namespace Host
