// GNSS::ConstellationArtist: draws a constellation as a sky plot.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "gnss/display/DopArt.h"
#include "gnss/fwd.h"
#include "gnss/platform/DC.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Point.h"

namespace GNSS {

// A polar view of the sky: the zenith in the centre, the horizon on the outer ring, north up and east to the right.
// The plot is a square with its top left at the context's origin; the key stands apart, where the host moves the
// origin. Everything is measured and written in the context's metric font, the plot's own labels 2 points smaller, and
// leaves the context as it was.
//
// Where symbols overlap, they take turns on top: each time the delay has passed on the clock (pt::now), the next Draw
// reverses the order in which it draws the satellites. A flip that is due later than one delay from now, because the
// clock was set back or the delay shortened, is due at once.
class GNSS_EXPORT ConstellationArtist {
public:
    // What the plot shows and in which colours: ConstellationStyle.h.
    class Style;

    static constexpr int DefaultDelay = 1000;  // milliseconds
    // The side of the largest plot that has a canvas to copy its background from.
    static constexpr int MaxCanvas = 4096;

    ConstellationArtist() = default;
    explicit ConstellationArtist(const Constellation& constellation) : constellation_(&constellation) {}
    explicit ConstellationArtist(const Constellation&&) = delete;

    // As constructed, but for the constellation and the size, which stay.
    void Reset();

    // The constellation is kept by reference: every Draw shows its satellites as they are then, and it lives until
    // another one is set or it is forgotten.
    void SetConstellation(const Constellation& constellation) { constellation_ = &constellation; }
    void SetConstellation(const Constellation&&) = delete;
    void ForgetConstellation() { constellation_ = nullptr; }

    // At first both systems.
    void SetMode(DopArt::Mode mode) { mode_ = mode; }
    [[nodiscard]] DopArt::Mode GetMode() const { return mode_; }
    // Milliseconds between flips; below 0 counts as 0, with which every Draw flips.
    void SetDelay(int milliseconds) { delay_ = milliseconds < 0 ? 0 : milliseconds; }
    [[nodiscard]] int GetDelay() const { return delay_; }

    // Prepares a plot of size by size pixels, and draws its background in this style into a canvas for Draw to copy.
    // Needed again whenever size, style, font or colours of the context change. A size of 0 or below keeps the one
    // before. In a size that its margins fill, the scale is 0, and only ground and frame are drawn.
    void Init(Corvane::DC& dc, const Style& style, int size, int delay);
    [[nodiscard]] bool IsInit() const { return init_; }

    // The background, copied from the canvas or drawn afresh upon the back colour, and the satellites on it. Without a
    // canvas (the plot is larger than MaxCanvas, the surface cannot make or copy one) it is drawn afresh either way:
    // the picture is the same. Nothing before Init.
    //
    // A satellite below the horizon is not drawn, nor is one whose direction is not finite. An elevation beyond 90
    // degrees is a direction past the zenith; beyond 180 it is below the horizon again.
    void Draw(Corvane::DC& dc, const Style& style, bool fromCache);
    // Frame, axes, rings and labels alone, without a ground. Nothing before Init.
    void DrawBackgrnd(Corvane::DC& dc, const Style& style) const;

    // The key: a symbol and a name for every colour of the style, in columns no higher than the plot (but of one entry
    // at least). A line break in a name is drawn as a blank. Nothing, and a width of 0, before Init.
    void DrawKey(Corvane::DC& dc, const Style& style) const;
    [[nodiscard]] int GetKeyWidth(const Corvane::DC& dc, const Style& style) const;
    [[nodiscard]] int GetKeyHeight(const Corvane::DC& dc, const Style& style) const;

    // Flips the order of drawing now; the next flip is one delay later.
    void Reverse();
    // Puts the next flip one delay from now.
    void ResetTimer();
    // Whether the flip is due, so that the host draws again. At first, and after Reset, it is.
    [[nodiscard]] bool RequiresRedraw() const;

    // Odd, and intended: GPS satellites are drawn first while GLONASS-first is set, GLONASS satellites while it is not.
    [[nodiscard]] bool IsGlonassFirst() const { return glonassFirst_; }
    // Whether each list is drawn from its last satellite to its first.
    [[nodiscard]] bool IsReversed() const { return reversed_; }
    // Flips with the other two, for what else a host lets take turns.
    [[nodiscard]] bool IsAlternate() const { return alternate_; }

    // Of the plot, in pixels: its side, its centre (side / 2 in both directions), pixels per degree of elevation,
    // half the side of a symbol, the room outside the outer ring, and the radius of that ring.
    [[nodiscard]] int GetHeight() const { return size_; }
    [[nodiscard]] int GetCentre() const { return centre_; }
    [[nodiscard]] double GetElevScale() const { return scale_; }
    [[nodiscard]] int GetSVRadius() const { return symbol_; }
    [[nodiscard]] int GetMargin() const { return margin_; }
    [[nodiscard]] int GetRadius() const { return radius_; }

private:
    struct KeyLayout;

    void DrawAfresh(Corvane::DC& dc, const Style& style) const;
    void DrawRings(Corvane::DC& dc, const Style& style) const;
    void DrawCompass(Corvane::DC& dc, const Style& style) const;
    void DrawElevations(Corvane::DC& dc) const;
    template <typename Entries>
    void DrawSatellites(Corvane::DC& dc, const Style& style, const Entries& entries) const;
    void DrawSymbol(Corvane::DC& dc, Corvane::Point at, Corvane::Colour colour, bool square) const;
    [[nodiscard]] KeyLayout LayOutKey(const Corvane::DC& dc, const Style& style) const;

    const Constellation* constellation_ = nullptr;
    bool glonassFirst_ = false;
    bool reversed_ = false;
    bool alternate_ = false;
    std::int64_t nextFlip_ = INT64_MIN;  // in the milliseconds of pt::now
    std::int32_t size_ = 0;
    std::int32_t centre_ = 0;
    double scale_ = 0.0;
    std::int32_t symbol_ = 0;
    std::int32_t frame_ = 0;  // from the outer to the inner line of the border
    std::int32_t room_ = 0;   // for labels and symbols, from the outer ring to the frame
    std::int32_t margin_ = 0;
    std::int32_t radius_ = 0;
    std::array<Corvane::Point, 4> square_{};  // the outline of a symbol about its centre
    DopArt::Mode mode_ = DopArt::Both;
    bool init_ = false;
    std::int32_t delay_ = DefaultDelay;
    std::unique_ptr<Corvane::DC> cache_;
};

}  // namespace GNSS
