// The pictures of a run.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "gnss/platform/DC.h"
#include "host/render/Palette.h"
#include "host/report/RunFigures.h"
#include "host/report/RunSeries.h"
#include "host/report/TimePlot.h"

namespace Host {

// A picture with the name of its file, without the ending.
struct RunPicture {
    std::string name;
    std::string caption;  // for the report
    Corvane::Size size;
    std::function<void(Corvane::DC&, const Palette&)> draw;
};

// All but the sky plot, in the order of the report. What is given must outlive them.
[[nodiscard]] std::vector<RunPicture> MakeRunPictures(const RunSeries& series, const RunReference& reference,
                                                      const RunFigures& summary, const FixSettings& settings);

// The notes of a run as bars over time: alarms first, then in the order in which they came.
class NotesBars {
public:
    explicit NotesBars(const RunSeries& series);

    static constexpr int MaxRows = 40;
    [[nodiscard]] Corvane::Size GetSize() const;
    void Draw(Corvane::DC& dc, const Palette& palette) const;

private:
    const RunSeries& series_;
    std::vector<int> rows_;  // indices of the history
};

// East and north of all fixes, with the 95 % ellipse of their scatter.
class ScatterPlot {
public:
    ScatterPlot(const RunSeries& series, const RunReference& reference, const RunFigures& summary)
        : series_(series), reference_(reference), summary_(summary) {}

    [[nodiscard]] static Corvane::Size GetSize();
    void Draw(Corvane::DC& dc, const Palette& palette) const;

private:
    const RunSeries& series_;
    const RunReference& reference_;
    const RunFigures& summary_;
};

}  // namespace Host
