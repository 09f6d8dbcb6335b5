#include "gnss/display/RecordView.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "gnss/display/RecordPages.h"
#include "gnss/platform/Clipboard.h"
#include "gnss/platform/Clock.h"

namespace GNSS {

using Corvane::DC;
using Corvane::Ident;
using Corvane::Size;
using Corvane::String;
using Corvane::Style;

const Ident RecordView::CopyCommand("Copy");
const Ident RecordView::NextPageCommand("Next Page");
const Ident RecordView::PreviousPageCommand("Previous Page");
const Ident RecordView::ShowGlonassCommand("Show GLONASS");

RecordView::RecordView(Ident ident, bool hasGlonass) : Component(ident, CycleMS) {
    AddCommand({CopyCommand, "Copy", [this] { CopyToClipboard(); }, {}});
    if (hasGlonass) {
        AddCommand({ShowGlonassCommand, "Show GLONASS", [this] { ShowGlonass(!isGlonassShown_); },
                    [this] { return isGlonassShown_.load(); }});
    }
    AddCommand({NextPageCommand, "Next Page", [this] { SetPage(std::min(page_ + 1, nmrPages_ - 1)); }, {}});
    AddCommand({PreviousPageCommand, "Previous Page", [this] { SetPage(page_ - 1); }, {}});
}

RecordView::~RecordView() = default;

void RecordView::SetStyles(const Style::List& styles) {
    styles_ = styles;
    Invalidate();
}

void RecordView::ShowGlonass(bool show) {
    isGlonassShown_ = show;
    Invalidate();
}

void RecordView::SetPage(std::int32_t page) {
    page_ = std::max(page, 0);
    Invalidate();
}

std::vector<RecordTable> RecordView::GetTables() const {
    return MakeTables(GPSTime(Corvane::Now), isGlonassShown_);
}

String RecordView::ToText() const {
    String text;
    for (const RecordTable& table : GetTables()) {
        if (table.IsEmpty()) continue;
        if (!text.IsEmpty()) text += '\n';
        text += table.ToText();
    }
    return text;
}

bool RecordView::CopyToClipboard() const {
    const String text = ToText();
    return !text.IsEmpty() && Corvane::Clipboard::Copy(text);
}

Size RecordView::Calc(const DC& dc, std::int32_t width) const {
    const std::vector<RecordTable> tables = GetTables();
    // Until there is room for a satellite of each table.
    for (std::size_t i = 0;; ++i) {
        const RecordPages pages(tables, dc, styles_, {width, std::numeric_limits<std::int32_t>::max()});
        if (pages.Fits() || i == tables.size()) return pages.GetSize();
        width = pages.GetSize().width;
    }
}

bool RecordView::RequiresRedraw() const {
    if (View::RequiresRedraw() || !drawn_) return true;
    // Not below the period; also for a clock that was set back, or tells no time.
    return !(std::abs((GPSTime(Corvane::Now) - *drawn_).Seconds()) < RefreshPeriod.Seconds());
}

void RecordView::Draw(DC& dc, Size size) {
    const GPSTime now(Corvane::Now);
    const std::vector<RecordTable> tables = MakeTables(now, isGlonassShown_);
    const DC::Scope scope(dc);
    if (size.width > 0 && size.height > 0) {
        dc.SetPen(Corvane::Pen::None);
        dc.SetBrush(styles_.Get(Style::Background).brush);
        dc.DrawRectangle({{0, 0}, {size.width - 1, size.height - 1}});
    }
    const RecordPages pages(tables, dc, styles_, size);
    nmrPages_ = pages.NmrPages();
    page_ = std::min(page_, nmrPages_ - 1);
    pages.Draw(dc, page_);
    drawn_ = now;
}

}  // namespace GNSS
