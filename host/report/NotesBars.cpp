#include <algorithm>

#include <fmt/format.h>

#include "gnss/health/NotesHistory.h"
#include "host/fix/FixNotes.h"
#include "host/report/RunPlots.h"
#include "host/report/SafeText.h"

namespace Host {

using Corvane::DC;
using Corvane::Rect;
using Corvane::TextPlace;
using namespace RunPlotStyle;

namespace {

constexpr std::int32_t RowHeight = 19;
constexpr std::int32_t Names = 330;  // for their texts
constexpr TextPlace LeftMiddle{TextPlace::Left, TextPlace::Middle};
constexpr TextPlace RightMiddle{TextPlace::Right, TextPlace::Middle};

bool IsAlarm(const GNSS::Notes::Note& note) {
    return Host::IsAlarm(static_cast<FixNote>(note.GetId()));
}

}  // namespace

NotesBars::NotesBars(const RunSeries& series) : series_(series) {
    for (int i = 0; i < series.GetHistory().NmrNote(); ++i) rows_.push_back(i);
    std::stable_partition(rows_.begin(), rows_.end(), [&](int i) { return IsAlarm(series.GetHistory()[i].GetNote()); });
}

Corvane::Size NotesBars::GetSize() const {
    const auto rows = static_cast<std::int32_t>(std::min<std::size_t>(rows_.size(), MaxRows));
    return {TimePlot::Width, Head + std::max(rows, 1) * RowHeight + Foot};
}

void NotesBars::Draw(DC& dc, const Palette& palette) const {
    const DC::Scope scope(dc);
    const std::size_t shown = std::min<std::size_t>(rows_.size(), MaxRows);
    Begin(dc, palette, "Notes",
          rows_.empty()          ? "none"
          : shown < rows_.size() ? fmt::format("{} of {}; notes.csv has all", shown, rows_.size())
                                 : fmt::format("{} different ones", rows_.size()));
    if (series_.GetEpochs().empty()) return;
    const std::int32_t left = Names;
    const TimeAxis axis(series_.GetStart(), series_.GetSpan(), left, TimePlot::Width - left - Right);
    const Rect panel{{left, Head}, {TimePlot::Width - left - Right, GetSize().height - Head - Foot}};
    DrawTimeGrid(dc, palette, axis, panel, true);
    std::int32_t top = Head;
    for (std::size_t row = 0; row < shown; ++row) {
        const GNSS::Notes::History::HistoricalNote& note = series_.GetHistory()[rows_[row]];
        const Corvane::Colour colour = IsAlarm(note.GetNote()) ? palette.alert : CurveColour(palette, 0);
        const std::int32_t middle = top + RowHeight / 2;
        dc.DrawText({left - 10, middle}, Fit(dc, CleanText(note.GetNote().GetText().ToUTF8()), left - 24), RightMiddle);
        dc.SetPen(Corvane::Pen::None);
        dc.SetBrush(colour);
        // Intervals that touch on the picture are one bar.
        std::int32_t from = 0;
        std::int32_t to = -1;
        const auto bar = [&] {
            if (to >= from) dc.DrawRectangle({{from, top + 3}, {std::max(2, to - from), RowHeight - 6}});
        };
        for (int i = 0; i < note.NmrInterval(); ++i) {
            const GNSS::Notes::History::Interval interval = note.GetInterval(i);
            const std::int32_t begin = axis.Place(GNSS::GPSTime(interval.GetStart()));
            const std::int32_t end = axis.Place(GNSS::GPSTime(interval.GetEnd()));
            if (to < from || begin > to + 1 || begin < from) {
                bar();
                from = begin;
            }
            to = std::max(begin, end);
        }
        bar();
        dc.SetBrush(Corvane::Brush::None);
        top += RowHeight;
    }
    dc.SetPen(palette.rule);
    dc.DrawRectangle(panel);
    const std::int32_t y = GetSize().height - 14;
    const auto sample = [&](std::int32_t x, Corvane::Colour colour, const char* text) {
        dc.SetPen(Corvane::Pen::None);
        dc.SetBrush(colour);
        dc.DrawRectangle({{x, y - 6}, {24, 12}});
        dc.SetBrush(Corvane::Brush::None);
        dc.DrawText({x + 32, y}, text, LeftMiddle);
    };
    sample(left, palette.alert, "alarm");
    sample(left + 110, CurveColour(palette, 0), "remark");
    dc.SetTextColour(palette.faint);
    dc.DrawText({TimePlot::Width - Right, y}, "GPS time", RightMiddle);
}

}  // namespace Host
