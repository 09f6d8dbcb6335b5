// Host::PlanPlot: a visibility plan as a picture: DOP, number of satellites, and when each of them is up.
#pragma once

#include <cstdint>
#include <vector>

#include "gnss/platform/DC.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/String.h"
#include "host/plan/VisibilityPlan.h"
#include "host/render/Palette.h"

namespace Host {

// Three panels above one another over one axis of GPS time. Windows of bad geometry are hatched through all of them and
// carry the number that they have in the plan. What is told by a colour is told by a shape, a pattern or a word as
// well: curves are labelled, the satellites of the systems lie in two groups, an almanac's bars are half as high.
class PlanPlot {
public:
    // The plan must outlive the plot.
    PlanPlot(const VisibilityPlan& plan, Corvane::String title, Corvane::String subtitle);

    // In which every satellite has a row that can be read.
    [[nodiscard]] Corvane::Size PreferredSize() const;
    // Fills the whole surface. One that is too small for the panels gets the title alone.
    void Draw(Corvane::DC& dc, const Palette& palette) const;

    // The satellites that have rows, from top to bottom: those with an orbit at some time.
    [[nodiscard]] const std::vector<PlanSatellite>& Rows() const { return rows_; }

private:
    class Drawing;

    const VisibilityPlan& plan_;
    Corvane::String title_;
    Corvane::String subtitle_;
    std::vector<PlanSatellite> rows_;
    bool hasAlmanac_ = false;
    bool hasOrbitGap_ = false;
    bool hasUnhealthy_ = false;
};

}  // namespace Host
