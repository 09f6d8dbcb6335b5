// Corvane::DC: the drawing context through which every picture and table is drawn.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "gnss/platform/Colour.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Font.h"
#include "gnss/platform/Pen.h"
#include "gnss/platform/Point.h"
#include "gnss/platform/String.h"

namespace Corvane {

// A surface that can be drawn on with a current pen, brush and font. The host supplies the surfaces (a picture file, a
// window) by deriving from this class: it keeps the state, moves the origin and refuses what cannot be drawn; the
// derived class measures and paints.
//
// Coordinates name pixels of a screen of normal density, from the top left, x to the right and y downwards; a surface
// may resolve finer. A line runs through the middle of its pixels and includes both its ends.
//
// A context is used by one thread at a time.
class GNSS_EXPORT DC {
public:
    // Restores, when it goes out of scope, everything that was selected in the context: pen, brush, fonts, text and
    // back colour, origin and current position. With an origin it also moves the origin to that point, given in the
    // coordinates that hold before. Scopes nest, and end in the opposite order.
    class Scope;

    DC(const DC&) = delete;
    DC& operator=(const DC&) = delete;
    virtual ~DC();

    // The size of the surface.
    [[nodiscard]] virtual Size GetSize() const = 0;

    // The pen of lines and outlines; at first solid black, 1 pixel wide.
    void SetPen(const Pen& pen);
    void SetPen(Colour colour, std::int32_t width = 1, Pen::Style style = Pen::Solid) {
        SetPen(Pen{colour, width, style});
    }
    // A pen of 1 pixel in the colour of the background or of text.
    void SetBackPen() { SetPen(GetBackColour()); }
    void SetTextPen() { SetPen(GetTextColour()); }
    // The brush of areas; at first none.
    void SetBrush(const Brush& brush) { state_.brush = brush; }
    void SetBrush(Colour colour) { state_.brush = Brush{colour}; }
    void SetBackBrush() { SetBrush(GetBackColour()); }
    // The colour of text, at first black, and that of the background, at first white. Back pen, back brush and text
    // pen take them when they are set.
    void SetTextColour(Colour colour) { state_.textColour = colour; }
    void SetBackColour(Colour colour) { state_.backColour = colour; }

    [[nodiscard]] const Pen& GetPen() const { return state_.pen; }
    [[nodiscard]] const Brush& GetBrush() const { return state_.brush; }
    [[nodiscard]] Colour GetTextColour() const { return state_.textColour; }
    [[nodiscard]] Colour GetBackColour() const { return state_.backColour; }

    // The metric font is the one that layouts are measured with; at first 10 points of the surface's own sans family.
    // Setting it selects it.
    void SetMetricFont(const Font& font);
    [[nodiscard]] const Font& GetMetricFont() const { return state_.metricFont; }
    // The font of text. What the font leaves open is the metric font's: smaller text is
    // SelectFont(GetMetricFont().Smaller(2)), bold text SelectFont({.bold = true}).
    void SelectFont(const Font& font) { state_.font = Resolve(font); }
    // Back to the metric font.
    void RevertFont() { state_.font = state_.metricFont; }
    [[nodiscard]] const Font& GetFont() const { return state_.font; }

    // Sizes of the current font, or of one that is not selected.
    [[nodiscard]] FontMetrics GetFontMetrics() const { return MeasureFont(state_.font); }
    [[nodiscard]] FontMetrics GetFontMetrics(const Font& font) const { return MeasureFont(Resolve(font)); }
    // Width of a text, and the height of a line, in the current font or in one that is not selected.
    [[nodiscard]] Size TextExtent(const String& text) const { return ExtentOf(text, state_.font); }
    [[nodiscard]] Size TextExtent(const String& text, const Font& font) const { return ExtentOf(text, Resolve(font)); }

    // Sets the current position, at first the origin.
    void MoveTo(Point to) { state_.position = OnSurface(to); }
    // Draws a line from the current position, and moves that to the line's end.
    void LineTo(Point to);
    // Outlined by the pen through (x, y) and (x + width, y + height), filled by the brush. Nothing when a side is
    // negative.
    void DrawRectangle(const Rect& rect);
    // Outlined by the pen, filled by the brush. The radius is given in degrees, the scale in pixels a degree; nothing
    // when their product is negative, not finite or above MaxRadius.
    void DrawCircle(Point centre, double radius, double scale);
    static constexpr double MaxRadius = 1e6;
    // A shape closed from its last corner to its first; the corners are counted from the point `at`. Outlined by the
    // pen, filled by the brush. Nothing for fewer than two corners.
    void DrawPolygon(std::span<const Point> corners, Point at);
    // One line of text in the current font and text colour. A control character, line breaks included, is drawn and
    // measured as a blank. A rotation that is not finite counts as 0.
    void DrawText(Point at, const String& text, const TextPlace& place = {});
    // Fills the whole surface with the back colour.
    void Clear();

    // An off-screen surface with this one's resolution, fonts, colours, pen and brush. Null when a side is not above
    // zero or the surface cannot be made.
    [[nodiscard]] std::unique_ptr<DC> CreateCanvas(Size size) const;
    // Copies a whole canvas, its top left to the point `at`. False when this surface cannot copy from it (it was made
    // by a context of another kind): nothing is drawn, and the caller draws afresh.
    [[nodiscard]] bool Blit(const DC& canvas, Point at);

protected:
    DC() = default;

    // What a surface does. Points are counted from the surface's top left; fonts are complete but for the family, which
    // is empty for the surface's own; texts have no control characters; pen, brush, font and text colour are asked of
    // this class.
    [[nodiscard]] virtual FontMetrics MeasureFont(const Font& font) const = 0;
    [[nodiscard]] virtual std::int32_t MeasureText(const String& text, const Font& font) const = 0;
    virtual void PaintLine(Point from, Point to) = 0;
    virtual void PaintRectangle(const Rect& rect) = 0;
    virtual void PaintCircle(Point centre, double radiusPixels) = 0;
    virtual void PaintPolygon(std::span<const Point> corners, Point at) = 0;
    // The rotation lies in [0, 360).
    virtual void PaintText(Point at, const String& text, const TextPlace& place) = 0;
    virtual bool PaintCanvas(const DC& canvas, Point at) = 0;
    [[nodiscard]] virtual std::unique_ptr<DC> MakeCanvas(Size size) const = 0;

    // Where the base line of a text of this width in the current font begins, from the point that it is drawn at and
    // before it is turned.
    [[nodiscard]] Point StartOfText(std::int32_t width, const TextPlace& place) const;

private:
    struct State {
        Pen pen;
        Brush brush;
        Colour textColour = Colour::Black;
        Colour backColour = Colour::White;
        Font metricFont{{}, 10};
        Font font{{}, 10};
        Point origin;
        Point position;
    };

    [[nodiscard]] Point OnSurface(Point p) const { return state_.origin + p; }
    [[nodiscard]] Font Resolve(const Font& font) const;
    [[nodiscard]] Size ExtentOf(const String& text, const Font& resolved) const;

    State state_;
};

class GNSS_EXPORT DC::Scope {
public:
    explicit Scope(DC& dc) : dc_(dc), saved_(dc.state_) {}
    Scope(DC& dc, Point origin) : Scope(dc) { dc.state_.origin = dc.OnSurface(origin); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    ~Scope() { dc_.state_ = std::move(saved_); }

private:
    DC& dc_;
    State saved_;
};

}  // namespace Corvane
