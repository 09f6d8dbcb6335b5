#include "host/plan/DopPanel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "gnss/platform/Number.h"
#include "gnss/platform/String.h"

namespace Host {

using Corvane::DC;
using Corvane::Pen;
using Corvane::Point;
using Corvane::Rect;
using Corvane::String;

DopPanel::DopPanel(const VisibilityPlan& plan, const TimeAxis& axis, const Rect& panel, const Palette& palette)
    : plan_(plan), axis_(axis), panel_(panel), palette_(palette) {
    double most = 0.0;
    for (const PlanEpoch& epoch : plan.epochs) {
        if (const GNSS::DOP& dop = plan.DopOf(epoch); dop.IsValid()) most = std::max(most, dop.GetPDOP());
    }
    // The limits lie well inside, and what is far beyond them does not press the rest together.
    const double limit = std::max(plan.settings.pdopLimit, plan.settings.hdopLimit);
    const double wanted = std::ceil(std::max(limit * 1.4, std::min(most * 1.05, limit * 2.5)));
    constexpr int Usual = 10;
    most_ = wanted >= 1.0 && wanted <= 1e6 ? Corvane::ToInt(wanted) : Usual;
}

std::int32_t DopPanel::Y(double value) const {
    const double part = std::clamp(value / most_, 0.0, 1.0);
    return panel_.BottomRight().y - Corvane::ToInt(std::round(part * panel_.size.height));
}

void DopPanel::Draw(DC& dc) const {
    dc.SetTextColour(palette_.text);
    for (int value = 0; value <= most_; value += LabelStep(most_))
        dc.DrawText({panel_.at.x - 8, Y(value)}, String(std::to_string(value)), RightMiddle);

    struct Name {
        std::int32_t y;
        std::string text;
        bool isCurve;
        bool isBold;
    };
    std::vector<Name> names;
    const auto addLimit = [&](double limit, const char* name) {
        if (!(limit > 0.0 && limit < most_)) return;
        dc.SetPen(palette_.alert, 1, Pen::Dash);
        dc.MoveTo({panel_.at.x, Y(limit)});
        dc.LineTo({panel_.BottomRight().x, Y(limit)});
        names.push_back({Y(limit), fmt::format("{} limit {:g}", name, limit), false, false});
    };
    addLimit(plan_.settings.pdopLimit, "PDOP");
    addLimit(plan_.settings.hdopLimit, "HDOP");
    names.push_back({DrawCurve(dc, &GNSS::DOP::GetHDOP, 1, false), "HDOP", true, false});
    names.push_back({DrawCurve(dc, &GNSS::DOP::GetPDOP, 3, true), "PDOP", true, true});

    // From the bottom upwards, each above the one before.
    std::ranges::stable_sort(names, [](const Name& a, const Name& b) { return a.y > b.y; });
    std::int32_t y = panel_.BottomRight().y + LinePitch / 2;
    for (const Name& name : names) {
        y = std::min(name.y, y - LinePitch + 2);
        dc.SetTextColour(name.isCurve ? palette_.text : palette_.alert);
        dc.SelectFont({.bold = name.isBold});
        dc.DrawText({panel_.BottomRight().x + 6, y}, String(name.text), LeftMiddle);
        dc.RevertFont();
    }
    dc.SetTextColour(palette_.text);
}

std::int32_t DopPanel::DrawCurve(DC& dc, Figure figure, std::int32_t width, bool areValuesToldBeyond) const {
    std::int32_t lastY = panel_.BottomRight().y;
    double beyond = 0.0;
    std::int32_t beyondX = 0;
    const auto endBeyond = [&] {
        if (beyond > 0.0 && areValuesToldBeyond) DrawBeyond(dc, beyondX, beyond);
        beyond = 0.0;
    };
    // An epoch between two without a figure, or the only one, has no line to a neighbour.
    const auto endLine = [&](const Point& last, int nmrPoints) {
        constexpr std::int32_t HalfDash = 3;
        if (nmrPoints != 1) return;
        dc.MoveTo({std::max(last.x - HalfDash, panel_.at.x), last.y});
        dc.LineTo({std::min(last.x + HalfDash, panel_.BottomRight().x), last.y});
    };
    Point last;
    int nmrPoints = 0;  // of the line so far
    for (const PlanEpoch& epoch : plan_.epochs) {
        const GNSS::DOP& dop = plan_.DopOf(epoch);
        const double value = (dop.*figure)();
        const bool isValid = dop.IsValid() && std::isfinite(value);
        if (!isValid || value <= most_) endBeyond();
        if (isValid) {
            const Point at{axis_.Place(epoch.time), Y(value)};
            if (value > most_ && value > beyond) {
                beyond = value;
                beyondX = at.x;
            }
            dc.SetPen(palette_.text, width);
            if (nmrPoints > 0)
                dc.LineTo(at);
            else
                dc.MoveTo(at);
            last = at;
            lastY = at.y;
            ++nmrPoints;
        } else {
            endLine(last, nmrPoints);
            nmrPoints = 0;
        }
    }
    endLine(last, nmrPoints);
    endBeyond();
    return lastY;
}

void DopPanel::DrawBeyond(DC& dc, std::int32_t x, double value) const {
    constexpr std::int32_t TextWidth = 60;
    const std::array<Point, 3> arrow{Point{0, 0}, Point{-5, 8}, Point{5, 8}};
    dc.SetPen(palette_.alert);
    dc.SetBrush(palette_.alert);
    dc.DrawPolygon(arrow, {x, panel_.at.y});
    const bool isLeft = x > panel_.BottomRight().x - TextWidth;
    const String text(fmt::format("{:.1f}", value));
    const Point at{x + (isLeft ? -8 : 8), panel_.at.y + 10};
    // On a ground of its own: it stands in the hatching of a bad window, between curves.
    const Corvane::Size size = dc.TextExtent(text);
    dc.SetPen(Pen::None);
    dc.SetBrush(palette_.ground);
    dc.DrawRectangle({{at.x - (isLeft ? size.width : 0) - 1, at.y - size.height / 2}, {size.width + 2, size.height}});
    dc.SetTextColour(palette_.alert);
    dc.DrawText(at, text, isLeft ? RightMiddle : LeftMiddle);
}

}  // namespace Host
