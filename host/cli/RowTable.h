// RowTable: one of several tables of a command's output.
#pragma once

#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/report/Rows.h"
#include "host/report/Sink.h"

namespace Host {

// In the files every row says first what it is, and which log it is about where there is one; for people an empty line
// parts the tables.
class RowTable {
public:
    // The texts must live as long as the table.
    RowTable(std::string_view what, const std::string* file, Form form, std::vector<Column> columns, Sink& sink) {
        if (form == Form::Table) {
            sink.Write("\n");
        } else {
            cells_.emplace_back(what);
            if (file != nullptr) cells_.emplace_back(std::string_view(*file));
            if (file != nullptr) columns.insert(columns.begin(), Column{"file", ""});
            columns.insert(columns.begin(), Column{"row", ""});
        }
        nmrNames_ = cells_.size();
        writer_ = RowWriter::Make(form, std::move(columns), sink);
    }

    void Write(std::initializer_list<Cell> cells) { Write(std::span(cells.begin(), cells.size())); }
    void Write(std::span<const Cell> cells) {
        cells_.resize(nmrNames_);
        cells_.insert(cells_.end(), cells.begin(), cells.end());
        writer_->Write(cells_);
    }

private:
    std::size_t nmrNames_ = 0;
    std::vector<Cell> cells_;
    std::unique_ptr<RowWriter> writer_;
};

}  // namespace Host
