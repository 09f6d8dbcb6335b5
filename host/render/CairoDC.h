// Host::CairoDC: the drawing context of the library on Cairo and Pango.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "gnss/platform/DC.h"

namespace Host {

// The form of a picture.
enum class PictureKind : std::int32_t {
    Png = 0,
    Svg = 1,  // one user unit a pixel
    Pdf = 2,  // 96 pixels an inch: a font of 10 points is printed with 10 points
};

// A picture in memory. The fonts of text are those of the system; a font without a family is DejaVu Sans, and the
// general names "sans", "serif" and "monospace" are those of the DejaVu family, so that a picture looks the same on
// every machine that has these. Text is neither hinted nor are its widths rounded glyph by glyph: it takes the same
// room on every kind and at every density. A text is cut where it is longer than 2,000,000 pixels by the size of its
// font.
//
// The density, for PNG alone, is the number of pixels of the picture for one of the coordinates: 1 for a normal screen,
// 2 for one of double density. A surface of Png is white at first, those of the other kinds are empty; a canvas is
// empty, and copies what is drawn on it as it was drawn: as pixels for PNG, as lines and text for the others.
// It shares its fonts with the context that made it; both are used by one thread at a time.
class CairoDC final : public Corvane::DC {
public:
    static constexpr int MaxDensity = 4;
    // The largest PNG in pixels of the picture (200 MB in memory), and the longest side of it.
    static constexpr std::int64_t MaxImagePixels = 50'000'000;
    static constexpr std::int32_t MaxImageSide = 32'000;
    // The longest side of the others: that of a page of PDF, 200 inches.
    static constexpr std::int32_t MaxVectorSide = 19'200;

    // Empty when such a picture can be made; otherwise the reason: "a picture of 0 x 600 pixels has no area".
    [[nodiscard]] static std::string Check(PictureKind kind, Corvane::Size size, int density = 1);
    // Null when Check has something to say, or without memory.
    [[nodiscard]] static std::unique_ptr<CairoDC> Make(PictureKind kind, Corvane::Size size, int density = 1);
    ~CairoDC() override;

    [[nodiscard]] Corvane::Size GetSize() const override;
    [[nodiscard]] PictureKind GetKind() const;
    // The bytes of the file. Ends the drawing: what is drawn afterwards is lost. The same drawing gives the same
    // bytes at any time and in any time zone; PDF has no date of creation. False, with the reason, when it failed.
    [[nodiscard]] bool Encode(std::string& bytes, std::string& failure);
    // A pixel of a PNG, counted in pixels of the picture; transparent outside, and for the other kinds.
    [[nodiscard]] Corvane::Colour GetPixel(Corvane::Point at) const;

protected:
    [[nodiscard]] Corvane::FontMetrics MeasureFont(const Corvane::Font& font) const override;
    [[nodiscard]] std::int32_t MeasureText(const Corvane::String& text, const Corvane::Font& font) const override;
    void PaintLine(Corvane::Point from, Corvane::Point to) override;
    void PaintRectangle(const Corvane::Rect& rect) override;
    void PaintCircle(Corvane::Point centre, double radiusPixels) override;
    void PaintPolygon(std::span<const Corvane::Point> corners, Corvane::Point at) override;
    void PaintText(Corvane::Point at, const Corvane::String& text, const Corvane::TextPlace& place) override;
    bool PaintCanvas(const Corvane::DC& canvas, Corvane::Point at) override;
    [[nodiscard]] std::unique_ptr<DC> MakeCanvas(Corvane::Size size) const override;

private:
    class Surface;
    struct Recorded;
    explicit CairoDC(std::unique_ptr<Surface> surface);

    [[nodiscard]] int GetDensity() const;
    // Keeps a call for the time when this canvas is copied; false on a surface that is drawn on at once.
    bool Record(std::function<void(CairoDC&)> draw);
    void Replay(const std::vector<Recorded>& recorded, Corvane::Size size, Corvane::Point at);

    std::unique_ptr<Surface> surface_;
};

}  // namespace Host
