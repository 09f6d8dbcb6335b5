// TableArt: how a table that is one Corvane::StringTable is sized and drawn.
#pragma once

#include "gnss/platform/DC.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/StringTable.h"
#include "gnss/platform/Style.h"

namespace GNSS {

// The part that the tables of the displays have in common; each fills its own table.
class TableArt {
public:
    // Draws with the top left at the origin.
    void Draw(Corvane::DC& dc, const Corvane::Style::List& styles) const { table_.Draw(dc, styles); }
    // Works out the size in pixels that the other three give; at first 0.
    void Calc(const Corvane::DC& dc, const Corvane::Style::List& styles = Corvane::Style::List()) {
        table_.Calc(dc, styles);
    }
    [[nodiscard]] Corvane::Size GetSize() const { return table_.GetSize(); }
    [[nodiscard]] int GetWidth() const { return table_.GetWidth(); }
    [[nodiscard]] int GetHeight() const { return table_.GetHeight(); }

    // The cells, for whoever writes the table as text.
    [[nodiscard]] const Corvane::StringTable& GetTable() const { return table_; }

protected:
    TableArt() = default;
    TableArt(const TableArt&) = default;
    TableArt& operator=(const TableArt&) = default;
    ~TableArt() = default;

    Corvane::StringTable table_;
};

}  // namespace GNSS
