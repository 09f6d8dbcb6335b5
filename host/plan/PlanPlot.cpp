#include "host/plan/PlanPlot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "host/plan/TimeAxis.h"

namespace Host {

using Corvane::Colour;
using Corvane::DC;
using Corvane::Pen;
using Corvane::Point;
using Corvane::Rect;
using Corvane::Size;
using Corvane::String;
using Corvane::TextPlace;
using GNSS::GPSTime;

namespace {

constexpr std::int32_t Width = 1200;
constexpr std::int32_t RowHeight = 14;
constexpr std::int32_t DopHeight = 200;
constexpr std::int32_t CountHeight = 110;
constexpr std::int32_t Space = 16;  // between panels
constexpr std::int32_t Left = 64;   // of the panels, for labels
constexpr std::int32_t Right = 100;
constexpr std::int32_t LinePitch = 18;
constexpr std::int32_t Head = 3 * LinePitch + 2 * LinePitch;  // titles, and the numbers of windows in two rows
constexpr std::int32_t Foot = 2 * LinePitch + 2 * LinePitch;  // labels of the axis, and the key
constexpr std::int32_t HatchPitch = 7;

constexpr TextPlace LeftMiddle{TextPlace::Left, TextPlace::Middle};
constexpr TextPlace RightMiddle{TextPlace::Right, TextPlace::Middle};
constexpr TextPlace CentreMiddle{TextPlace::Centre, TextPlace::Middle};

// Lines at 45 degrees, cut at the edges; of neighbouring rectangles they meet.
void Hatch(DC& dc, const Rect& rect) {
    const std::int32_t left = rect.at.x;
    const std::int32_t top = rect.at.y;
    const std::int32_t right = left + rect.size.width;
    const std::int32_t bottom = top + rect.size.height;
    // On a line x + y is the same.
    const std::int32_t first = (left + top + HatchPitch) / HatchPitch * HatchPitch;
    for (std::int32_t sum = first; sum < right + bottom; sum += HatchPitch) {
        const std::int32_t fromX = std::max(left, sum - bottom);
        const std::int32_t toX = std::min(right, sum - top);
        dc.MoveTo({fromX, sum - fromX});
        dc.LineTo({toX, sum - toX});
    }
}

const char* ShortName(std::uint8_t faults) {
    if ((faults & PlanEpoch::NoDOP) != 0) return "no fix";
    if ((faults & PlanEpoch::HighPDOP) != 0) return "PDOP";
    if ((faults & PlanEpoch::HighHDOP) != 0) return "HDOP";
    return "few";
}

// Steps of a count's axis that give up to five lines.
int CountStep(int most) {
    for (const int step : {1, 2, 5, 10}) {
        if (most <= 5 * step) return step;
    }
    return 20;
}

Colour StateColour(const Palette& palette, GNSS::Constellation::State code) {
    for (const Palette::State& state : palette.states) {
        if (state.code == code) return state.colour;
    }
    return palette.text;
}

}  // namespace

// One drawing on one surface.
class PlanPlot::Drawing {
public:
    Drawing(const PlanPlot& plot, DC& dc, const Palette& palette)
        : plot_(plot), plan_(plot.plan_), dc_(dc), palette_(palette) {}

    void Draw() {
        palette_.Begin(dc_);
        DrawTitle();
        const Size size = dc_.GetSize();
        const std::int32_t least = Head + 4 * Space + Foot + static_cast<std::int32_t>(plot_.rows_.size());
        if (size.width < 2 * (Left + Right) || size.height < least || plan_.epochs.empty()) return;
        Place(size);
        for (const PlanWindow& window : plan_.windows) DrawWindow(window);
        DrawGrid();
        DrawBars();
        DrawCounts();
        DrawDops();
        DrawWindowNumbers();
        DrawKey();
    }

private:
    void Place(Size size) {
        const std::int32_t width = size.width - Left - Right;
        const auto nmrRows = std::max(1, static_cast<std::int32_t>(plot_.rows_.size()));
        // What there is for the panels; the upper two give way before the rows do.
        const std::int32_t height = size.height - Head - Foot - 2 * Space;
        const std::int32_t upper =
            std::max(height / 4, std::min(height - nmrRows * RowHeight, DopHeight + CountHeight));
        dop_ = {{Left, Head}, {width, upper * DopHeight / (DopHeight + CountHeight)}};
        count_ = {{Left, dop_.BottomRight().y + Space}, {width, upper - dop_.size.height}};
        bars_ = {{Left, count_.BottomRight().y + Space}, {width, height - upper}};
        axis_ = TimeAxis(plan_.settings.from, plan_.settings.span, Left, width);

        double most = 0.0;
        for (const PlanEpoch& epoch : plan_.epochs) {
            mostSatellites_ = std::max(mostSatellites_, epoch.NmrSatellites());
            if (const GNSS::DOP& dop = plan_.DopOf(epoch); dop.IsValid()) most = std::max(most, dop.GetPDOP());
        }
        const double limit = std::max(plan_.settings.pdopLimit, plan_.settings.hdopLimit);
        mostDop_ = std::ceil(std::clamp(most * 1.05, limit * 1.4, limit * 2.5));
        if (!(mostDop_ >= 1.0 && mostDop_ <= 1e6)) mostDop_ = 10.0;  // limits that are no use
        mostSatellites_ = std::max(mostSatellites_, std::clamp(plan_.settings.leastSatellites, 1, 60)) + 1;
    }

    [[nodiscard]] std::int32_t DopY(double value) const {
        const double part = std::clamp(value / mostDop_, 0.0, 1.0);
        return dop_.BottomRight().y - Corvane::ToInt(std::round(part * dop_.size.height));
    }
    [[nodiscard]] std::int32_t CountY(int value) const {
        return count_.BottomRight().y - value * count_.size.height / mostSatellites_;
    }
    [[nodiscard]] std::int32_t RowY(std::size_t row) const {
        const auto nmr = static_cast<std::int64_t>(plot_.rows_.size());
        return bars_.at.y + static_cast<std::int32_t>(static_cast<std::int64_t>(row) * bars_.size.height / nmr);
    }

    void Text(Point at, const std::string& text, const TextPlace& place, Colour colour) {
        dc_.SetTextColour(colour);
        dc_.DrawText(at, String(text), place);
        dc_.SetTextColour(palette_.text);
    }
    void Line(Point from, Point to) {
        dc_.MoveTo(from);
        dc_.LineTo(to);
    }

    void DrawTitle() {
        dc_.SelectFont({.points = dc_.GetMetricFont().points + 2, .bold = true});
        dc_.DrawText({Left, LinePitch}, plot_.title_, LeftMiddle);
        dc_.RevertFont();
        dc_.DrawText({Left, 2 * LinePitch + 2}, plot_.subtitle_, LeftMiddle);
    }

    void DrawWindow(const PlanWindow& window) {
        const std::int32_t from = axis_.Place(window.from);
        const std::int32_t to = std::max(axis_.Place(window.to), from + 2);
        dc_.SetPen(palette_.alert);
        for (const Rect& panel : {dop_, count_, bars_}) {
            Hatch(dc_, {{from, panel.at.y}, {to - from, panel.size.height}});
            Line({from, panel.at.y}, {from, panel.BottomRight().y});
            Line({to, panel.at.y}, {to, panel.BottomRight().y});
        }
    }

    // In two rows above the panels; a number without room is left to the table.
    void DrawWindowNumbers() {
        std::array<std::int32_t, 2> ends{0, 0};
        dc_.SelectFont({.bold = true});
        int number = 0;
        for (const PlanWindow& window : plan_.windows) {
            const std::string short_ = fmt::format("{}", ++number);
            const std::string long_ = fmt::format("{} {}", number, ShortName(window.faults));
            const std::int32_t middle = (axis_.Place(window.from) + axis_.Place(window.to)) / 2;
            bool isDone = false;
            for (const std::string& text : {long_, short_}) {
                const std::int32_t half = dc_.TextExtent(String(text)).width / 2 + 3;
                for (std::size_t row = 0; row < ends.size() && !isDone; ++row) {
                    if (middle - half < ends[row]) continue;
                    const std::int32_t y = Head - LinePitch / 2 - static_cast<std::int32_t>(row) * LinePitch;
                    Text({middle, y}, text, CentreMiddle, palette_.alert);
                    ends[row] = middle + half;
                    isDone = true;
                }
            }
        }
        dc_.RevertFont();
    }

    void DrawGrid() {
        const std::int32_t bottom = bars_.BottomRight().y;
        for (const TimeAxis::Tick& tick : axis_.Ticks()) {
            dc_.SetPen(palette_.rule, 1, Pen::Dot);
            for (const Rect& panel : {dop_, count_, bars_}) Line({tick.x, panel.at.y}, {tick.x, panel.BottomRight().y});
            Text({tick.x, bottom + LinePitch * 2 / 3}, tick.label, CentreMiddle, palette_.text);
            if (!tick.date.empty()) Text({tick.x, bottom + LinePitch * 5 / 3}, tick.date, CentreMiddle, palette_.text);
        }
        dc_.SetPen(palette_.rule);
        dc_.SetBrush(Corvane::Brush::None);
        for (const Rect& panel : {dop_, count_, bars_}) dc_.DrawRectangle(panel);
        const int dopStep = CountStep(Corvane::ToInt(mostDop_));
        for (int value = 0; value <= mostDop_; value += dopStep)
            Text({Left - 8, DopY(value)}, std::to_string(value), RightMiddle, palette_.text);
        const int step = CountStep(mostSatellites_);
        for (int value = 0; value <= mostSatellites_; value += step)
            Text({Left - 8, CountY(value)}, std::to_string(value), RightMiddle, palette_.text);
        const auto side = [this](const Rect& panel, const char* text) {
            dc_.DrawText({14, panel.at.y + panel.size.height / 2}, String(text),
                         {TextPlace::Centre, TextPlace::Middle, 90.0});
        };
        side(dop_, "DOP");
        side(count_, "satellites");
    }

    [[nodiscard]] Colour SystemColour(char system) const {
        return StateColour(palette_,
                           system == 'G' ? GNSS::Constellation::HealthyGPS : GNSS::Constellation::HealthyGlonass);
    }

    void DrawBars() {
        const bool areRowsHigh = bars_.size.height >= static_cast<std::int32_t>(plot_.rows_.size()) * (RowHeight - 3);
        for (std::size_t row = 0; row < plot_.rows_.size(); ++row) {
            const PlanSatellite& satellite = plot_.rows_[row];
            const std::int32_t top = RowY(row);
            const std::int32_t height = std::max(1, RowY(row + 1) - top);
            const std::int32_t middle = top + height / 2;
            if (areRowsHigh) {
                dc_.SelectFont(dc_.GetMetricFont().Smaller(2));
                Text({Left - 8, middle}, fmt::format("{}{:02}", satellite.system, satellite.number), RightMiddle,
                     palette_.text);
                dc_.RevertFont();
            }
            for (const PlanGap& gap : plan_.gaps) {
                if (gap.satellite != satellite || gap.kind == PlanGap::Kind::ByAlmanac) continue;
                dc_.SetPen(palette_.faint, 1, gap.kind == PlanGap::Kind::NoOrbit ? Pen::Dot : Pen::Dash);
                Line({axis_.Place(gap.from), middle}, {axis_.Place(gap.to), middle});
            }
            for (const PlanPass& pass : plan_.passes) {
                if (pass.satellite == satellite) DrawPass(pass, top, height);
            }
        }
        // Between the systems.
        dc_.SetPen(palette_.rule);
        for (std::size_t row = 1; row < plot_.rows_.size(); ++row) {
            if (plot_.rows_[row].system != plot_.rows_[row - 1].system)
                Line({bars_.at.x, RowY(row)}, {bars_.BottomRight().x, RowY(row)});
        }
    }

    // Half as high where its orbit is from an almanac.
    void DrawPass(const PlanPass& pass, std::int32_t top, std::int32_t height) {
        const std::int32_t full = std::max(1, height - 5);
        const auto bar = [&](const GPSTime& from, const GPSTime& to, bool isByAlmanac) {
            const std::int32_t x = axis_.Place(from);
            const std::int32_t high = isByAlmanac ? std::max(1, full / 2) : full;
            dc_.SetPen(palette_.text);
            dc_.SetBrush(SystemColour(pass.satellite.system));
            dc_.DrawRectangle({{x, top + (height - high) / 2}, {std::max(1, axis_.Place(to) - x), high}});
        };
        GPSTime from = pass.rise.time;
        for (const PlanGap& gap : plan_.gaps) {
            if (gap.kind != PlanGap::Kind::ByAlmanac || gap.satellite != pass.satellite) continue;
            if (gap.to <= from || pass.set.time <= gap.from) continue;
            if (from < gap.from) bar(from, gap.from, false);
            const GPSTime to = std::min(gap.to, pass.set.time);
            bar(std::max(from, gap.from), to, true);
            from = to;
        }
        if (from < pass.set.time || pass.rise.time == pass.set.time) bar(from, pass.set.time, false);
    }

    // GPS from below, GLONASS upon it, in columns of equal numbers.
    void DrawCounts() {
        const std::vector<PlanEpoch>& epochs = plan_.epochs;
        const auto column = [this](std::int32_t from, std::int32_t to, int low, int high, char system) {
            if (high <= low) return;
            dc_.SetPen(SystemColour(system));
            dc_.SetBrush(SystemColour(system));
            dc_.DrawRectangle({{from, CountY(high)}, {std::max(0, to - from - 1), CountY(low) - CountY(high) - 1}});
        };
        for (std::size_t i = 0; i < epochs.size();) {
            std::size_t next = i + 1;
            while (next < epochs.size() && epochs[next].nmrGPS == epochs[i].nmrGPS &&
                   epochs[next].nmrGlonass == epochs[i].nmrGlonass)
                ++next;
            const std::int32_t from = axis_.Place(epochs[i].time);
            const std::int32_t to = next < epochs.size() ? axis_.Place(epochs[next].time) : count_.BottomRight().x;
            column(from, to, 0, epochs[i].nmrGPS, 'G');
            column(from, to, epochs[i].nmrGPS, epochs[i].NmrSatellites(), 'R');
            dc_.SetPen(palette_.text);
            if (i > 0) Line({from, CountY(epochs[i - 1].NmrSatellites())}, {from, CountY(epochs[i].NmrSatellites())});
            Line({from, CountY(epochs[i].NmrSatellites())}, {to, CountY(epochs[i].NmrSatellites())});
            i = next;
        }
        const int least = plan_.settings.leastSatellites;
        if (least < 1 || least > mostSatellites_) return;
        dc_.SetPen(palette_.text, 2, Pen::Dash);
        Line({count_.at.x, CountY(least)}, {count_.BottomRight().x, CountY(least)});
        Text({count_.BottomRight().x + 6, CountY(least)}, fmt::format("least {}", least), LeftMiddle, palette_.text);
    }

    // The names of curves and limits stand at the right, where they hide nothing.
    void DrawDops() {
        struct Name {
            std::int32_t y;
            std::string text;
            bool isCurve;
            bool isBold;
        };
        std::vector<Name> names;
        const auto addLimit = [&](double limit, const char* name) {
            if (!(limit > 0.0 && limit < mostDop_)) return;
            const std::int32_t y = DopY(limit);
            dc_.SetPen(palette_.alert, 1, Pen::Dash);
            Line({dop_.at.x, y}, {dop_.BottomRight().x, y});
            names.push_back({y, fmt::format("{} limit {:g}", name, limit), false, false});
        };
        addLimit(plan_.settings.pdopLimit, "PDOP");
        addLimit(plan_.settings.hdopLimit, "HDOP");
        names.push_back({DrawCurve([](const GNSS::DOP& dop) { return dop.GetHDOP(); }, 1, false), "HDOP", true, false});
        names.push_back({DrawCurve([](const GNSS::DOP& dop) { return dop.GetPDOP(); }, 3, true), "PDOP", true, true});
        std::ranges::stable_sort(names, [](const Name& a, const Name& b) { return a.y > b.y; });
        std::int32_t below = dop_.BottomRight().y + LinePitch / 2;
        for (const Name& name : names) {
            below = std::min(name.y, below - LinePitch + 2);
            dc_.SelectFont({.bold = name.isBold});
            Text({dop_.BottomRight().x + 6, below}, name.text, LeftMiddle,
                 name.isCurve ? palette_.text : palette_.alert);
            dc_.RevertFont();
        }
    }

    // Returns the height of its last point. Broken where there is no DOP; what is beyond the panel may have an arrow
    // and its greatest value at the edge.
    template <typename Figure>
    std::int32_t DrawCurve(const Figure& figure, std::int32_t width, bool areValuesToldBeyond) {
        std::int32_t lastY = dop_.BottomRight().y;
        double over = 0.0;
        std::int32_t overX = 0;
        const auto endOver = [&] {
            if (over > 0.0 && areValuesToldBeyond) DrawOver({overX, dop_.at.y}, over);
            over = 0.0;
        };
        bool isOn = false;
        for (const PlanEpoch& epoch : plan_.epochs) {
            const GNSS::DOP& dop = plan_.DopOf(epoch);
            const bool isValid = dop.IsValid() && std::isfinite(figure(dop));
            const std::int32_t x = axis_.Place(epoch.time);
            if (isValid) {
                const double value = figure(dop);
                if (value > mostDop_ && value > over) {
                    over = value;
                    overX = x;
                }
                if (value <= mostDop_) endOver();
                const Point at{x, DopY(value)};
                dc_.SetPen(palette_.text, width);
                if (isOn)
                    dc_.LineTo(at);
                else
                    dc_.MoveTo(at);
                lastY = at.y;
            } else {
                endOver();
            }
            isOn = isValid;
        }
        endOver();
        return lastY;
    }

    void DrawOver(Point at, double value) {
        const std::array<Point, 3> arrow{Point{0, 0}, Point{-5, 8}, Point{5, 8}};
        dc_.SetPen(palette_.alert);
        dc_.SetBrush(palette_.alert);
        dc_.DrawPolygon(arrow, at);
        const bool isLeft = at.x > dop_.BottomRight().x - 60;
        Text({at.x + (isLeft ? -8 : 8), at.y + 8}, fmt::format("{:.1f}", value), isLeft ? RightMiddle : LeftMiddle,
             palette_.alert);
    }

    void DrawKey() {
        const std::int32_t y = dc_.GetSize().height - LinePitch * 2 / 3;
        std::int32_t x = Left;
        const auto sample = [&](const std::string& text, const auto& draw) {
            constexpr std::int32_t SampleWidth = 30;
            const std::int32_t width = dc_.TextExtent(String(text)).width;
            if (x + SampleWidth + 6 + width > dc_.GetSize().width) return;
            draw(Rect{{x, y - 5}, {SampleWidth, 10}});
            Text({x + SampleWidth + 6, y}, text, LeftMiddle, palette_.text);
            x += SampleWidth + 6 + width + 24;
        };
        const auto bar = [this](char system, bool isHalf) {
            return [this, system, isHalf](const Rect& at) {
                dc_.SetPen(palette_.text);
                dc_.SetBrush(SystemColour(system));
                dc_.DrawRectangle(isHalf ? Rect{{at.at.x, at.at.y + 3}, {at.size.width, 4}} : at);
            };
        };
        const auto line = [this](Pen::Style style) {
            return [this, style](const Rect& at) {
                dc_.SetPen(palette_.faint, 1, style);
                Line({at.at.x, at.at.y + 5}, {at.at.x + at.size.width, at.at.y + 5});
            };
        };
        const bool hasGPS = GNSS::DopArt::ShowsGPS(plan_.settings.mode);
        const bool hasGlonass = GNSS::DopArt::ShowsGlonass(plan_.settings.mode);
        if (hasGPS) sample("GPS", bar('G', false));
        if (hasGlonass) sample("GLONASS", bar('R', false));
        if (plot_.hasAlmanac_) sample("by almanac", bar(hasGPS ? 'G' : 'R', true));
        if (plot_.hasOrbitGap_) sample("no orbit", line(Pen::Dot));
        if (plot_.hasUnhealthy_) sample("unhealthy", line(Pen::Dash));
        if (!plan_.windows.empty()) {
            sample(fmt::format("bad: HDOP above {:g}, PDOP above {:g}, fewer than {}", plan_.settings.hdopLimit,
                               plan_.settings.pdopLimit, plan_.settings.leastSatellites),
                   [this](const Rect& at) {
                       dc_.SetPen(palette_.alert);
                       dc_.SetBrush(Corvane::Brush::None);
                       dc_.DrawRectangle(at);
                       Hatch(dc_, at);
                   });
        }
    }

    const PlanPlot& plot_;
    const VisibilityPlan& plan_;
    DC& dc_;
    const Palette& palette_;
    Rect dop_;
    Rect count_;
    Rect bars_;
    TimeAxis axis_;
    double mostDop_ = 1.0;
    int mostSatellites_ = 1;
};

PlanPlot::PlanPlot(const VisibilityPlan& plan, String title, String subtitle)
    : plan_(plan), title_(std::move(title)), subtitle_(std::move(subtitle)) {
    std::set<PlanSatellite> rows;
    for (const PlanPass& pass : plan.passes) rows.insert(pass.satellite);
    for (const PlanGap& gap : plan.gaps) {
        if (gap.kind == PlanGap::Kind::NoOrbit && gap.isFromStart && gap.isToEnd) continue;
        rows.insert(gap.satellite);
        hasAlmanac_ = hasAlmanac_ || gap.kind == PlanGap::Kind::ByAlmanac;
        hasOrbitGap_ = hasOrbitGap_ || gap.kind == PlanGap::Kind::NoOrbit;
        hasUnhealthy_ = hasUnhealthy_ || gap.kind == PlanGap::Kind::Unhealthy;
    }
    rows_.assign(rows.begin(), rows.end());
}

Size PlanPlot::PreferredSize() const {
    const auto rows = static_cast<std::int32_t>(std::max<std::size_t>(rows_.size(), 1));
    return {Width, Head + DopHeight + CountHeight + 2 * Space + rows * RowHeight + Foot};
}

void PlanPlot::Draw(DC& dc, const Palette& palette) const {
    const DC::Scope scope(dc);
    Drawing(*this, dc, palette).Draw();
}

}  // namespace Host
