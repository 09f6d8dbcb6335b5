// Corvane::StringTable: a table of texts, drawn on a context or written as text.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <set>
#include <span>
#include <vector>

#include "gnss/platform/DC.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Font.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Style.h"

namespace Corvane {

// A table: an optional title, columns with an optional heading each, rows of cells, and rule lines under chosen rows.
// Columns and rows are counted from 0. The heading row is there when any column has a heading.
class GNSS_EXPORT StringTable {
public:
    struct Column {
        String heading{};
        // A text as wide as the column is to be at least, so that it keeps its width while its values change. The
        // column grows beyond it for a heading or a cell that is wider.
        String widthTemplate{};
        TextPlace::Align align = TextPlace::Left;  // of the heading and of the cells
    };

    // Where AddRule draws other than under a row of the grid.
    static constexpr std::int32_t UnderHeading = -1;  // without headings: under the title
    // Limits of the grid; what lies beyond is left out.
    static constexpr std::int32_t MaxColumns = 4096;
    static constexpr std::int32_t MaxRows = 1'000'000;

    // The definition.
    void SetTitle(const String& title) { title_ = title; }
    [[nodiscard]] const String& GetTitle() const { return title_; }
    void AddColumn(const Column& column);
    [[nodiscard]] std::int32_t NmrColumns() const { return static_cast<std::int32_t>(columns_.size()); }
    // A column without heading, width and alignment when the index is out of range.
    [[nodiscard]] const Column& GetColumn(std::int32_t column) const;
    [[nodiscard]] bool HasHeadings() const;

    // The grid. Resizing keeps the cells that stay; new cells are empty, and new columns have no heading.
    void Resize(std::int32_t nmrColumns, std::int32_t nmrRows);
    [[nodiscard]] std::int32_t NmrRows() const { return static_cast<std::int32_t>(rows_.size()); }
    // Removes the rows and leaves the rule lines.
    void ClearRows() { rows_.clear(); }
    // Appends a row: cells beyond the last column are left out, missing ones are empty. A row may be in the style of
    // headings. Gives the row's index, or -1 when the grid is full.
    std::int32_t AddRow(std::span<const String> cells, Style::Part part = Style::Cell);
    std::int32_t AddRow(std::initializer_list<String> cells, Style::Part part = Style::Cell) {
        return AddRow(std::span<const String>(cells.begin(), cells.size()), part);
    }
    // Sets a cell, in the style of its row or in one of its own. Nothing outside the grid.
    void SetCell(std::int32_t column, std::int32_t row, const String& text);
    void SetCell(std::int32_t column, std::int32_t row, const String& text, Style::Part part);
    // The text and the style of a cell; empty and Cell outside the grid.
    [[nodiscard]] const String& GetCell(std::int32_t column, std::int32_t row) const;
    [[nodiscard]] Style::Part GetPart(std::int32_t column, std::int32_t row) const;

    // Rule lines over the whole width: under a row, or UnderHeading. One under a row that the grid does not have waits
    // for it.
    void AddRule(std::int32_t row) { rules_.insert(row); }
    void ClearRules() { rules_.clear(); }
    [[nodiscard]] bool HasRule(std::int32_t row) const { return rules_.contains(row); }

    // Works out the size that the table takes on a context with these styles.
    void Calc(const DC& dc, const Style::List& styles = Style::List());
    // The size in pixels that the last Calc found; at first 0.
    [[nodiscard]] Size GetSize() const { return size_; }
    [[nodiscard]] std::int32_t GetWidth() const { return size_.width; }
    [[nodiscard]] std::int32_t GetHeight() const { return size_.height; }
    // Draws the table with its top left at the origin. The layout is that of the cells as they are now; the context is
    // left as it was.
    void Draw(DC& dc, const Style::List& styles) const;

    // The headings, if any, and the rows as text that pastes into a spreadsheet: cells separated by tabs, every row
    // ended by a line feed; a cell with a tab, a line break or a quote stands in quotes, with its own quotes doubled.
    // The title is not part of it.
    [[nodiscard]] String ToText() const;

private:
    struct CellText {
        String text;
        Style::Part part = Style::Cell;
    };
    struct Row {
        Style::Part part = Style::Cell;
        std::vector<CellText> cells;  // those beyond its end are empty
    };
    class Layout;

    [[nodiscard]] const CellText* FindCell(std::int32_t column, std::int32_t row) const;

    String title_;
    std::vector<Column> columns_;
    std::vector<Row> rows_;
    std::set<std::int32_t> rules_;
    Size size_;
};

}  // namespace Corvane
