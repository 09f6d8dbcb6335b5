// Corvane::Pen and Brush: what a line is drawn with and what an area is filled with.
#pragma once

#include <cstdint>

#include "gnss/platform/Colour.h"

namespace Corvane {

// Draws lines and outlines.
struct Pen {
    enum Style : std::int32_t {
        NoLine = 0,
        Solid = 1,
        Dash = 2,
        Dot = 3,
    };

    Colour colour = Colour::Black;
    std::int32_t width = 1;  // pixels; a width below 1 counts as 1
    Style style = Solid;

    // Whether it leaves nothing on the drawing.
    [[nodiscard]] constexpr bool IsNone() const { return style == NoLine || colour.alpha == 0; }
    friend constexpr bool operator==(const Pen&, const Pen&) = default;

    static const Pen None;
};

inline constexpr Pen Pen::None{Colour::Transparent, 1, Pen::NoLine};

// Fills areas.
struct Brush {
    Colour colour = Colour::Transparent;

    [[nodiscard]] constexpr bool IsNone() const { return colour.alpha == 0; }
    friend constexpr bool operator==(const Brush&, const Brush&) = default;

    static const Brush None;
};

inline constexpr Brush Brush::None{};

}  // namespace Corvane
