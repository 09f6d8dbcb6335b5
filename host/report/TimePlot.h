// TimePlot: panels of curves over one axis of time.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "gnss/platform/DC.h"
#include "host/plan/TimeAxis.h"
#include "host/render/Palette.h"
#include "host/report/RunSeries.h"

namespace Host {

// A figure of an epoch; NaN where it has none.
using EpochFigure = std::function<double(const RunEpoch&)>;

// What a curve covers in one column of pixels.
struct ColumnRange {
    std::int32_t x = 0;
    double low = 0.0;
    double high = 0.0;
};

// A curve of many epochs on few pixels: for each column with epochs the smallest and the largest value, so that no
// extreme is lost. A new stretch begins where epochs or their values are missing (see RunSeries::IsGap).
[[nodiscard]] std::vector<std::vector<ColumnRange>> ThinCurve(const RunSeries& series, const EpochFigure& figure,
                                                              const TimeAxis& axis);

// The columns, from the first to the last of each stretch, in which an epoch has no position or epochs are missing;
// stretches that touch are one.
struct ColumnSpan {
    std::int32_t from = 0;
    std::int32_t to = 0;
};
[[nodiscard]] std::vector<ColumnSpan> FindFaultColumns(const RunSeries& series, const TimeAxis& axis);
// In the same way, those with an epoch whose position cannot be tested, or whose fault could not be placed.
[[nodiscard]] std::vector<ColumnSpan> FindUncheckedColumns(const RunSeries& series, const TimeAxis& axis);

struct TimeCurve {
    enum class Kind : std::uint8_t {
        Line,
        Band,   // an area between the value and its negative
        Area,   // an area between the value and zero
        Limit,  // what others should stay below
    };
    std::string name;
    EpochFigure figure;
    Kind kind = Kind::Line;
    int colour = 0;  // of lines and bands
};

struct TimePanel {
    std::string title;
    std::vector<TimeCurve> curves;  // bands first: what comes later is drawn over it
    bool isFromZero = true;
    bool isWhole = false;  // counts
    std::int32_t height = 130;
};

class TimePlot {
public:
    // The series must outlive this.
    TimePlot(const RunSeries& series, std::string title, std::string subtitle, std::vector<TimePanel> panels)
        : series_(series), title_(std::move(title)), subtitle_(std::move(subtitle)), panels_(std::move(panels)) {}

    static constexpr std::int32_t Width = 960;
    [[nodiscard]] Corvane::Size GetSize() const;
    void Draw(Corvane::DC& dc, const Palette& palette) const;

private:
    const RunSeries& series_;
    std::string title_;
    std::string subtitle_;
    std::vector<TimePanel> panels_;
};

// What plots of a run share: their measures, title, colours and the axis of time.
namespace RunPlotStyle {

inline constexpr std::int32_t LinePitch = 20;
inline constexpr std::int32_t Left = 72;  // of the panels, for labels
inline constexpr std::int32_t Right = 24;
inline constexpr std::int32_t Head = 58;
inline constexpr std::int32_t Foot = 68;  // labels of the axis, and the key

// Font, ground and title; the pens are left to the caller.
void Begin(Corvane::DC& dc, const Palette& palette, const std::string& title, const std::string& subtitle);
// Four colours for curves that stay apart for every colour vision, with 3 to 1 against the ground.
[[nodiscard]] Corvane::Colour CurveColour(const Palette& palette, int number);
[[nodiscard]] Corvane::Colour Faded(Corvane::Colour colour, std::uint8_t alpha);
// Text cut with three dots to a width.
[[nodiscard]] Corvane::String Fit(const Corvane::DC& dc, const std::string& utf8, std::int32_t width);
// Labels and grid of the axis of time through a panel; labels only under the last one.
void DrawTimeGrid(Corvane::DC& dc, const Palette& palette, const TimeAxis& axis, const Corvane::Rect& panel,
                  bool isLast);
// Shades columns of a panel in a colour that what is under it shows through.
void DrawColumns(Corvane::DC& dc, Corvane::Colour colour, const std::vector<ColumnSpan>& columns,
                 const Corvane::Rect& panel);
// A shade and what it means, at x; returns where the next key can begin.
std::int32_t DrawShadeKey(Corvane::DC& dc, Corvane::Colour colour, const char* text, Corvane::Point at);
// Where there is no position, and where its test says nothing.
[[nodiscard]] Corvane::Colour FaultShade(const Palette& palette);
[[nodiscard]] Corvane::Colour UncheckedShade(const Palette& palette);

}  // namespace RunPlotStyle

}  // namespace Host
