#include "host/render/CairoDC.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "gnss/platform/Number.h"
#include "host/render/CairoSurface.h"
#include "host/render/ShapeClip.h"
#include "host/render/TextLayouts.h"

namespace Host {

namespace {

using Corvane::Brush;
using Corvane::Pen;
using Corvane::TextPlace;

// Nothing is drawn further from the origin than this; every surface is smaller.
constexpr double Far = 1e6;

double Held(double coordinate) {
    return std::clamp(coordinate, -Far, Far);
}

// The middle of a pixel.
Vertex Middle(Corvane::Point p) {
    return {p.x + 0.5, p.y + 0.5};
}

// Lengths of dashes and gaps, in widths of the pen.
constexpr std::array<double, 2> DashPattern = {5.0, 3.0};
constexpr std::array<double, 2> DotPattern = {1.0, 2.0};

bool IsDashed(const Pen& pen) {
    return pen.style == Pen::Dash || pen.style == Pen::Dot;
}

}  // namespace

// What has been drawn on a canvas of lines and text, to be drawn again where it is copied to.
struct CairoDC::Recorded {
    Pen pen;
    Brush brush;
    Corvane::Colour textColour;
    Corvane::Font font;
    std::function<void(CairoDC&)> draw;
};

class CairoDC::Surface {
public:
    Surface(PictureKind kind, Corvane::Size size, int density)
        : cairo_(std::make_unique<CairoSurface>(kind, size, density)),
          kind_(kind),
          size_(size),
          text_(std::make_shared<TextLayouts>()) {}
    Surface(const Surface& picture, Corvane::Size size) : kind_(picture.kind_), size_(size), text_(picture.text_) {
        if (kind_ == PictureKind::Png) cairo_ = std::make_unique<CairoSurface>(*picture.cairo_, size);
    }

    [[nodiscard]] PictureKind GetKind() const { return kind_; }
    [[nodiscard]] Corvane::Size GetSize() const { return size_; }
    [[nodiscard]] bool IsGood() const { return IsRecording() || cairo_->IsGood(); }
    [[nodiscard]] TextLayouts& Text() const { return *text_; }

    // A canvas of lines and text; it has no surface of Cairo.
    [[nodiscard]] bool IsRecording() const { return cairo_ == nullptr; }
    void Record(Recorded recorded) { recorded_.push_back(std::move(recorded)); }
    [[nodiscard]] const std::vector<Recorded>& GetRecorded() const { return recorded_; }

    [[nodiscard]] CairoSurface& Cairo() { return *cairo_; }
    [[nodiscard]] const CairoSurface& Cairo() const { return *cairo_; }
    [[nodiscard]] cairo_t* Context() const { return cairo_->Context(); }

    // What can be seen and enough around it that what happens there does not show.
    [[nodiscard]] ClipBox Around(const Pen& pen) const {
        const double margin = pen.width + 2.0;
        ClipBox box;
        cairo_clip_extents(Context(), &box.left, &box.top, &box.right, &box.bottom);
        return {box.left - margin, box.top - margin, box.right + margin, box.bottom + margin};
    }

    // Strokes the path. A length is that of a closed path, on which a whole number of dashes is to lie.
    void Stroke(const Pen& pen, double length = 0.0) const {
        cairo_t* cr = Context();
        cairo_->SetColour(pen.colour);
        cairo_set_line_width(cr, pen.width);
        if (IsDashed(pen)) {
            const auto& pattern = pen.style == Pen::Dash ? DashPattern : DotPattern;
            const double period = (pattern[0] + pattern[1]) * pen.width;
            const double stretch = length > period ? length / period / std::floor(length / period) : 1.0;
            const std::array<double, 2> dashes = {pattern[0] * pen.width * stretch, pattern[1] * pen.width * stretch};
            cairo_set_dash(cr, dashes.data(), static_cast<int>(dashes.size()), 0.0);
            cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
        } else {
            cairo_set_dash(cr, nullptr, 0, 0.0);
            cairo_set_line_cap(cr, CAIRO_LINE_CAP_SQUARE);
        }
        cairo_stroke(cr);
    }
    void Fill(const Brush& brush) const {
        cairo_->SetColour(brush.colour);
        cairo_fill(Context());
    }

private:
    std::unique_ptr<CairoSurface> cairo_;
    PictureKind kind_;
    Corvane::Size size_;
    std::shared_ptr<TextLayouts> text_;  // shared with the canvases
    std::vector<Recorded> recorded_;
};

std::string CairoDC::Check(PictureKind kind, Corvane::Size size, int density) {
    if (size.width <= 0 || size.height <= 0)
        return fmt::format("a picture of {} x {} pixels has no area", size.width, size.height);
    if (density < 1 || density > MaxDensity)
        return fmt::format("a density of {} is not one of 1 to {}", density, MaxDensity);
    if (kind == PictureKind::Png) {
        const std::int64_t width = std::int64_t{size.width} * density;
        const std::int64_t height = std::int64_t{size.height} * density;
        if (width > MaxImageSide || height > MaxImageSide || width * height > MaxImagePixels)
            return fmt::format(
                "a picture of {} x {} pixels is too large for PNG: it can have {} million pixels, and "
                "{} on a side",
                width, height, MaxImagePixels / 1'000'000, MaxImageSide);
    } else if (size.width > MaxVectorSide || size.height > MaxVectorSide) {
        return fmt::format("a picture of {} x {} pixels is too large: a side can have {}", size.width, size.height,
                           MaxVectorSide);
    }
    return {};
}

std::unique_ptr<CairoDC> CairoDC::Make(PictureKind kind, Corvane::Size size, int density) {
    if (!Check(kind, size, density).empty()) return nullptr;
    auto surface = std::make_unique<Surface>(kind, size, density);
    if (!surface->IsGood()) return nullptr;
    return std::unique_ptr<CairoDC>(new CairoDC(std::move(surface)));
}

CairoDC::CairoDC(std::unique_ptr<Surface> surface) : surface_(std::move(surface)) {}

CairoDC::~CairoDC() = default;

Corvane::Size CairoDC::GetSize() const {
    return surface_->GetSize();
}

PictureKind CairoDC::GetKind() const {
    return surface_->GetKind();
}

int CairoDC::GetDensity() const {
    return surface_->IsRecording() ? 1 : surface_->Cairo().GetDensity();
}

bool CairoDC::Encode(std::string& bytes, std::string& failure) {
    if (!surface_->IsRecording()) return surface_->Cairo().Encode(bytes, failure);
    failure = "a canvas is no picture";
    return false;
}

Corvane::Colour CairoDC::GetPixel(Corvane::Point at) const {
    return surface_->IsRecording() ? Corvane::Colour::Transparent : surface_->Cairo().GetPixel(at);
}

Corvane::FontMetrics CairoDC::MeasureFont(const Corvane::Font& font) const {
    return surface_->Text().Measure(font);
}

std::int32_t CairoDC::MeasureText(const Corvane::String& text, const Corvane::Font& font) const {
    return WholePixels(surface_->Text().LayOut(font, text).width);
}

void CairoDC::PaintLine(Corvane::Point from, Corvane::Point to) {
    const Pen& pen = GetPen();
    if (pen.IsNone() || Record([=](CairoDC& dc) { dc.PaintLine(from, to); })) return;
    std::array<Vertex, 2> ends = {Middle(from), Middle(to)};
    if (!ClipLine(ends, surface_->Around(pen))) return;
    cairo_t* cr = surface_->Context();
    const Vertex along{ends[1].x - ends[0].x, ends[1].y - ends[0].y};
    const double length = std::hypot(along.x, along.y);
    if (length == 0.0) {
        // A line without a direction is nothing to Cairo.
        cairo_rectangle(cr, ends[0].x - pen.width / 2.0, ends[0].y - pen.width / 2.0, pen.width, pen.width);
        surface_->Fill(Brush{pen.colour});
        return;
    }
    if (IsDashed(pen)) {
        // Dashes have no caps: the line itself reaches to the ends of its first and last pixel.
        const double half = pen.width / 2.0 / length;
        cairo_move_to(cr, ends[0].x - half * along.x, ends[0].y - half * along.y);
        cairo_line_to(cr, ends[1].x + half * along.x, ends[1].y + half * along.y);
        surface_->Stroke(pen);
        return;
    }
    cairo_move_to(cr, ends[0].x, ends[0].y);
    cairo_line_to(cr, ends[1].x, ends[1].y);
    surface_->Stroke(Pen{pen.colour, pen.width});
}

void CairoDC::PaintRectangle(const Corvane::Rect& rect) {
    if (Record([=](CairoDC& dc) { dc.PaintRectangle(rect); })) return;
    const Pen& pen = GetPen();
    const Brush& brush = GetBrush();
    const ClipBox box = surface_->Around(pen);
    const Vertex low = Hold(Middle(rect.at), box);
    const Vertex high = Hold(Middle(rect.BottomRight()), box);
    cairo_t* cr = surface_->Context();
    if (!brush.IsNone()) {
        // To the outer edges of the pixels of its outline.
        cairo_rectangle(cr, low.x - 0.5, low.y - 0.5, high.x - low.x + 1.0, high.y - low.y + 1.0);
        surface_->Fill(brush);
        if (pen == Pen{brush.colour}) return;
    }
    if (pen.IsNone()) return;
    cairo_rectangle(cr, low.x, low.y, high.x - low.x, high.y - low.y);
    surface_->Stroke(pen);
}

void CairoDC::PaintCircle(Corvane::Point centre, double radiusPixels) {
    if (Record([=](CairoDC& dc) { dc.PaintCircle(centre, radiusPixels); })) return;
    const Pen& pen = GetPen();
    const Brush& brush = GetBrush();
    const Vertex middle = Middle(centre);
    const ClipBox box = surface_->Around(pen);
    // Cairo's own numbers end at 8 million.
    if (!Meets(middle, radiusPixels, box)) return;
    cairo_t* cr = surface_->Context();
    constexpr double Turn = 2.0 * std::numbers::pi;
    cairo_new_path(cr);
    if (!brush.IsNone()) {
        cairo_arc(cr, middle.x, middle.y, radiusPixels + (pen.IsNone() ? 0.5 : 0.0), 0.0, Turn);
        surface_->Fill(brush);
    }
    if (pen.IsNone()) return;
    cairo_arc(cr, middle.x, middle.y, radiusPixels, 0.0, Turn);
    cairo_close_path(cr);
    surface_->Stroke(pen, Turn * radiusPixels);
}

void CairoDC::PaintPolygon(std::span<const Corvane::Point> corners, Corvane::Point at) {
    if (Record([copy = std::vector<Corvane::Point>(corners.begin(), corners.end()), at](CairoDC& dc) {
            dc.PaintPolygon(copy, at);
        }))
        return;
    const Pen& pen = GetPen();
    const Brush& brush = GetBrush();
    std::vector<Vertex> outline;
    outline.reserve(corners.size());
    for (const Corvane::Point& corner : corners) outline.push_back(Middle(at + corner));
    outline = ClipPolygon(std::move(outline), surface_->Around(pen));
    if (outline.empty()) return;
    cairo_t* cr = surface_->Context();
    cairo_new_path(cr);
    for (const Vertex& v : outline) cairo_line_to(cr, v.x, v.y);
    cairo_close_path(cr);
    cairo_path_t* path = cairo_copy_path(cr);
    if (!brush.IsNone()) surface_->Fill(brush);
    // Without a pen the area too covers the pixels of its outline, as other shapes do.
    const Pen edge = pen.IsNone() && brush.colour.alpha == 255 ? Pen{brush.colour} : pen;
    if (!edge.IsNone()) {
        cairo_new_path(cr);
        cairo_append_path(cr, path);
        surface_->Stroke(edge);
    }
    cairo_path_destroy(path);
    cairo_new_path(cr);
}

void CairoDC::PaintText(Corvane::Point at, const Corvane::String& text, const TextPlace& place) {
    if (GetTextColour().alpha == 0 || text.IsEmpty()) return;
    if (Record([=](CairoDC& dc) { dc.PaintText(at, text, place); })) return;
    TextLayouts& texts = surface_->Text();
    const Corvane::FontMetrics metrics = texts.Measure(GetFont());
    const double capHeight = texts.CapHeight(GetFont());
    const TextLayouts::Laid& laid = texts.LayOut(GetFont(), text);
    // From the middle of the pixel, about which it turns, to the beginning of the base line. Edges of text lie on edges
    // of pixels, centres in the middle.
    double x = -0.5;
    if (place.align == TextPlace::Centre) x = -laid.width / 2.0;
    if (place.align == TextPlace::Right) x = -0.5 - laid.width;
    double y = metrics.ascent - 0.5;
    if (place.anchor == TextPlace::Middle) y = capHeight / 2.0;
    if (place.anchor == TextPlace::Baseline) y = -0.5;
    if (place.anchor == TextPlace::Bottom) y = -0.5 - metrics.descent;

    cairo_t* cr = surface_->Context();
    cairo_save(cr);
    const Vertex middle = Middle(at);
    cairo_translate(cr, Held(middle.x), Held(middle.y));
    if (place.rotation != 0.0) cairo_rotate(cr, -place.rotation * (std::numbers::pi / 180.0));
    surface_->Cairo().SetColour(GetTextColour());
    cairo_move_to(cr, x, y - laid.baseline);
    pango_cairo_show_layout(cr, laid.layout.get());
    cairo_restore(cr);
    cairo_new_path(cr);
}

bool CairoDC::PaintCanvas(const Corvane::DC& canvas, Corvane::Point at) {
    const auto* from = dynamic_cast<const CairoDC*>(&canvas);
    if (from == nullptr || from == this || from->GetKind() != GetKind() || from->GetDensity() != GetDensity())
        return false;
    if (GetKind() != PictureKind::Png && !from->surface_->IsRecording()) return false;
    if (surface_->IsRecording()) {
        // As it is now: the canvas may be drawn on again, or be gone, when this one is copied.
        const auto now = std::make_shared<const std::vector<Recorded>>(from->surface_->GetRecorded());
        return Record([now, at, size = from->GetSize()](CairoDC& dc) { dc.Replay(*now, size, at); });
    }
    if (from->surface_->IsRecording()) {
        Replay(from->surface_->GetRecorded(), from->GetSize(), at);
        return true;
    }
    cairo_t* cr = surface_->Context();
    cairo_set_source_surface(cr, from->surface_->Cairo().Get(), Held(at.x), Held(at.y));
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
    cairo_paint(cr);
    return true;
}

bool CairoDC::Record(std::function<void(CairoDC&)> draw) {
    if (!surface_->IsRecording()) return false;
    surface_->Record({GetPen(), GetBrush(), GetTextColour(), GetFont(), std::move(draw)});
    return true;
}

void CairoDC::Replay(const std::vector<Recorded>& recorded, Corvane::Size size, Corvane::Point at) {
    const Scope scope(*this);
    cairo_t* cr = surface_->Context();
    cairo_save(cr);
    cairo_translate(cr, Held(at.x), Held(at.y));
    cairo_rectangle(cr, 0.0, 0.0, size.width, size.height);
    cairo_clip(cr);
    for (const Recorded& call : recorded) {
        SetPen(call.pen);
        SetBrush(call.brush);
        SetTextColour(call.textColour);
        SelectFont(call.font);
        call.draw(*this);
    }
    cairo_restore(cr);
}

std::unique_ptr<Corvane::DC> CairoDC::MakeCanvas(Corvane::Size size) const {
    if (!Check(GetKind(), size, GetDensity()).empty()) return nullptr;
    auto surface = std::make_unique<Surface>(*surface_, size);
    if (!surface->IsGood()) return nullptr;
    return std::unique_ptr<DC>(new CairoDC(std::move(surface)));
}

}  // namespace Host
