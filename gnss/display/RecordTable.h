// RecordTable: records side by side, one row a parameter and one column a record; what a data view draws and copies.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/StringTable.h"
#include "gnss/platform/Style.h"

namespace GNSS {

// The table as a whole, from which string tables are made: of all of it, or of a block of columns and rows for a place
// with less room. A block names its parameters and its records as the whole does.
class GNSS_EXPORT RecordTable {
public:
    // A row: "Root of semi-major axis", "sqrt(A)", "m^1/2". Symbol and unit may be empty.
    struct Parameter {
        Corvane::String name{};
        Corvane::String symbol{};
        Corvane::String unit{};
        bool endsGroup = false;  // a rule line follows it
    };
    // A value, in the style of a part of a table: Cell, Alert or Faint.
    struct Cell {
        Corvane::String text{};
        Corvane::Style::Part part = Corvane::Style::Cell;
    };
    struct Record {
        Corvane::String heading{};  // "G05"
        std::vector<Cell> cells{};  // as many as there are parameters; missing ones are empty
    };
    // A run of records and one of parameters, each counted from 0.
    struct Block {
        std::int32_t firstRecord = 0;
        std::int32_t nmrRecords = 0;
        std::int32_t firstParameter = 0;
        std::int32_t nmrParameters = 0;
    };

    explicit RecordTable(const Corvane::String& title = {}) : title_(title) {}

    [[nodiscard]] const Corvane::String& GetTitle() const { return title_; }
    void AddParameter(const Parameter& parameter) { parameters_.push_back(parameter); }
    void AddRecord(Record record) { records_.push_back(std::move(record)); }
    [[nodiscard]] const std::vector<Parameter>& GetParameters() const { return parameters_; }
    [[nodiscard]] const std::vector<Record>& GetRecords() const { return records_; }
    [[nodiscard]] bool IsEmpty() const { return records_.empty(); }

    [[nodiscard]] Block GetWhole() const;
    // The string table of a block, whose runs are cut to what there is: columns for name, symbol and unit of the
    // parameters, and one a record, all as wide as the widest needs. A block that does not begin with the first record
    // and parameter says so in its title. Without a record there is the title alone.
    [[nodiscard]] Corvane::StringTable MakeTable(const Block& block) const;
    // The title in a line of its own, and the whole as text that pastes into a spreadsheet: see
    // Corvane::StringTable::ToText.
    [[nodiscard]] Corvane::String ToText() const;

private:
    Corvane::String title_;
    std::vector<Parameter> parameters_;
    std::vector<Record> records_;
};

}  // namespace GNSS
