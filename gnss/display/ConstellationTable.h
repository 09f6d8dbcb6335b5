// GNSS::ConstellationTable: the satellites of a constellation as a table.
#pragma once

#include "gnss/display/DopArt.h"
#include "gnss/fwd.h"
#include "gnss/platform/DC.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/StringTable.h"
#include "gnss/platform/Style.h"

namespace GNSS {

// A row for each satellite, in the constellation's order: number, elevation and azimuth in whole degrees cut towards
// zero, and a word for its state. GLONASS satellites stand below those of GPS under a heading of their own. Numbers are
// filled with blanks (" 9\xB0"); the cell of a direction that is not finite is empty.
class GNSS_EXPORT ConstellationTable {
public:
    // Of both systems.
    ConstellationTable() { Init(); }
    explicit ConstellationTable(const Constellation& constellation) : ConstellationTable() {
        SetConstellation(constellation);
    }

    // Also empties the table: the constellation is not kept.
    void SetMode(DopArt::Mode mode) {
        mode_ = mode;
        Init();
    }
    [[nodiscard]] DopArt::Mode GetMode() const { return mode_; }
    void SetConstellation(const Constellation& constellation);

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
    DopArt::Mode mode_ = DopArt::Both;
};

}  // namespace GNSS
