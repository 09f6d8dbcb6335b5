// A drawing context that records what is drawn, with a fixed-width font that is the same on every machine.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>
#include <numbers>
#include <ostream>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "gnss/platform/DC.h"

namespace tests {

// One call, with everything that decided how it looked. Points are counted from the surface's top left.
struct DrawCall {
    enum Kind { Line, Rectangle, Circle, Polygon, Text, Canvas };

    Kind kind = Line;
    std::vector<Corvane::Point> points;  // both ends, the top left, the centre, the corners, or where the text is drawn
    Corvane::Size size;                  // of a rectangle or a canvas
    double radius = 0.0;                 // pixels
    std::string text;                    // Latin-1
    Corvane::TextPlace place;
    Corvane::Pen pen;
    Corvane::Brush brush;
    Corvane::Colour textColour;
    Corvane::Font font;
    Corvane::Rect bounds;           // the pixels that it covers, without the width of the pen
    std::vector<DrawCall> content;  // of a canvas, when it was copied

    // One line, such as: line (0,0)-(9,0) pen #000000
    [[nodiscard]] std::string Print() const;
};

inline std::string Print(Corvane::Point p) {
    return "(" + std::to_string(p.x) + "," + std::to_string(p.y) + ")";
}

inline std::string Print(Corvane::Size s) {
    return std::to_string(s.width) + "x" + std::to_string(s.height);
}

inline std::string Print(Corvane::Colour c) {
    char text[16];
    std::snprintf(text, sizeof text, c.alpha == 255 ? "#%02x%02x%02x" : "#%02x%02x%02x%02x", c.red, c.green, c.blue,
                  c.alpha);
    return text;
}

// "none", or the colour with a width other than 1 and a style other than solid.
inline std::string Print(const Corvane::Pen& pen) {
    static constexpr const char* Styles[] = {" none", "", " dash", " dot"};
    if (pen.IsNone()) return "none";
    return Print(pen.colour) + (pen.width == 1 ? "" : " " + std::to_string(pen.width)) + Styles[pen.style & 3];
}

inline std::string Print(const Corvane::Font& font) {
    return (font.family.IsEmpty() ? "" : font.family.str() + " ") + std::to_string(font.points) +
           (font.bold ? " bold" : "") + (font.italic ? " italic" : "");
}

inline std::string Print(const Corvane::TextPlace& place) {
    static constexpr const char* Aligns[] = {"left", "left", "centre", "right"};
    static constexpr const char* Anchors[] = {"top", "middle", "baseline", "bottom"};
    std::string text = std::string(Aligns[place.align & 3]) + " " + Anchors[place.anchor & 3];
    if (place.rotation != 0.0) text += " turned " + std::to_string(std::lround(place.rotation));
    return text;
}

inline std::string DrawCall::Print() const {
    const std::string look =
        " pen " + tests::Print(pen) + (brush.IsNone() ? "" : " brush " + tests::Print(brush.colour));
    switch (kind) {
        case Line:
            return "line " + tests::Print(points[0]) + "-" + tests::Print(points[1]) + " pen " + tests::Print(pen);
        case Rectangle:
            return "rectangle " + tests::Print(points[0]) + " " + tests::Print(size) + look;
        case Circle: {
            char number[40];
            std::snprintf(number, sizeof number, " radius %ld.%02ld", std::lround(std::floor(radius)),
                          std::lround(std::floor((radius - std::floor(radius)) * 100.0)));
            return "circle " + tests::Print(points[0]) + number + look;
        }
        case Polygon: {
            std::string corners = "polygon";
            for (const Corvane::Point& p : points) corners += " " + tests::Print(p);
            return corners + look;
        }
        case Text:
            return "text \"" + text + "\" " + tests::Print(points[0]) + " " + tests::Print(place) + " " +
                   tests::Print(textColour) + " " + tests::Print(font);
        case Canvas:
            return "canvas " + tests::Print(points[0]) + " " + tests::Print(size);
    }
    return {};
}

// Lets a failed expectation print the call.
inline std::ostream& operator<<(std::ostream& os, const DrawCall& call) {
    return os << call.Print();
}

// A font of p points is 0.8 p above and 0.2 p below the base line, capitals 0.7 p, every character 0.6 p wide and one
// pixel more when bold, all cut to whole pixels.
class RecordingDC final : public Corvane::DC {
public:
    explicit RecordingDC(Corvane::Size size) : size_(size) {}

    [[nodiscard]] Corvane::Size GetSize() const override { return size_; }
    [[nodiscard]] const std::vector<DrawCall>& Calls() const { return calls_; }
    // The calls of one kind, in order.
    [[nodiscard]] std::vector<DrawCall> Calls(DrawCall::Kind kind) const {
        std::vector<DrawCall> found;
        std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                     [kind](const DrawCall& call) { return call.kind == kind; });
        return found;
    }
    // Every call as a line.
    [[nodiscard]] std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        for (const DrawCall& call : calls_) lines.push_back(call.Print());
        return lines;
    }
    void Forget() { calls_.clear(); }

protected:
    [[nodiscard]] Corvane::FontMetrics MeasureFont(const Corvane::Font& font) const override {
        return {font.points * 8 / 10, font.points * 2 / 10, font.points * 7 / 10,
                font.points * 6 / 10 + (font.bold ? 1 : 0)};
    }
    [[nodiscard]] std::int32_t MeasureText(const Corvane::String& text, const Corvane::Font& font) const override {
        return static_cast<std::int32_t>(text.Length()) * MeasureFont(font).averageWidth;
    }
    void PaintLine(Corvane::Point from, Corvane::Point to) override {
        DrawCall& call = Record(DrawCall::Line, from);
        call.points.push_back(to);
        call.bounds = Around(call.points);
    }
    void PaintRectangle(const Corvane::Rect& rect) override {
        DrawCall& call = Record(DrawCall::Rectangle, rect.at);
        call.size = rect.size;
        call.bounds = {rect.at, {rect.size.width + 1, rect.size.height + 1}};
    }
    void PaintCircle(Corvane::Point centre, double radiusPixels) override {
        DrawCall& call = Record(DrawCall::Circle, centre);
        call.radius = radiusPixels;
        const auto r = static_cast<std::int32_t>(std::lround(radiusPixels));
        call.bounds = {centre - Corvane::Point{r, r}, {2 * r + 1, 2 * r + 1}};
    }
    void PaintPolygon(std::span<const Corvane::Point> corners, Corvane::Point at) override {
        DrawCall& call = Record(DrawCall::Polygon, at);
        call.points.clear();
        for (const Corvane::Point& corner : corners) call.points.push_back(at + corner);
        call.bounds = Around(call.points);
    }
    void PaintText(Corvane::Point at, const Corvane::String& text, const Corvane::TextPlace& place) override {
        DrawCall& call = Record(DrawCall::Text, at);
        call.text = text.str();
        call.place = place;
        call.bounds = TextBounds(at, MeasureText(text, GetFont()), place);
    }
    bool PaintCanvas(const Corvane::DC& canvas, Corvane::Point at) override {
        const auto* source = dynamic_cast<const RecordingDC*>(&canvas);
        if (source == nullptr) return false;
        DrawCall& call = Record(DrawCall::Canvas, at);
        call.size = source->size_;
        call.content = source->calls_;
        call.bounds = {at, source->size_};
        return true;
    }
    [[nodiscard]] std::unique_ptr<DC> MakeCanvas(Corvane::Size size) const override {
        return std::make_unique<RecordingDC>(size);
    }

private:
    DrawCall& Record(DrawCall::Kind kind, Corvane::Point at) {
        DrawCall call;
        call.kind = kind;
        call.points = {at};
        call.pen = GetPen();
        call.brush = GetBrush();
        call.textColour = GetTextColour();
        call.font = GetFont();
        return calls_.emplace_back(std::move(call));
    }

    static Corvane::Rect Around(const std::vector<Corvane::Point>& points) {
        Corvane::Point low = points.front();
        Corvane::Point high = points.front();
        for (const Corvane::Point& p : points) {
            low = {std::min(low.x, p.x), std::min(low.y, p.y)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y)};
        }
        const Corvane::Point size = high - low + Corvane::Point{1, 1};
        return {low, {size.x, size.y}};
    }

    // The box around the turned text, from the top of the tallest to the bottom of the lowest letters.
    [[nodiscard]] Corvane::Rect TextBounds(Corvane::Point at, std::int32_t width,
                                           const Corvane::TextPlace& place) const {
        const Corvane::FontMetrics metrics = GetFontMetrics();
        const Corvane::Point start = StartOfText(width, place);
        const Corvane::Point topLeft = start - Corvane::Point{0, metrics.ascent};
        const double angle = place.rotation * (std::numbers::pi / 180.0);
        std::vector<Corvane::Point> corners;
        for (const Corvane::Point& corner :
             {topLeft, topLeft + Corvane::Point{width, 0}, topLeft + Corvane::Point{0, metrics.LineHeight()},
              topLeft + Corvane::Point{width, metrics.LineHeight()}}) {
            // Counter-clockwise with y downwards.
            const double x = corner.x * std::cos(angle) + corner.y * std::sin(angle);
            const double y = corner.y * std::cos(angle) - corner.x * std::sin(angle);
            corners.push_back(at + Corvane::Point{Corvane::ToInt(std::round(x)), Corvane::ToInt(std::round(y))});
        }
        Corvane::Rect bounds = Around(corners);
        bounds.size = {bounds.size.width - 1, bounds.size.height - 1};
        return bounds;
    }

    Corvane::Size size_;
    std::vector<DrawCall> calls_;
};

}  // namespace tests
