#include "gnss/display/ConstellationArtist.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "gnss/display/ConstellationStyle.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Clock.h"
#include "gnss/platform/Colour.h"
#include "gnss/platform/Font.h"
#include "gnss/platform/Number.h"
#include "gnss/platform/Pen.h"
#include "gnss/platform/String.h"
#include "gnss/position/Constellation.h"

namespace GNSS {

using Corvane::DC;
using Corvane::Font;
using Corvane::Pen;
using Corvane::Point;
using Corvane::Saturate;
using Corvane::String;
using Corvane::TextPlace;

// Where the symbols of the key stand, and what the whole of it takes.
struct ConstellationArtist::KeyLayout {
    struct Entry {
        const Style::Colour* colour;
        Point centre;  // of the symbol
    };
    std::vector<Entry> entries;
    std::int32_t gap = 0;  // between rows, and between a symbol and its name
    Corvane::Size size;
};

namespace {

constexpr double HorizonTolerance = 1e-11;  // radians

// To the nearest integer, halves away from zero.
std::int32_t Rnd(double v) {
    return Corvane::ToInt(std::round(v));
}

std::int64_t Later(std::int64_t time, std::int32_t delay) {
    return time > INT64_MAX - delay ? INT64_MAX : time + delay;
}

// The place of a direction about the centre of the plot; none for one that is not in the sky.
std::optional<Point> Place(Corvane::Angle elevation, Corvane::Angle azimuth, double scale) {
    if (!std::isfinite(elevation.Radians()) || !std::isfinite(azimuth.Radians())) return std::nullopt;
    if (elevation.Compare(Corvane::Angle::Zero, HorizonTolerance) < 0) return std::nullopt;
    if (elevation.Compare(Corvane::Angle::Straight, HorizonTolerance) > 0) return std::nullopt;
    const double z = 90.0 - elevation.Degrees();
    return Point{Rnd(sin(azimuth) * z * scale), -Rnd(cos(azimuth) * z * scale)};
}

// The font of the plot's own labels.
Font LabelFont(const DC& dc) {
    return dc.GetMetricFont().Smaller(2);
}

// Smaller still where the text is wider than its room.
Font FittingFont(const DC& dc, const String& text, std::int32_t room) {
    Font font = LabelFont(dc);
    while (font.points > 1 && dc.TextExtent(text, font).width > room) font = font.Smaller(1);
    return font;
}

}  // namespace

void ConstellationArtist::Reset() {
    ConstellationArtist fresh;
    fresh.constellation_ = constellation_;
    fresh.size_ = size_;
    *this = std::move(fresh);
}

void ConstellationArtist::Reverse() {
    glonassFirst_ = !glonassFirst_;
    reversed_ = !reversed_;
    alternate_ = !alternate_;
    ResetTimer();
}

void ConstellationArtist::ResetTimer() {
    nextFlip_ = Later(pt::now(), delay_);
}

bool ConstellationArtist::RequiresRedraw() const {
    const std::int64_t now = pt::now();
    return now >= nextFlip_ || nextFlip_ > Later(now, delay_);
}

void ConstellationArtist::Init(DC& dc, const Style& style, int size, int delay) {
    if (size > 0) size_ = size;
    init_ = true;
    SetDelay(delay);

    const Font& font = dc.GetMetricFont();
    const Corvane::FontMetrics metrics = dc.GetFontMetrics(font);
    symbol_ = dc.TextExtent("000", font).width / 2;
    square_ = {{{-symbol_, -symbol_}, {symbol_, -symbol_}, {symbol_, symbol_}, {-symbol_, symbol_}}};

    std::int32_t labels = 0;
    if (style.ShowAzi()) {
        labels = metrics.LineHeight();
        if (!style.AziRot()) {
            labels = std::max(labels, dc.TextExtent(style.UseNESW() ? "W" : "270\xB0", font).width);
        }
    }
    room_ = std::max(labels, symbol_);
    // The two lines of the border stand as far apart as letters reach below the base line, by an odd number.
    frame_ = std::max(1, metrics.descent) | 1;
    std::int64_t margin = room_;
    if (style.HasBorder()) {
        margin += frame_;
        if (!style.ShowAzi() && style.HasCircles()) margin += frame_;
    }
    margin_ = Saturate(margin);

    scale_ = std::max(0.0, (size_ - 2.0 * static_cast<double>(margin)) / 180.0);
    centre_ = size_ / 2;
    radius_ = Rnd(90.0 * scale_);

    cache_.reset();
    if (size_ <= MaxCanvas) cache_ = dc.CreateCanvas({size_, size_});
    if (cache_) DrawAfresh(*cache_, style);
}

void ConstellationArtist::DrawAfresh(DC& dc, const Style& style) const {
    dc.SetBackPen();
    dc.SetBackBrush();
    dc.DrawRectangle({{0, 0}, {size_ - 1, size_ - 1}});
    DrawBackgrnd(dc, style);
}

void ConstellationArtist::Draw(DC& dc, const Style& style, bool fromCache) {
    if (!init_) return;
    if (RequiresRedraw()) Reverse();

    const DC::Scope scope(dc);
    if (!fromCache || !cache_ || !dc.Blit(*cache_, {0, 0})) DrawAfresh(dc, style);
    if (constellation_ == nullptr || radius_ <= 0) return;

    const DC::Scope centred(dc, {centre_, centre_});
    dc.RevertFont();
    dc.SetTextPen();  // before the labels' black: the symbols are outlined so that they stand out from the ground
    dc.SetTextColour(Corvane::Colour::Black);
    const auto drawGPS = [&] {
        if (DopArt::ShowsGPS(mode_)) DrawSatellites(dc, style, constellation_->GetSVs());
    };
    const auto drawGlonass = [&] {
        if (DopArt::ShowsGlonass(mode_)) DrawSatellites(dc, style, constellation_->GetGlonassSVs());
    };
    if (glonassFirst_) {
        drawGPS();
        drawGlonass();
    } else {
        drawGlonass();
        drawGPS();
    }
}

template <typename Entries>
void ConstellationArtist::DrawSatellites(DC& dc, const Style& style, const Entries& entries) const {
    constexpr bool isGPS = std::is_same_v<typename Entries::value_type, Constellation::SV>;
    // The mark of an extra satellite stands on this line above its number, within the symbol.
    const std::int32_t raise = Rnd(0.15 * dc.GetFontMetrics().LineHeight());

    const auto draw = [&](const auto& entry) {
        const std::optional<Point> at = Place(entry.GetElevation(), entry.GetAzimuth(), scale_);
        if (!at) return;
        if (style.HasCircles()) {
            DrawSymbol(dc, *at, style.GetColour(entry.GetState()), !isGPS && style.HasSquares());
        }
        dc.DrawText(*at, String::FormatInt(entry.GetId(), 2, true), {TextPlace::Centre, TextPlace::Middle});
        if constexpr (isGPS) {
            if (entry.IsExtra()) dc.DrawText(*at - Point{0, raise}, "-", {TextPlace::Centre, TextPlace::Baseline});
        }
    };
    if (reversed_) {
        std::for_each(entries.rbegin(), entries.rend(), draw);
    } else {
        std::for_each(entries.begin(), entries.end(), draw);
    }
}

void ConstellationArtist::DrawSymbol(DC& dc, Point at, Corvane::Colour colour, bool square) const {
    dc.SetBrush(colour);
    if (square) {
        dc.DrawPolygon(square_, at);
    } else {
        dc.DrawCircle(at, symbol_, 1.0);
    }
}

void ConstellationArtist::DrawBackgrnd(DC& dc, const Style& style) const {
    if (!init_) return;
    const DC::Scope scope(dc);
    dc.SetTextPen();
    dc.SetBrush(Corvane::Brush::None);
    if (style.HasBorder()) {
        dc.DrawRectangle({{0, 0}, {size_ - 1, size_ - 1}});
        const std::int32_t inner = Saturate(size_ - 2 * std::int64_t{frame_} - 1);
        dc.DrawRectangle({{frame_, frame_}, {inner, inner}});
    }
    if (radius_ <= 0) return;

    const DC::Scope centred(dc, {centre_, centre_});
    DrawRings(dc, style);
    if (style.ShowAzi()) DrawCompass(dc, style);
    if (style.HasElev()) DrawElevations(dc);
}

void ConstellationArtist::DrawRings(DC& dc, const Style& style) const {
    dc.MoveTo({-radius_, 0});
    dc.LineTo({radius_ - 1, 0});
    dc.MoveTo({0, -radius_});
    dc.LineTo({0, radius_ - 1});

    const Pen axes = dc.GetPen();
    dc.SetPen(Corvane::Colour::Green, 1, Pen::Solid);
    dc.DrawCircle({0, 0}, 90.0, scale_);
    dc.SetPen(Corvane::Colour::Green, 1, Pen::Dash);
    dc.DrawCircle({0, 0}, 60.0, scale_);
    dc.DrawCircle({0, 0}, 30.0, scale_);
    if (style.ShowNorvi()) dc.DrawCircle({0, 0}, 7.0, scale_);

    dc.SetPen(axes);
    if (style.HasDiag()) {
        const std::int32_t d = Rnd(63.639 * scale_);  // 90 / sqrt 2: they end on the outer ring
        dc.MoveTo({-d, -d});
        dc.LineTo({d, d});
        dc.MoveTo({-d, d});
        dc.LineTo({d, -d});
    }
}

void ConstellationArtist::DrawCompass(DC& dc, const Style& style) const {
    // Between ring and frame, each of which takes a pixel. A label stands two pixels off the ring if they are there.
    const std::int32_t free = room_ - 2;
    // A label lies along the ring, or across that room.
    const auto write = [&](const String& text, Point direction, const TextPlace& place, bool across = false) {
        dc.SelectFont(FittingFont(dc, text, across ? free : Saturate(2 * std::int64_t{radius_})));
        const Corvane::Size extent = dc.TextExtent(text);
        std::int32_t distance = radius_ + std::clamp(free - (across ? extent.width : extent.height), 0, 2);
        // A text that begins at a point covers that pixel, one that ends there does not.
        if (direction.x + direction.y > 0) ++distance;
        dc.DrawText({direction.x * distance, direction.y * distance}, text, place);
    };
    constexpr Point up{0, -1};
    constexpr Point down{0, 1};
    constexpr Point left{-1, 0};
    constexpr Point right{1, 0};

    if (style.UseNESW()) {
        write("N", up, {TextPlace::Centre, TextPlace::Bottom});
        write("S", down, {TextPlace::Centre, TextPlace::Top});
        write("W", left, {TextPlace::Right, TextPlace::Middle}, true);
        write("E", right, {TextPlace::Left, TextPlace::Middle}, true);
        return;
    }
    // The side of a text that faces the ring is its lower one where it reads outwards, else its upper one.
    write(style.GetNorth(), up, {TextPlace::Centre, TextPlace::Bottom});
    if (style.AziRot1()) {
        write(style.GetSouth(), down, {TextPlace::Centre, TextPlace::Bottom, 180.0});
        write(style.GetWest(), left, {TextPlace::Centre, TextPlace::Bottom, 90.0});
    } else {
        write(style.GetSouth(), down, {TextPlace::Centre, TextPlace::Top});
        if (style.AziRot2()) {
            write(style.GetWest(), left, {TextPlace::Centre, TextPlace::Top, 270.0});
        } else {
            write(style.GetWest(), left, {TextPlace::Right, TextPlace::Middle}, true);
        }
    }
    if (style.AziRot()) {
        write(style.GetEast(), right, {TextPlace::Centre, TextPlace::Bottom, 270.0});
    } else {
        write(style.GetEast(), right, {TextPlace::Left, TextPlace::Middle}, true);
    }
}

void ConstellationArtist::DrawElevations(DC& dc) const {
    dc.SelectFont(LabelFont(dc));
    dc.SetBackPen();
    dc.SetBackBrush();
    for (const int elevation : {60, 30}) {
        const String number = String::FormatInt(elevation);
        const Corvane::Size extent = dc.TextExtent(number);
        const Point at{-(extent.width / 2), Rnd((elevation - 90) * scale_) - extent.height / 2};
        dc.DrawRectangle({at, extent});
        // The number covers the rectangle; the degree sign stands beside it.
        dc.DrawText(at, number + "\xB0");
    }
}

ConstellationArtist::KeyLayout ConstellationArtist::LayOutKey(const DC& dc, const Style& style) const {
    KeyLayout key;
    if (!init_) return key;
    const Font& font = dc.GetMetricFont();
    const std::int32_t line = dc.GetFontMetrics(font).LineHeight();
    const std::int64_t side = 2 * std::int64_t{symbol_} + 1;
    const std::int64_t height = std::max<std::int64_t>(side, line);
    key.gap = std::max(2, line / 3);

    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t columnWidth = 0;
    std::int64_t bottom = 0;
    for (int i = 0; i < style.NmrColour(); ++i) {
        const Style::Colour& colour = style.GetStyleColour(i);
        if (mode_ == DopArt::GPSOnly && colour.IsGlonass()) continue;
        if (top > 0 && top + height > size_) {
            left += columnWidth + 3 * std::int64_t{key.gap};
            top = 0;
            columnWidth = 0;
        }
        key.entries.push_back({&colour, {Saturate(left + symbol_), Saturate(top + height / 2)}});
        columnWidth = std::max(columnWidth, side + key.gap + dc.TextExtent(colour.GetName(), font).width);
        bottom = std::max(bottom, top + height);
        top += height + key.gap;
    }
    key.size = {Saturate(left + columnWidth), Saturate(bottom)};
    return key;
}

int ConstellationArtist::GetKeyWidth(const DC& dc, const Style& style) const {
    return LayOutKey(dc, style).size.width;
}

int ConstellationArtist::GetKeyHeight(const DC& dc, const Style& style) const {
    return LayOutKey(dc, style).size.height;
}

void ConstellationArtist::DrawKey(DC& dc, const Style& style) const {
    const KeyLayout key = LayOutKey(dc, style);
    const DC::Scope scope(dc);
    dc.RevertFont();
    dc.SetTextPen();
    for (const KeyLayout::Entry& entry : key.entries) {
        DrawSymbol(dc, entry.centre, entry.colour->GetColour(), style.HasSquares() && entry.colour->IsGlonass());
        dc.DrawText(entry.centre + Point{Saturate(std::int64_t{symbol_} + 1 + key.gap), 0}, entry.colour->GetName(),
                    {TextPlace::Left, TextPlace::Middle});
    }
}

}  // namespace GNSS
