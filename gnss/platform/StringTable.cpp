#include "gnss/platform/StringTable.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "gnss/platform/Number.h"

namespace Corvane {

namespace {

// Made at the latest while this library loads, so that they outlive what the libraries that stand on it make.
const StringTable::Column& NoColumn() {
    static const StringTable::Column none;
    return none;
}
const String& NoText() {
    static const String none;
    return none;
}
[[maybe_unused]] const StringTable::Column& columnMadeEarly = NoColumn();
[[maybe_unused]] const String& textMadeEarly = NoText();

void AppendField(std::string& text, std::string_view field) {
    if (field.find_first_of("\t\n\r\"") == std::string_view::npos) {
        text += field;
        return;
    }
    text += '"';
    for (const char c : field) {
        if (c == '"') text += '"';
        text += c;
    }
    text += '"';
}

}  // namespace

void StringTable::AddColumn(const Column& column) {
    if (NmrColumns() < MaxColumns) columns_.push_back(column);
}

const StringTable::Column& StringTable::GetColumn(std::int32_t column) const {
    return column >= 0 && column < NmrColumns() ? columns_[static_cast<std::size_t>(column)] : NoColumn();
}

bool StringTable::HasHeadings() const {
    return std::any_of(columns_.begin(), columns_.end(), [](const Column& c) { return !c.heading.IsEmpty(); });
}

void StringTable::Resize(std::int32_t nmrColumns, std::int32_t nmrRows) {
    const auto width = static_cast<std::size_t>(std::clamp(nmrColumns, 0, MaxColumns));
    columns_.resize(width);
    rows_.resize(static_cast<std::size_t>(std::clamp(nmrRows, 0, MaxRows)));
    for (Row& row : rows_) {
        if (row.cells.size() > width) row.cells.resize(width);
    }
}

std::int32_t StringTable::AddRow(std::span<const String> cells, Style::Part part) {
    const std::int32_t index = NmrRows();
    if (index >= MaxRows) return -1;
    Row row{part, {}};
    const std::size_t count = std::min(cells.size(), columns_.size());
    row.cells.reserve(count);
    for (const String& cell : cells.first(count)) row.cells.push_back({cell, part});
    rows_.push_back(std::move(row));
    return index;
}

void StringTable::SetCell(std::int32_t column, std::int32_t row, const String& text) {
    if (row >= 0 && row < NmrRows()) SetCell(column, row, text, rows_[static_cast<std::size_t>(row)].part);
}

void StringTable::SetCell(std::int32_t column, std::int32_t row, const String& text, Style::Part part) {
    if (row < 0 || row >= NmrRows() || column < 0 || column >= NmrColumns()) return;
    Row& target = rows_[static_cast<std::size_t>(row)];
    const auto index = static_cast<std::size_t>(column);
    CellText cell{text, part};  // before the row grows: the text may be that of one of its cells
    if (index >= target.cells.size()) target.cells.resize(index + 1, {{}, target.part});
    target.cells[index] = std::move(cell);
}

const StringTable::CellText* StringTable::FindCell(std::int32_t column, std::int32_t row) const {
    if (row < 0 || row >= NmrRows() || column < 0) return nullptr;
    const auto& cells = rows_[static_cast<std::size_t>(row)].cells;
    const auto index = static_cast<std::size_t>(column);
    return index < cells.size() ? &cells[index] : nullptr;
}

const String& StringTable::GetCell(std::int32_t column, std::int32_t row) const {
    const CellText* cell = FindCell(column, row);
    return cell != nullptr ? cell->text : NoText();
}

Style::Part StringTable::GetPart(std::int32_t column, std::int32_t row) const {
    if (const CellText* cell = FindCell(column, row)) return cell->part;
    const bool inGrid = row >= 0 && row < NmrRows() && column >= 0 && column < NmrColumns();
    return inGrid ? rows_[static_cast<std::size_t>(row)].part : Style::Cell;
}

String StringTable::ToText() const {
    std::string text;
    if (HasHeadings()) {
        for (std::int32_t i = 0; i < NmrColumns(); ++i) {
            if (i > 0) text += '\t';
            AppendField(text, GetColumn(i).heading.View());
        }
        text += '\n';
    }
    for (std::int32_t row = 0; row < NmrRows(); ++row) {
        for (std::int32_t i = 0; i < NmrColumns(); ++i) {
            if (i > 0) text += '\t';
            AppendField(text, GetCell(i, row).View());
        }
        text += '\n';
    }
    return {std::move(text)};
}

// Where everything of a table stands on one context. Sums run in 64 bits, so that no text is too wide.
class StringTable::Layout {
public:
    Layout(const StringTable& table, const DC& dc, const Style::List& styles)
        : table_(table), dc_(dc), styles_(styles) {
        for (std::size_t i = 0; i < metrics_.size(); ++i) {
            metrics_[i] = dc.GetFontMetrics(styles.Get(static_cast<Style::Part>(i)).font);
        }
        padX_ = Metrics(Style::Cell).averageWidth;
        padY_ = std::max(1, Metrics(Style::Cell).LineHeight() / 8);
        const Pen& frame = styles.Get(Style::Background).pen;
        frame_ = frame.IsNone() ? 0 : std::max(1, frame.width);
        const Pen& rule = styles.Get(Style::Rule).pen;
        rule_ = rule.IsNone() ? 0 : std::max(1, rule.width);
        PlaceColumns();
        PlaceRows();
    }

    [[nodiscard]] Size GetSize() const { return {Saturate(width_), Saturate(height_)}; }

    void Draw(DC& dc) const {
        DrawBackground(dc);
        for (const Line& line : lines_) DrawLine(dc, line);
        dc.SetPen(styles_.Get(Style::Rule).pen);
        for (const std::int64_t y : ruleLines_) {
            dc.MoveTo({frame_, Saturate(y)});
            dc.LineTo({Saturate(width_ - frame_ - 1), Saturate(y)});
        }
    }

private:
    // Rows of the layout that are no rows of the grid.
    static constexpr std::int32_t TitleRow = -2;
    static constexpr std::int32_t HeadingRow = -1;

    struct Line {
        std::int32_t row = 0;
        std::int64_t baseline = 0;
    };
    struct Span {
        std::int64_t left = 0;
        std::int64_t width = 0;
    };

    [[nodiscard]] const FontMetrics& Metrics(Style::Part part) const {
        const auto index = static_cast<std::size_t>(static_cast<std::uint32_t>(part));
        return metrics_[index < metrics_.size() ? index : static_cast<std::size_t>(Style::Cell)];
    }
    [[nodiscard]] std::int64_t Width(const String& text, Style::Part part) const {
        return text.IsEmpty() ? 0 : dc_.TextExtent(text, styles_.Get(part).font).width;
    }

    void PlaceColumns() {
        std::int64_t right = 0;
        for (std::int32_t i = 0; i < table_.NmrColumns(); ++i) {
            const Column& column = table_.GetColumn(i);
            std::int64_t width = std::max(Width(column.widthTemplate, Style::Cell),  //
                                          Width(column.heading, Style::Heading));
            for (std::int32_t row = 0; row < table_.NmrRows(); ++row) {
                width = std::max(width, Width(table_.GetCell(i, row), table_.GetPart(i, row)));
            }
            columns_.push_back({right, width + 2 * std::int64_t{padX_}});
            right += columns_.back().width;
        }
        const std::int64_t titleWidth =
            table_.title_.IsEmpty() ? 0 : Width(table_.title_, Style::Title) + 2 * std::int64_t{padX_};
        width_ = std::max(right, titleWidth) + 2 * std::int64_t{frame_};
        // The columns stand in the middle below a title that is wider.
        for (Span& column : columns_) column.left += (width_ - right) / 2;
    }

    void PlaceRows() {
        height_ = frame_;
        if (!table_.title_.IsEmpty()) PlaceRow(TitleRow, Metrics(Style::Title).ascent, Metrics(Style::Title).descent);
        if (table_.HasHeadings()) {
            PlaceRow(HeadingRow, Metrics(Style::Heading).ascent, Metrics(Style::Heading).descent);
        }
        PlaceRule(UnderHeading);
        for (std::int32_t row = 0; row < table_.NmrRows(); ++row) {
            const FontMetrics& own = Metrics(table_.rows_[static_cast<std::size_t>(row)].part);
            std::int32_t ascent = own.ascent;
            std::int32_t descent = own.descent;
            for (const CellText& cell : table_.rows_[static_cast<std::size_t>(row)].cells) {
                ascent = std::max(ascent, Metrics(cell.part).ascent);
                descent = std::max(descent, Metrics(cell.part).descent);
            }
            PlaceRow(row, ascent, descent);
            PlaceRule(row);
        }
        height_ += frame_;
    }

    void PlaceRow(std::int32_t row, std::int32_t ascent, std::int32_t descent) {
        lines_.push_back({row, height_ + padY_ + ascent});
        height_ += std::int64_t{ascent} + descent + 2 * std::int64_t{padY_};
    }

    void PlaceRule(std::int32_t row) {
        if (rule_ == 0 || !table_.HasRule(row)) return;
        ruleLines_.push_back(height_ + rule_ / 2);
        height_ += rule_;
    }

    void DrawBackground(DC& dc) const {
        const Style& ground = styles_.Get(Style::Background);
        if (width_ <= 0 || height_ <= 0) return;
        dc.SetPen(Pen::None);
        dc.SetBrush(ground.brush);
        if (!ground.brush.IsNone()) dc.DrawRectangle({{0, 0}, {Saturate(width_ - 1), Saturate(height_ - 1)}});
        if (frame_ == 0) return;
        // The middle of the frame's line, so that all of it lies inside.
        dc.SetPen(ground.pen);
        dc.SetBrush(Brush::None);
        const std::int32_t middle = frame_ / 2;
        dc.DrawRectangle({{middle, middle}, {Saturate(width_ - frame_), Saturate(height_ - frame_)}});
    }

    void DrawLine(DC& dc, const Line& line) const {
        if (line.row == TitleRow) {
            DrawCell(dc, {0, width_}, line.baseline, table_.title_, Style::Title, TextPlace::Centre);
            return;
        }
        for (std::int32_t i = 0; i < table_.NmrColumns(); ++i) {
            const Column& column = table_.GetColumn(i);
            const Span& span = columns_[static_cast<std::size_t>(i)];
            if (line.row == HeadingRow) {
                DrawCell(dc, span, line.baseline, column.heading, Style::Heading, column.align);
            } else {
                DrawCell(dc, span, line.baseline, table_.GetCell(i, line.row), table_.GetPart(i, line.row),
                         column.align);
            }
        }
    }

    void DrawCell(DC& dc, const Span& span, std::int64_t baseline, const String& text, Style::Part part,
                  TextPlace::Align align) const {
        if (text.IsEmpty()) return;
        std::int64_t x = span.left + padX_;
        if (align == TextPlace::Centre) x = span.left + span.width / 2;
        if (align == TextPlace::Right) x = span.left + span.width - padX_;
        const Style& style = styles_.Get(part);
        dc.SetTextColour(style.text);
        dc.SelectFont(style.font);
        dc.DrawText({Saturate(x), Saturate(baseline)}, text, {align, TextPlace::Baseline});
    }

    const StringTable& table_;
    const DC& dc_;
    const Style::List& styles_;
    std::array<FontMetrics, Style::NmrParts> metrics_;
    std::int32_t padX_ = 0;   // room left and right of a cell's text
    std::int32_t padY_ = 0;   // above and below it
    std::int32_t frame_ = 0;  // width of the frame's line
    std::int32_t rule_ = 0;   // width of the rule lines
    std::int64_t width_ = 0;
    std::int64_t height_ = 0;
    std::vector<Span> columns_;
    std::vector<Line> lines_;
    std::vector<std::int64_t> ruleLines_;
};

void StringTable::Calc(const DC& dc, const Style::List& styles) {
    size_ = Layout(*this, dc, styles).GetSize();
}

void StringTable::Draw(DC& dc, const Style::List& styles) const {
    const DC::Scope scope(dc);
    Layout(*this, dc, styles).Draw(dc);
}

}  // namespace Corvane
