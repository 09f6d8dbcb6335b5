// Corvane::Font and FontMetrics: what text is drawn with, and how much room it takes.
#pragma once

#include <algorithm>
#include <cstdint>

#include "gnss/platform/Number.h"
#include "gnss/platform/String.h"

namespace Corvane {

// A font by name and size. What is left open (an empty family, no points) is the metric font's of the context that
// draws with it.
struct Font {
    String family{};          // "DejaVu Sans", or a general name: "sans", "serif", "monospace"
    std::int32_t points = 0;  // from 1 to MaxPoints; 0 and below leave it open
    bool bold = false;
    bool italic = false;

    static constexpr std::int32_t MaxPoints = 1000;

    // The same font a number of points smaller (larger for a negative number), never below 1 point or above MaxPoints.
    // For a font whose size is known: one taken from a context.
    [[nodiscard]] Font Smaller(std::int32_t by) const {
        Font font = *this;
        font.points = std::clamp(Saturate(std::int64_t{points} - by), 1, MaxPoints);
        return font;
    }

    friend bool operator==(const Font&, const Font&) = default;
};

// Sizes of a font in pixels.
struct FontMetrics {
    std::int32_t ascent = 0;        // from the base line to the top of the tallest letters
    std::int32_t descent = 0;       // from the base line down to the lowest
    std::int32_t capHeight = 0;     // from the base line to the top of capitals and digits
    std::int32_t averageWidth = 0;  // of a character

    [[nodiscard]] constexpr std::int32_t LineHeight() const { return Saturate(std::int64_t{ascent} + descent); }
    friend constexpr bool operator==(const FontMetrics&, const FontMetrics&) = default;
};

// How a line of text lies about the point that it is drawn at.
struct TextPlace {
    // The numbers are also those of the columns of a string table; any other number counts as Left.
    enum Align : std::int32_t {
        Left = 0,  // the text begins at the point
        Centre = 2,
        Right = 3,  // the text ends at the point
    };
    // What of the text lies at the point's height; any other number counts as Top.
    enum Anchor : std::int32_t {
        Top = 0,
        Middle = 1,  // half the height of capitals and digits, so that these are centred on the point
        Baseline = 2,
        Bottom = 3,
    };

    Align align = Left;
    Anchor anchor = Top;
    // Degrees counter-clockwise about the point, applied after alignment and anchor.
    double rotation = 0.0;
};

}  // namespace Corvane
