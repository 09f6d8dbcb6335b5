// Rows of named values, written as a table for people, as CSV or as NDJSON.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/report/Sink.h"

namespace Host {

// One column. Its name in CSV and NDJSON is `name`, with `_unit` behind it where there is a unit.
struct Column {
    std::string name;
    std::string unit;     // "m", "m/s", "s"; empty for a number without one
    int width = 10;       // in the table
    int decimals = 0;     // of numbers with a fraction; a negative number asks for that many significant digits
    bool isLeft = false;  // begins at the left of its width in the table
};

// A value: nothing, a whole number, a number with a fraction, yes or no, or a text (UTF-8, which must live until the
// row is written). NaN and infinities count as nothing.
using Cell = std::variant<std::monostate, std::int64_t, double, bool, std::string_view>;

enum class Form { Table, Csv, Ndjson };

// "table", "csv" or "ndjson"; false for anything else.
[[nodiscard]] bool ParseForm(std::string_view text, Form& form);

// Rows as JSON objects of one set of columns, as NDJSON has them.
class JsonRows {
public:
    explicit JsonRows(const std::vector<Column>& columns);

    // Appends {"gps_week":1590,...}; texts are taken as they are, but for what JSON must escape.
    void Append(std::span<const Cell> cells, std::string& to) const;
    // The same without the braces, from one of the columns on.
    void AppendMembers(std::span<const Cell> cells, std::size_t first, std::string& to) const;

private:
    std::vector<int> decimals_;
    std::vector<std::string> names_;
};

// Writes rows of one set of columns as they come; keeps none.
class RowWriter {
public:
    RowWriter() = default;
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;
    virtual ~RowWriter() = default;

    // Writes a row of as many cells as there are columns.
    virtual void Write(std::span<const Cell> cells) = 0;

    // A writer that has written its heading, unless the sink goes on with a file that has one. The sink must outlive
    // it.
    [[nodiscard]] static std::unique_ptr<RowWriter> Make(Form form, std::vector<Column> columns, Sink& sink);
};

// A number as the table and the files print it: fixed decimals, or significant digits for a negative count. Appends to
// `to`, which has room for 350 characters, and returns the end. Decimal point, whatever the locale.
[[nodiscard]] char* PrintNumber(double value, int decimals, char* to);

}  // namespace Host
