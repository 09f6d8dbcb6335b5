// GNSS::DOPTable: the main figures of a DOP as a table.
#pragma once

#include "gnss/fwd.h"
#include "gnss/platform/DC.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/StringTable.h"
#include "gnss/platform/Style.h"

namespace GNSS {

// GDOP, PDOP, HDOP and VDOP with three decimals; without values when the DOP is invalid.
class GNSS_EXPORT DOPTable {
public:
    // Of an invalid DOP.
    DOPTable() { Init(); }
    explicit DOPTable(const DOP& dop) : DOPTable() { SetDOP(dop); }

    void SetDOP(const DOP& dop);

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

private:
    void Init();

    Corvane::StringTable table_;
};

}  // namespace GNSS
