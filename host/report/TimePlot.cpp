#include "host/report/TimePlot.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "gnss/platform/Number.h"
#include "host/report/Plot.h"

namespace Host {

using Corvane::Colour;
using Corvane::DC;
using Corvane::Pen;
using Corvane::Point;
using Corvane::Rect;
using Corvane::Size;
using Corvane::String;
using Corvane::TextPlace;

namespace {

constexpr TextPlace LeftMiddle{TextPlace::Left, TextPlace::Middle};
constexpr TextPlace RightMiddle{TextPlace::Right, TextPlace::Middle};
constexpr TextPlace CentreMiddle{TextPlace::Centre, TextPlace::Middle};
constexpr std::int32_t PanelHead = 26;  // its title and key
constexpr std::int32_t PanelGap = 10;

void Line(DC& dc, Point from, Point to) {
    dc.MoveTo(from);
    dc.LineTo(to);
}

}  // namespace

std::vector<std::vector<ColumnRange>> ThinCurve(const RunSeries& series, const EpochFigure& figure,
                                                const TimeAxis& axis) {
    std::vector<std::vector<ColumnRange>> stretches;
    const double interval = series.GetInterval();
    const RunEpoch* last = nullptr;
    for (const RunEpoch& epoch : series.GetEpochs()) {
        const double value = figure(epoch);
        if (!std::isfinite(value)) {
            last = nullptr;
            continue;
        }
        if (last == nullptr || RunSeries::IsGap(*last, epoch, interval)) stretches.emplace_back();
        last = &epoch;
        std::vector<ColumnRange>& stretch = stretches.back();
        const std::int32_t x = axis.Place(series.TimeOf(epoch));
        if (stretch.empty() || stretch.back().x != x) {
            stretch.push_back({x, value, value});
        } else {
            stretch.back().low = std::min(stretch.back().low, value);
            stretch.back().high = std::max(stretch.back().high, value);
        }
    }
    return stretches;
}

namespace {

// The columns of epochs that are meant; from one to the next all is meant where both are, or where isGapMeant and
// epochs are missing.
template <class IsMeant>
std::vector<ColumnSpan> FindColumns(const RunSeries& series, const TimeAxis& axis, bool isGapMeant, IsMeant isMeant) {
    std::vector<ColumnSpan> spans;
    const auto add = [&spans](std::int32_t from, std::int32_t to) {
        if (!spans.empty() && from <= spans.back().to + 1 && from >= spans.back().from) {
            spans.back().to = std::max(spans.back().to, to);
        } else {
            spans.push_back({from, to});
        }
    };
    const double interval = series.GetInterval();
    const std::vector<RunEpoch>& epochs = series.GetEpochs();
    for (std::size_t i = 0; i < epochs.size(); ++i) {
        const std::int32_t x = axis.Place(series.TimeOf(epochs[i]));
        if (i > 0 && epochs[i].time > epochs[i - 1].time) {
            const bool isGap = RunSeries::IsGap(epochs[i - 1], epochs[i], interval);
            const bool areBoth = isMeant(epochs[i]) && isMeant(epochs[i - 1]);
            if (isGap ? isGapMeant : areBoth) add(axis.Place(series.TimeOf(epochs[i - 1])), x);
        }
        if (isMeant(epochs[i])) add(x, x);
    }
    return spans;
}

}  // namespace

std::vector<ColumnSpan> FindFaultColumns(const RunSeries& series, const TimeAxis& axis) {
    return FindColumns(series, axis, true, [](const RunEpoch& epoch) { return !epoch.IsFix(); });
}

std::vector<ColumnSpan> FindUncheckedColumns(const RunSeries& series, const TimeAxis& axis) {
    return FindColumns(series, axis, false, [](const RunEpoch& epoch) {
        return epoch.test == FixTest::NotTestable || epoch.test == FixTest::NotIdentifiable;
    });
}

namespace RunPlotStyle {

void Begin(DC& dc, const Palette& palette, const std::string& title, const std::string& subtitle) {
    dc.SetMetricFont({{}, 11});
    palette.Begin(dc);
    dc.SelectFont({.points = 13, .bold = true});
    dc.DrawText({Left, 18}, String::FromUTF8(title), LeftMiddle);
    dc.RevertFont();
    dc.SetTextColour(palette.faint);
    dc.DrawText({Left, 40}, String::FromUTF8(subtitle), LeftMiddle);
    dc.SetTextColour(palette.text);
}

Colour CurveColour(const Palette& palette, int number) {
    constexpr std::array<Colour, 4> OnLight{Colour{0, 92, 160}, {204, 82, 0}, {0, 130, 92}, {150, 70, 145}};
    constexpr std::array<Colour, 4> OnDark{Colour{96, 186, 240}, {240, 160, 40}, {30, 200, 150}, {222, 150, 205}};
    const auto place = static_cast<std::size_t>(number) % OnLight.size();
    return &palette == &Palette::Dark ? OnDark[place] : OnLight[place];
}

Colour Faded(Colour colour, std::uint8_t alpha) {
    colour.alpha = alpha;
    return colour;
}

String Fit(const DC& dc, const std::string& utf8, std::int32_t width) {
    String text = String::FromUTF8(utf8);
    if (dc.TextExtent(text).width <= width) return text;
    while (!text.IsEmpty() && dc.TextExtent(text + "...").width > width) text.RemoveRight(1);
    return text + "...";
}

void DrawTimeGrid(DC& dc, const Palette& palette, const TimeAxis& axis, const Rect& panel, bool isLast) {
    const std::int32_t bottom = panel.BottomRight().y;
    for (const TimeAxis::Tick& tick : axis.Ticks()) {
        dc.SetPen(Faded(palette.rule, 110), 1, Pen::Dot);
        Line(dc, {tick.x, panel.at.y}, {tick.x, bottom});
        if (!isLast) continue;
        dc.SetPen(palette.rule);
        Line(dc, {tick.x, bottom}, {tick.x, bottom + 5});
        dc.DrawText({tick.x, bottom + 15}, String(tick.label), CentreMiddle);
        if (!tick.date.empty()) dc.DrawText({tick.x, bottom + 15 + LinePitch - 2}, String(tick.date), CentreMiddle);
    }
}

void DrawColumns(DC& dc, Colour colour, const std::vector<ColumnSpan>& columns, const Rect& panel) {
    dc.SetPen(Pen::None);
    dc.SetBrush(colour);
    for (const ColumnSpan& span : columns)
        dc.DrawRectangle({{span.from, panel.at.y}, {std::max(2, span.to - span.from), panel.size.height}});
    dc.SetBrush(Corvane::Brush::None);
}

std::int32_t DrawShadeKey(DC& dc, Colour colour, const char* text, Point at) {
    dc.SetPen(Pen::None);
    dc.SetBrush(colour);
    dc.DrawRectangle({{at.x, at.y - 6}, {28, 12}});
    dc.SetBrush(Corvane::Brush::None);
    dc.DrawText({at.x + 36, at.y}, text, LeftMiddle);
    return at.x + 36 + dc.TextExtent(text).width + 24;
}

Colour FaultShade(const Palette& palette) {
    return Faded(palette.alert, 70);
}

Colour UncheckedShade(const Palette& palette) {
    return Faded(palette.faint, 60);
}

}  // namespace RunPlotStyle

namespace {

using namespace RunPlotStyle;

// One panel on one surface.
class PanelDrawing {
public:
    PanelDrawing(DC& dc, const Palette& palette, const RunSeries& series, const TimePanel& panel, const Rect& at,
                 const TimeAxis& axis)
        : dc_(dc), palette_(palette), panel_(panel), at_(at), axis_(axis) {
        // Few epochs for the room make a line that is seen from afar; many would run together.
        if (static_cast<double>(series.GetEpochs().size()) < 1.5 * at.size.width) lineWidth_ = 2;
        for (const TimeCurve& curve : panel.curves) curves_.push_back(ThinCurve(series, curve.figure, axis));
        ChooseRange(series);
    }

    void Draw(const std::vector<ColumnSpan>& faults, const std::vector<ColumnSpan>& unchecked, bool isLast) {
        DrawColumns(dc_, FaultShade(palette_), faults, at_);
        DrawColumns(dc_, UncheckedShade(palette_), unchecked, at_);
        DrawTimeGrid(dc_, palette_, axis_, at_, isLast);
        DrawScale();
        for (std::size_t i = 0; i < curves_.size(); ++i) DrawCurve(panel_.curves[i], curves_[i]);
        dc_.SetPen(palette_.rule);
        dc_.SetBrush(Corvane::Brush::None);
        dc_.DrawRectangle(at_);
        DrawKey();
    }

private:
    // What lies far outside of nearly all values would flatten the rest: it is shown at the edge, with its value.
    void ChooseRange(const RunSeries& series) {
        std::vector<double> values;
        double least = panel_.isFromZero ? 0.0 : FixFigures::None;
        double most = least;
        const auto include = [&](double value) {
            if (!std::isfinite(value)) return;
            least = std::fmin(least, value);
            most = std::fmax(most, value);
        };
        for (const TimeCurve& curve : panel_.curves) {
            values.clear();
            for (const RunEpoch& epoch : series.GetEpochs()) {
                if (const double value = curve.figure(epoch); std::isfinite(value)) values.push_back(value);
            }
            if (values.empty()) continue;
            std::ranges::sort(values);
            const std::size_t tail = values.size() / 200;
            const double low = values[tail];
            const double high = values[values.size() - 1 - tail];
            // Of a limit that varies, what holds nearly always: rare fixes with few satellites have high ones.
            const double room = curve.kind == TimeCurve::Kind::Limit ? 0.0 : std::max(high - low, 1e-9);
            include(std::max(values.front(), low - room));
            include(std::min(values.back(), high + room));
            if (curve.kind == TimeCurve::Kind::Band) include(-std::min(values.back(), high + room));
        }
        if (!std::isfinite(least)) least = most = 0.0;
        if (!(most - least > 1e-6)) most = least + 1.0;
        step_ = RoundStep(most - least, std::max(3, at_.size.height / 22));
        if (panel_.isWhole) step_ = std::max(1.0, std::ceil(step_));
        const double margin = 0.04 * (most - least);
        low_ = panel_.isFromZero && least >= 0.0 ? 0.0 : least - margin;
        high_ = most + margin;
    }

    static bool IsArea(TimeCurve::Kind kind) { return kind == TimeCurve::Kind::Band || kind == TimeCurve::Kind::Area; }

    [[nodiscard]] std::int32_t Y(double value) const {
        const double part = std::clamp((value - low_) / (high_ - low_), 0.0, 1.0);
        return at_.BottomRight().y - Corvane::ToInt(std::round(part * at_.size.height));
    }

    void DrawScale() {
        const int decimals = std::clamp(static_cast<int>(-std::floor(std::log10(step_) + 1e-9)), 0, 9);
        const std::int64_t first = Corvane::ToInt64(std::ceil(low_ / step_ - 1e-9));
        const std::int64_t last = Corvane::ToInt64(std::floor(high_ / step_ + 1e-9));
        for (std::int64_t i = first; i <= last && i - first < 50; ++i) {
            const double value = static_cast<double>(i) * step_;
            const std::int32_t y = Y(value);
            dc_.SetPen(Faded(palette_.rule, 110), 1, i == 0 ? Pen::Solid : Pen::Dot);
            Line(dc_, {at_.at.x, y}, {at_.BottomRight().x, y});
            dc_.DrawText({at_.at.x - 8, y}, String(fmt::format("{:.{}f}", i == 0 ? 0.0 : value, decimals)),
                         RightMiddle);
        }
    }

    void DrawCurve(const TimeCurve& curve, const std::vector<std::vector<ColumnRange>>& stretches) {
        const bool isBand = IsArea(curve.kind);
        const Colour colour =
            curve.kind == TimeCurve::Kind::Limit ? palette_.alert : CurveColour(palette_, curve.colour);
        dc_.SetPen(isBand ? Pen::None : Pen{colour, curve.kind == TimeCurve::Kind::Line ? lineWidth_ : 1});
        dc_.SetBrush(isBand ? Faded(colour, 45) : colour);
        std::vector<Point> outline;
        for (const std::vector<ColumnRange>& stretch : stretches) {
            // There along the upper edge, and back along the lower one.
            outline.clear();
            for (const ColumnRange& c : stretch) outline.push_back({c.x, Y(c.high)});
            for (auto c = stretch.rbegin(); c != stretch.rend(); ++c)
                outline.push_back({c->x, Y(!isBand ? c->low : curve.kind == TimeCurve::Kind::Area ? 0.0 : -c->high)});
            if (stretch.size() == 1) {
                outline.push_back({stretch[0].x + 1, outline.back().y});
                outline.push_back({stretch[0].x + 1, outline.front().y});
            }
            dc_.DrawPolygon(outline, {0, 0});
        }
        dc_.SetBrush(Corvane::Brush::None);
        if (curve.kind == TimeCurve::Kind::Line) DrawBeyond(stretches);
    }

    // Arrows at the edges where the curve leaves the panel; the value of the furthest where there is room.
    void DrawBeyond(const std::vector<std::vector<ColumnRange>>& stretches) {
        for (const bool isAbove : {true, false}) {
            std::int32_t free = at_.at.x;
            double furthest = 0.0;
            std::int32_t x = 0;
            std::int32_t lastX = 0;
            const auto end = [&] {
                if (furthest != 0.0) DrawArrow(x, isAbove, furthest, free);
                furthest = 0.0;
            };
            for (const auto& stretch : stretches) {
                for (const ColumnRange& c : stretch) {
                    const double value = isAbove ? c.high : c.low;
                    if (isAbove ? value <= high_ : value >= low_) continue;
                    if (c.x - lastX > 4) end();
                    if (furthest == 0.0 || std::abs(value) > std::abs(furthest)) {
                        furthest = value;
                        x = c.x;
                    }
                    lastX = c.x;
                }
            }
            end();
        }
    }

    void DrawArrow(std::int32_t x, bool isAbove, double value, std::int32_t& free) {
        const std::int32_t y = isAbove ? at_.at.y : at_.BottomRight().y;
        const std::int32_t way = isAbove ? 8 : -8;
        const std::array<Point, 3> arrow{Point{0, 0}, Point{-5, way}, Point{5, way}};
        dc_.SetPen(palette_.alert);
        dc_.SetBrush(palette_.alert);
        dc_.DrawPolygon(arrow, {x, y});
        dc_.SetBrush(Corvane::Brush::None);
        dc_.SelectFont(dc_.GetMetricFont().Smaller(2));
        const String text(fmt::format("{:.{}f}", value, std::abs(value) < 100.0 ? 1 : 0));
        const std::int32_t width = dc_.TextExtent(text).width;
        std::int32_t left = x + 8;
        if (left + width > at_.BottomRight().x) left = x - 8 - width;
        if (left >= free) {
            dc_.SetTextColour(palette_.alert);
            dc_.DrawText({left, y + way}, text, LeftMiddle);
            dc_.SetTextColour(palette_.text);
            free = left + width + 6;
        }
        dc_.RevertFont();
    }

    // Above the panel: its title, and from the right the names of the curves.
    void DrawKey() {
        const std::int32_t y = at_.at.y - 11;
        dc_.SelectFont({.bold = true});
        dc_.DrawText({at_.at.x, y}, String::FromUTF8(panel_.title), LeftMiddle);
        dc_.RevertFont();
        std::int32_t x = at_.BottomRight().x;
        for (auto curve = panel_.curves.rbegin(); curve != panel_.curves.rend(); ++curve) {
            if (curve->name.empty()) continue;
            const String name = String::FromUTF8(curve->name);
            x -= dc_.TextExtent(name).width;
            dc_.DrawText({x, y}, name, LeftMiddle);
            x -= 30;
            const Colour colour =
                curve->kind == TimeCurve::Kind::Limit ? palette_.alert : CurveColour(palette_, curve->colour);
            if (IsArea(curve->kind)) {
                dc_.SetPen(Pen::None);
                dc_.SetBrush(Faded(colour, 45));
                dc_.DrawRectangle({{x, y - 6}, {24, 12}});
                dc_.SetBrush(Corvane::Brush::None);
            } else {
                dc_.SetPen(colour, curve->kind == TimeCurve::Kind::Limit ? 1 : 3);
                Line(dc_, {x, y}, {x + 24, y});
            }
            x -= 18;
        }
    }

    DC& dc_;
    const Palette& palette_;
    const TimePanel& panel_;
    Rect at_;
    const TimeAxis& axis_;
    std::vector<std::vector<std::vector<ColumnRange>>> curves_;
    double low_ = 0.0;
    double high_ = 1.0;
    double step_ = 0.2;
    std::int32_t lineWidth_ = 1;
};

}  // namespace

Size TimePlot::GetSize() const {
    std::int32_t height = Head + Foot;
    for (const TimePanel& panel : panels_) height += PanelHead + panel.height + PanelGap;
    return {Width, height};
}

void TimePlot::Draw(DC& dc, const Palette& palette) const {
    const DC::Scope scope(dc);
    Begin(dc, palette, title_, subtitle_);
    if (series_.GetEpochs().empty()) return;
    const TimeAxis axis(series_.GetStart(), series_.GetSpan(), Left, Width - Left - Right);
    const std::vector<ColumnSpan> faults = FindFaultColumns(series_, axis);
    const std::vector<ColumnSpan> unchecked = FindUncheckedColumns(series_, axis);
    std::int32_t y = Head;
    for (const TimePanel& panel : panels_) {
        const Rect at{{Left, y + PanelHead}, {Width - Left - Right, panel.height}};
        PanelDrawing(dc, palette, series_, panel, at, axis).Draw(faults, unchecked, &panel == &panels_.back());
        y += PanelHead + panel.height + PanelGap;
    }
    const std::int32_t keyY = GetSize().height - 14;
    std::int32_t keyX = Left;
    if (!faults.empty()) keyX = DrawShadeKey(dc, FaultShade(palette), "no position or no measurements", {keyX, keyY});
    if (!unchecked.empty())
        static_cast<void>(DrawShadeKey(dc, UncheckedShade(palette), "redundancy of 1 or 0: not passed", {keyX, keyY}));
    dc.SetTextColour(palette.faint);
    dc.DrawText({Width - Right, keyY}, "GPS time", RightMiddle);
}

}  // namespace Host
