#include "host/report/Plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "host/render/CairoSurface.h"
#include "host/render/PictureFile.h"

namespace Host {

namespace {

constexpr double Left = 78.0;
constexpr double Right = 24.0;
constexpr double Top = 62.0;
constexpr double Bottom = 58.0;
constexpr double KeyRow = 18.0;

// One axis: the range of values, widened to whole steps, and where it lies on the picture.
struct Axis {
    double low = 0.0;
    double high = 1.0;
    double step = 0.2;
    double from = 0.0;
    double to = 0.0;

    [[nodiscard]] double Place(double value) const { return from + (value - low) / (high - low) * (to - from); }
};

Axis MakeAxis(double low, double high, double from, double to, int labels) {
    if (!(low <= high)) {
        low = 0.0;
        high = 1.0;
    }
    if (high - low <= 1e-12 * std::max(std::abs(low), std::abs(high))) {
        low -= 0.5;
        high += 0.5;
    }
    const double step = RoundStep(high - low, labels);
    return {std::floor(low / step + 1e-9) * step, std::ceil(high / step - 1e-9) * step, step, from, to};
}

std::string Label(double value, double step) {
    const int decimals = std::clamp(static_cast<int>(-std::floor(std::log10(step) + 1e-9)), 0, 9);
    return fmt::format("{:.{}f}", std::abs(value) < step * 1e-6 ? 0.0 : value, decimals);
}

class Canvas {
public:
    Canvas(PictureKind kind, int width, int height) : surface_(kind, {width, height}, 1) {}

    [[nodiscard]] cairo_t* Get() const { return surface_.Context(); }
    [[nodiscard]] bool Encode(std::string& bytes, std::string& failure) { return surface_.Encode(bytes, failure); }

    void Colour(Corvane::Colour c, double opacity = 1.0) { surface_.SetColour(c, opacity); }
    void Font(double size, bool bold = false) {
        cairo_select_font_face(Get(), "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                               bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(Get(), size);
    }
    // Text whose anchor, from 0 (left) to 1 (right), stands at x on the base line y.
    void Text(const std::string& text, double x, double y, double anchor) {
        cairo_text_extents_t extents;
        cairo_text_extents(Get(), text.c_str(), &extents);
        cairo_move_to(Get(), x - anchor * extents.x_advance, y);
        cairo_show_text(Get(), text.c_str());
    }
    [[nodiscard]] double Width(const std::string& text) {
        cairo_text_extents_t extents;
        cairo_text_extents(Get(), text.c_str(), &extents);
        return extents.x_advance;
    }
    void Line(double x0, double y0, double x1, double y1) {
        cairo_move_to(Get(), x0, y0);
        cairo_line_to(Get(), x1, y1);
        cairo_stroke(Get());
    }

private:
    CairoSurface surface_;
};

void DrawFrame(Canvas& canvas, const Plot& plot, const Axis& x, const Axis& y) {
    constexpr Corvane::Colour Ink{40, 40, 40};
    constexpr Corvane::Colour Grid{225, 225, 225};
    cairo_set_line_width(canvas.Get(), 1.0);
    canvas.Font(12.0);
    const auto steps = [](const Axis& axis) {
        return static_cast<int>(std::lround((axis.high - axis.low) / axis.step));
    };
    for (int i = 0; i <= steps(x); ++i) {
        const double value = x.low + i * x.step;
        const double at = std::round(x.Place(value)) + 0.5;
        canvas.Colour(Grid);
        canvas.Line(at, y.from, at, y.to);
        canvas.Colour(Ink);
        canvas.Text(Label(value, x.step), at, y.from + 18.0, 0.5);
    }
    for (int i = 0; i <= steps(y); ++i) {
        const double value = y.low + i * y.step;
        const double at = std::round(y.Place(value)) + 0.5;
        canvas.Colour(Grid);
        canvas.Line(x.from, at, x.to, at);
        canvas.Colour(Ink);
        canvas.Text(Label(value, y.step), x.from - 8.0, at + 4.0, 1.0);
    }
    cairo_rectangle(canvas.Get(), x.from + 0.5, y.to + 0.5, x.to - x.from, y.from - y.to);
    cairo_stroke(canvas.Get());
    canvas.Text(plot.xLabel, (x.from + x.to) / 2.0, plot.height - 16.0, 0.5);
    cairo_save(canvas.Get());
    cairo_translate(canvas.Get(), 20.0, (y.from + y.to) / 2.0);
    cairo_rotate(canvas.Get(), -std::acos(0.0));
    canvas.Text(plot.yLabel, 0.0, 0.0, 0.5);
    cairo_restore(canvas.Get());
    canvas.Text(plot.subtitle, x.from, 46.0, 0.0);
    canvas.Font(16.0, true);
    canvas.Text(plot.title, x.from, 26.0, 0.0);
}

void DrawSeries(Canvas& canvas, const Plot::Series& series, const Axis& x, const Axis& y) {
    cairo_t* cr = canvas.Get();
    canvas.Colour(series.colour, series.isLine ? 1.0 : 0.6);
    cairo_set_line_width(cr, 1.3);
    bool isDrawing = false;
    for (const Plot::Point& point : series.points) {
        if (!std::isfinite(point.x) || !std::isfinite(point.y)) {
            isDrawing = false;
            continue;
        }
        const double px = x.Place(point.x);
        const double py = y.Place(point.y);
        if (!series.isLine) {
            cairo_arc(cr, px, py, 1.7, 0.0, 4.0 * std::acos(0.0));
            cairo_fill(cr);
        } else if (isDrawing) {
            cairo_line_to(cr, px, py);
        } else {
            cairo_move_to(cr, px, py);
        }
        isDrawing = true;
    }
    if (series.isLine) cairo_stroke(cr);
}

// The key stands in the upper right corner, outside the frame, in one row.
void DrawKey(Canvas& canvas, const Plot& plot) {
    canvas.Font(12.0);
    double x = plot.width - Right;
    for (auto series = plot.series.rbegin(); series != plot.series.rend(); ++series) {
        if (series->name.empty()) continue;
        x -= canvas.Width(series->name);
        canvas.Colour({40, 40, 40});
        canvas.Text(series->name, x, Top - 16.0, 0.0);
        x -= KeyRow;
        canvas.Colour(series->colour);
        cairo_rectangle(canvas.Get(), x, Top - 26.0, 12.0, 12.0);
        cairo_fill(canvas.Get());
        x -= 14.0;
    }
}

void Draw(Canvas& canvas, const Plot& plot) {
    constexpr double Far = std::numeric_limits<double>::infinity();
    double xLow = Far;
    double xHigh = -Far;
    double yLow = plot.yFromZero ? 0.0 : Far;
    double yHigh = -Far;
    for (const Plot::Series& series : plot.series) {
        for (const Plot::Point& point : series.points) {
            if (!std::isfinite(point.x) || !std::isfinite(point.y)) continue;
            xLow = std::min(xLow, point.x);
            xHigh = std::max(xHigh, point.x);
            yLow = std::min(yLow, point.y);
            yHigh = std::max(yHigh, point.y);
        }
    }
    canvas.Colour(Corvane::Colour::White);
    cairo_paint(canvas.Get());
    const Axis x = MakeAxis(xLow, xHigh, Left, plot.width - Right, 8);
    const Axis y = MakeAxis(yLow, yHigh, plot.height - Bottom, Top, 6);
    DrawFrame(canvas, plot, x, y);
    for (const Plot::Series& series : plot.series) DrawSeries(canvas, series, x, y);
    DrawKey(canvas, plot);
}

}  // namespace

bool Plot::HasKnownEnding(std::string_view path) {
    return path.ends_with(".svg") || path.ends_with(".png");
}

std::string Plot::Save(const std::string& path) const {
    if (!HasKnownEnding(path)) return path + ": a plot's file ends in .svg or .png";
    std::string failure = PictureFile::Check(path, {width, height});
    if (!failure.empty()) return failure;
    Canvas canvas(*KindOfPicture(path), width, height);
    Draw(canvas, *this);
    std::string bytes;
    if (!canvas.Encode(bytes, failure)) return path + ": " + failure;
    return WriteWholeFile(path, bytes);
}

Corvane::Colour DistinctColour(std::size_t number) {
    static constexpr std::array<Corvane::Colour, 8> Colours = {{{0, 114, 178},
                                                                {230, 159, 0},
                                                                {0, 158, 115},
                                                                {204, 121, 167},
                                                                {86, 180, 233},
                                                                {213, 94, 0},
                                                                {240, 228, 66},
                                                                {0, 0, 0}}};
    return Colours[number % Colours.size()];
}

double RoundStep(double span, int wanted) {
    const double raw = span / std::max(wanted, 1);
    if (!(raw > 0.0) || !std::isfinite(raw)) return 1.0;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (raw <= factor * power) return factor * power;
    }
    return 10.0 * power;
}

}  // namespace Host
