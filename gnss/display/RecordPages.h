// RecordPages: record tables laid out in blocks on pages.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "gnss/display/RecordTable.h"
#include "gnss/platform/DC.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/StringTable.h"
#include "gnss/platform/Style.h"

namespace GNSS {

// Each table is cut into blocks of as many records as the width has room for, and a block into pieces of as many
// parameters as the height has room for. Pieces stand beside one another where they fit, else below, else on the next
// page. Where there are several pages, a line at the foot tells which one it is.
class RecordPages {
public:
    // For the area of that size on a context, which is measured with and not drawn on. Styles must live as long.
    RecordPages(std::span<const RecordTable> tables, const Corvane::DC& dc, const Corvane::Style::List& styles,
                Corvane::Size area);

    [[nodiscard]] std::int32_t NmrPages() const { return nmrPages_; }
    // Whether every piece has room in the area.
    [[nodiscard]] bool Fits() const { return needed_.width == 0; }
    // What the widest row of pieces and the tallest page take; of an area that has no room for a piece, what that
    // takes.
    [[nodiscard]] Corvane::Size GetSize() const { return Fits() ? size_ : needed_; }
    void Draw(Corvane::DC& dc, std::int32_t page) const;

private:
    struct Piece {
        Corvane::StringTable table;
        Corvane::Point at;
        std::int32_t page = 0;
    };

    // False when a first piece is larger than the area.
    bool LayOut(std::span<const RecordTable> tables, Corvane::Size area);
    bool AddBlocks(const RecordTable& table, Corvane::Size area);
    bool AddPieces(const RecordTable& table, RecordTable::Block block, Corvane::Size area);
    bool Place(Corvane::StringTable table, Corvane::Size area);
    [[nodiscard]] Corvane::StringTable Measured(const RecordTable& table, const RecordTable::Block& block) const;

    const Corvane::DC& dc_;
    const Corvane::Style::List& styles_;
    const Corvane::Size area_;
    std::int32_t gap_ = 0;
    std::vector<Piece> pieces_;
    Corvane::Size needed_;  // by the first piece that had no room
    Corvane::Size size_;
    Corvane::Point next_;         // where the next piece goes
    std::int32_t rowBottom_ = 0;  // of the row of pieces that it goes to
    std::int32_t nmrPages_ = 1;
};

}  // namespace GNSS
