// DopPanel: HDOP and PDOP of a plan as curves with their limits; and what the panels of a plan's plot have in common.
#pragma once

#include <cstdint>

#include "gnss/platform/DC.h"
#include "gnss/platform/Font.h"
#include "gnss/platform/Point.h"
#include "gnss/position/DOP.h"
#include "host/plan/TimeAxis.h"
#include "host/plan/VisibilityPlan.h"
#include "host/render/Palette.h"

namespace Host {

// Pixels from one line of text to the next.
inline constexpr std::int32_t LinePitch = 18;
inline constexpr Corvane::TextPlace LeftMiddle{Corvane::TextPlace::Left, Corvane::TextPlace::Middle};
inline constexpr Corvane::TextPlace RightMiddle{Corvane::TextPlace::Right, Corvane::TextPlace::Middle};
inline constexpr Corvane::TextPlace CentreMiddle{Corvane::TextPlace::Centre, Corvane::TextPlace::Middle};

// The step of labels from 0 to `most` that gives five of them or fewer.
[[nodiscard]] constexpr int LabelStep(int most) {
    for (const int step : {1, 2, 5, 10}) {
        if (most <= 5 * step) return step;
    }
    return most / 5;
}

// All that it is made of must outlive it.
class DopPanel {
public:
    DopPanel(const VisibilityPlan& plan, const TimeAxis& axis, const Corvane::Rect& panel, const Palette& palette);

    // The scale stands to the left of the panel, the names of curves and limits to its right.
    void Draw(Corvane::DC& dc) const;

private:
    using Figure = double (GNSS::DOP::*)() const;

    [[nodiscard]] std::int32_t Y(double value) const;
    // Returns the height of its last point. Broken where there is no DOP; what is beyond the panel may have an arrow
    // and its greatest value at the edge.
    std::int32_t DrawCurve(Corvane::DC& dc, Figure figure, std::int32_t width, bool areValuesToldBeyond) const;
    void DrawBeyond(Corvane::DC& dc, std::int32_t x, double value) const;

    const VisibilityPlan& plan_;
    const TimeAxis& axis_;
    Corvane::Rect panel_;
    const Palette& palette_;
    int most_ = 1;  // at the upper edge
};

}  // namespace Host
