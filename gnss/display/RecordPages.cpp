#include "gnss/display/RecordPages.h"

#include <algorithm>
#include <utility>

#include "gnss/platform/Font.h"
#include "gnss/platform/Number.h"
#include "gnss/platform/String.h"

namespace GNSS {

using Corvane::DC;
using Corvane::Saturate;
using Corvane::Size;
using Corvane::String;
using Corvane::StringTable;
using Corvane::Style;
using Corvane::TextPlace;

namespace {

// How many equal steps fit into what the first one leaves of a room, the first one counted.
std::int32_t Count(std::int32_t room, std::int32_t first, std::int32_t second) {
    const std::int64_t step = std::max<std::int64_t>(1, std::int64_t{second} - first);
    return Saturate(1 + std::max<std::int64_t>(0, std::int64_t{room} - first) / step);
}

}  // namespace

RecordPages::RecordPages(std::span<const RecordTable> tables, const DC& dc, const Style::List& styles, Size area)
    : dc_(dc), styles_(styles), area_(area), gap_(dc.GetFontMetrics(styles.Get(Style::Cell).font).LineHeight()) {
    const std::int32_t foot = dc.GetFontMetrics(styles.Get(Style::Heading).font).LineHeight();
    if (LayOut(tables, area) && nmrPages_ > 1) LayOut(tables, {area.width, area.height - foot});
}

bool RecordPages::LayOut(std::span<const RecordTable> tables, Size area) {
    pieces_.clear();
    size_ = {};
    next_ = {};
    rowBottom_ = 0;
    nmrPages_ = 1;
    for (const RecordTable& table : tables) {
        if (!AddBlocks(table, area)) {
            pieces_.clear();
            nmrPages_ = 1;
            return false;
        }
    }
    return true;
}

StringTable RecordPages::Measured(const RecordTable& table, const RecordTable::Block& block) const {
    StringTable measured = table.MakeTable(block);
    measured.Calc(dc_, styles_);
    return measured;
}

bool RecordPages::AddBlocks(const RecordTable& table, Size area) {
    const RecordTable::Block whole = table.GetWhole();
    if (table.IsEmpty()) return Place(Measured(table, whole), area);
    RecordTable::Block block = whole;
    block.nmrRecords = 1;
    const std::int32_t one = Measured(table, block).GetWidth();
    block.nmrRecords = 2;
    const std::int32_t two = Measured(table, block).GetWidth();
    const std::int32_t most = std::min(Count(area.width, one, two), whole.nmrRecords);
    while (block.firstRecord < whole.nmrRecords) {
        block.nmrRecords = std::min(most, whole.nmrRecords - block.firstRecord);
        // A bold heading or value may be wider than what was measured.
        while (block.nmrRecords > 1 && Measured(table, block).GetWidth() > area.width) --block.nmrRecords;
        if (!AddPieces(table, block, area)) return false;
        block.firstRecord += block.nmrRecords;
    }
    return true;
}

bool RecordPages::AddPieces(const RecordTable& table, RecordTable::Block block, Size area) {
    StringTable whole = Measured(table, block);
    if (whole.GetHeight() <= area.height) return Place(std::move(whole), area);
    const std::int32_t end = block.nmrParameters;
    block.nmrParameters = 1;
    const std::int32_t one = Measured(table, block).GetHeight();
    block.nmrParameters = 2;
    const std::int32_t two = Measured(table, block).GetHeight();
    const std::int32_t most = Count(area.height, one, two);
    while (block.firstParameter < end) {
        block.nmrParameters = std::min(most, end - block.firstParameter);
        StringTable piece = Measured(table, block);
        // Rule lines come on top of the rows.
        while (block.nmrParameters > 1 && piece.GetHeight() > area.height) {
            --block.nmrParameters;
            piece = Measured(table, block);
        }
        if (!Place(std::move(piece), area)) return false;
        block.firstParameter += block.nmrParameters;
    }
    return true;
}

bool RecordPages::Place(StringTable table, Size area) {
    const Size size = table.GetSize();
    if (size.width > area.width || size.height > area.height) {
        needed_ = size;
        return false;
    }
    const auto fits = [&](std::int32_t at, std::int32_t extent, std::int32_t room) {
        return std::int64_t{at} + extent <= room;
    };
    if (!fits(next_.x, size.width, area.width) || !fits(next_.y, size.height, area.height))
        next_ = {0, Saturate(std::int64_t{rowBottom_} + gap_)};
    if (!fits(next_.y, size.height, area.height)) {
        next_ = {};
        rowBottom_ = 0;
        ++nmrPages_;
    }
    const Corvane::Point end = next_ + Corvane::Point{size.width, size.height};
    pieces_.push_back({std::move(table), next_, nmrPages_ - 1});
    rowBottom_ = std::max(rowBottom_, end.y);
    size_ = {std::max(size_.width, end.x), std::max(size_.height, end.y)};
    next_.x = Saturate(std::int64_t{end.x} + gap_);
    return true;
}

void RecordPages::Draw(DC& dc, std::int32_t page) const {
    if (area_.width <= 0 || area_.height <= 0) return;
    const DC::Scope scope(dc);
    const auto write = [&](std::int32_t y, const String& text, TextPlace::Anchor anchor) {
        dc.SetTextColour(styles_.Get(Style::Heading).text);
        dc.SelectFont(styles_.Get(Style::Heading).font);
        dc.DrawText({0, y}, text, {TextPlace::Left, anchor});
    };
    if (!Fits()) {
        write(0, "Too small: takes " + String::FormatInt(needed_.width) + " x " + String::FormatInt(needed_.height),
              TextPlace::Top);
        return;
    }
    for (const Piece& piece : pieces_) {
        if (piece.page != page) continue;
        const DC::Scope shifted(dc, piece.at);
        piece.table.Draw(dc, styles_);
    }
    if (nmrPages_ > 1) {
        write(area_.height, "Page " + String::FormatInt(page + 1) + " of " + String::FormatInt(nmrPages_),
              TextPlace::Bottom);
    }
}

}  // namespace GNSS
