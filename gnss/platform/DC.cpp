#include "gnss/platform/DC.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "gnss/platform/Number.h"

namespace Corvane {

namespace {

constexpr std::int32_t MaxPenWidth = 1000;

// The control characters of Latin-1.
bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || (byte >= 0x7F && byte < 0xA0);
}

bool IsOneLine(const String& text) {
    return std::none_of(text.View().begin(), text.View().end(), IsControl);
}

String OneLine(const String& text) {
    std::string line = text.str();
    std::replace_if(line.begin(), line.end(), IsControl, ' ');
    return {std::move(line)};
}

}  // namespace

DC::~DC() = default;

void DC::SetPen(const Pen& pen) {
    state_.pen = pen;
    state_.pen.width = std::clamp(pen.width, 1, MaxPenWidth);
}

void DC::SetMetricFont(const Font& font) {
    state_.metricFont = Resolve(font);
    RevertFont();
}

Font DC::Resolve(const Font& font) const {
    Font resolved = font;
    if (font.family.IsEmpty()) resolved.family = state_.metricFont.family;
    if (font.points <= 0) resolved.points = state_.metricFont.points;
    resolved.points = std::min(resolved.points, Font::MaxPoints);
    return resolved;
}

Size DC::ExtentOf(const String& text, const Font& resolved) const {
    const std::int32_t width = MeasureText(IsOneLine(text) ? text : OneLine(text), resolved);
    return {width, MeasureFont(resolved).LineHeight()};
}

void DC::LineTo(Point to) {
    const Point from = state_.position;
    state_.position = OnSurface(to);
    PaintLine(from, state_.position);
}

void DC::DrawRectangle(const Rect& rect) {
    if (rect.size.width < 0 || rect.size.height < 0) return;
    PaintRectangle({OnSurface(rect.at), rect.size});
}

void DC::DrawCircle(Point centre, double radius, double scale) {
    const double pixels = radius * scale;
    if (pixels >= 0.0 && pixels <= MaxRadius) PaintCircle(OnSurface(centre), pixels);
}

void DC::DrawPolygon(std::span<const Point> corners, Point at) {
    if (corners.size() >= 2) PaintPolygon(corners, OnSurface(at));
}

void DC::DrawText(Point at, const String& text, const TextPlace& place) {
    TextPlace turned = place;
    turned.rotation = std::isfinite(place.rotation) ? modulo(place.rotation, 360.0) : 0.0;
    PaintText(OnSurface(at), IsOneLine(text) ? text : OneLine(text), turned);
}

void DC::Clear() {
    const Scope scope(*this);
    state_.origin = {};
    SetBackPen();
    SetBackBrush();
    const Size size = GetSize();
    DrawRectangle({{0, 0}, {size.width - 1, size.height - 1}});
}

std::unique_ptr<DC> DC::CreateCanvas(Size size) const {
    if (size.width <= 0 || size.height <= 0) return nullptr;
    std::unique_ptr<DC> canvas = MakeCanvas(size);
    if (canvas) {
        canvas->state_ = state_;
        canvas->state_.origin = {};
        canvas->state_.position = {};
    }
    return canvas;
}

bool DC::Blit(const DC& canvas, Point at) {
    return PaintCanvas(canvas, OnSurface(at));
}

Point DC::StartOfText(std::int32_t width, const TextPlace& place) const {
    Point start;
    if (place.align == TextPlace::Centre) start.x = Saturate(-std::int64_t{width} / 2);
    if (place.align == TextPlace::Right) start.x = Saturate(-std::int64_t{width});
    const FontMetrics metrics = GetFontMetrics();
    switch (place.anchor) {
        case TextPlace::Baseline:
            start.y = 0;
            break;
        case TextPlace::Middle:
            start.y = metrics.capHeight / 2;
            break;
        case TextPlace::Bottom:
            start.y = -metrics.descent;
            break;
        default:
            start.y = metrics.ascent;
            break;
    }
    return start;
}

}  // namespace Corvane
