#include <algorithm>
#include <cmath>
#include <numbers>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "gnss/platform/Number.h"
#include "host/report/Plot.h"
#include "host/report/RunPlots.h"

namespace Host {

using Corvane::DC;
using Corvane::Pen;
using Corvane::Point;
using Corvane::Rect;
using Corvane::String;
using Corvane::TextPlace;
using namespace RunPlotStyle;

namespace {

constexpr std::int32_t Side = 460;
constexpr std::int32_t Width = TimePlot::Width;
constexpr std::int32_t ScatterFoot = 46;
constexpr TextPlace LeftMiddle{TextPlace::Left, TextPlace::Middle};
constexpr TextPlace RightMiddle{TextPlace::Right, TextPlace::Middle};
constexpr TextPlace CentreMiddle{TextPlace::Centre, TextPlace::Middle};

void Line(DC& dc, Point from, Point to) {
    dc.MoveTo(from);
    dc.LineTo(to);
}

}  // namespace

Corvane::Size ScatterPlot::GetSize() {
    return {Width, Head + Side + ScatterFoot};
}

void ScatterPlot::Draw(DC& dc, const Palette& palette) const {
    const DC::Scope scope(dc);
    Begin(dc, palette, "Horizontal scatter", std::string("against ") + reference_.Describe());
    std::vector<std::pair<double, double>> places;
    std::vector<double> sizes;
    for (const RunEpoch& epoch : series_.GetEpochs()) {
        if (!series_.IsCounted(epoch)) continue;
        const std::array<double, 3> d = reference_.Difference(series_, epoch);
        places.emplace_back(d[0], d[1]);
        sizes.push_back(std::max(std::abs(d[0]), std::abs(d[1])));
    }
    if (places.empty()) return;
    std::ranges::sort(sizes);
    const double usual = sizes[sizes.size() - 1 - sizes.size() / 200];
    const double reach = std::max(std::min(sizes.back(), 2.0 * usual) * 1.05, 1e-3);
    const double scale = 0.5 * Side / reach;
    const Rect frame{{Left, Head}, {Side, Side}};
    const Point centre{Left + Side / 2, Head + Side / 2};
    const auto place = [&](double east, double north) {
        return Point{centre.x + Corvane::ToInt(std::round(east * scale)),
                     centre.y - Corvane::ToInt(std::round(north * scale))};
    };

    const double step = RoundStep(2.0 * reach, 7);
    const int decimals = std::clamp(static_cast<int>(-std::floor(std::log10(step) + 1e-9)), 0, 9);
    const std::int64_t steps = Corvane::ToInt64(std::floor(reach / step + 1e-9));
    for (std::int64_t i = -steps; i <= steps && steps < 50; ++i) {
        const double value = static_cast<double>(i) * step;
        const Point at = place(value, value);
        dc.SetPen(Faded(palette.rule, 110), 1, i == 0 ? Pen::Solid : Pen::Dot);
        Line(dc, {at.x, frame.at.y}, {at.x, frame.BottomRight().y});
        Line(dc, {frame.at.x, at.y}, {frame.BottomRight().x, at.y});
        const String label(fmt::format("{:.{}f}", i == 0 ? 0.0 : value, decimals));
        dc.DrawText({at.x, frame.BottomRight().y + 14}, label, CentreMiddle);
        dc.DrawText({frame.at.x - 8, at.y}, label, RightMiddle);
    }
    // One dot for all positions on a pixel; what lies outside stands on the frame.
    std::set<std::pair<std::int32_t, std::int32_t>> dots;
    std::int64_t outside = 0;
    for (const auto& [east, north] : places) {
        outside += std::abs(east) > reach || std::abs(north) > reach ? 1 : 0;
        const Point at = place(std::clamp(east, -reach, reach), std::clamp(north, -reach, reach));
        dots.emplace(at.y, at.x);
    }
    dc.SetPen(Pen::None);
    dc.SetBrush(Faded(CurveColour(palette, 0), 150));
    // Neighbours in a row are one shape: a long run fills the plot.
    for (auto dot = dots.begin(); dot != dots.end();) {
        const auto [y, first] = *dot;
        std::int32_t last = first;
        for (++dot; dot != dots.end() && dot->first == y && dot->second <= last + 2; ++dot) last = dot->second;
        dc.DrawRectangle({{first - 1, y - 1}, {last - first + 2, 2}});
    }

    const Corvane::Ellipse ellipse = summary_.scatter.ScaledBy(EllipseFactor95);
    constexpr int Corners = 360;
    std::vector<Point> outline;
    for (int i = 0; i < Corners; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / Corners;
        const double along = ellipse.GetSemiMajor() * std::cos(angle);
        const double across = ellipse.GetSemiMinor() * std::sin(angle);
        const double bearing = ellipse.GetOrientation().Radians();
        outline.push_back(place(summary_.axes[0].mean + along * std::sin(bearing) + across * std::cos(bearing),
                                summary_.axes[1].mean + along * std::cos(bearing) - across * std::sin(bearing)));
    }
    dc.SetBrush(Corvane::Brush::None);
    dc.SetPen(CurveColour(palette, 1), 2);
    dc.DrawPolygon(outline, {0, 0});
    const Point mean = place(summary_.axes[0].mean, summary_.axes[1].mean);
    Line(dc, mean - Point{7, 0}, mean + Point{7, 0});
    Line(dc, mean - Point{0, 7}, mean + Point{0, 7});
    dc.SetPen(palette.rule);
    dc.DrawRectangle(frame);
    dc.DrawText({centre.x, frame.BottomRight().y + 34}, "east, m", CentreMiddle);
    dc.DrawText({16, centre.y}, "north, m", {TextPlace::Centre, TextPlace::Middle, 90.0});

    // Figures beside it.
    std::int32_t y = Head + 12;
    const std::int32_t x = frame.BottomRight().x + 28;
    const auto row = [&](const std::string& name, const std::string& value) {
        dc.SetTextColour(palette.faint);
        dc.DrawText({x, y}, String::FromUTF8(name), LeftMiddle);
        dc.SetTextColour(palette.text);
        dc.DrawText({Width - Right, y}, String::FromUTF8(value), RightMiddle);
        y += LinePitch + 4;
    };
    row("positions", fmt::format("{}", summary_.counted));
    if (summary_.isReferenceGiven) {
        row("mean east", fmt::format("{:+.2f} m", summary_.axes[0].mean));
        row("mean north", fmt::format("{:+.2f} m", summary_.axes[1].mean));
    }
    row("horizontal RMS", fmt::format("{:.2f} m", summary_.horizontalRms));
    row("95 % are within", fmt::format("{:.2f} m", summary_.horizontal95));
    y += LinePitch / 2;
    dc.SetPen(CurveColour(palette, 1), 2);
    Line(dc, {x, y}, {x + 24, y});
    dc.DrawText({x + 34, y}, "95 % ellipse of the scatter", LeftMiddle);
    y += LinePitch + 4;
    row("factor", fmt::format("{:.4f}", EllipseFactor95));
    row("semi-major axis", fmt::format("{:.2f} m", ellipse.GetSemiMajor()));
    row("semi-minor axis", fmt::format("{:.2f} m", ellipse.GetSemiMinor()));
    row("bearing", fmt::format("{:.0f}\u00b0", std::fmod(std::round(ellipse.GetOrientation().Degrees()), 180.0)));
    if (outside > 0) {
        y += LinePitch / 2;
        dc.SetTextColour(palette.alert);
        dc.DrawText({x, y}, String(fmt::format("{} outside, on the frame", outside)), LeftMiddle);
        y += LinePitch + 4;
        dc.DrawText({x, y}, String(fmt::format("furthest: {:.1f} m", sizes.back())), LeftMiddle);
        dc.SetTextColour(palette.text);
    }
}

}  // namespace Host
