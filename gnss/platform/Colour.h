// Corvane::Colour: red, green, blue and opacity.
#pragma once

#include <cstdint>

namespace Corvane {

// A colour in sRGB, each part from 0 to 255; an alpha of 255 is opaque.
struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;

    friend constexpr bool operator==(const Colour&, const Colour&) = default;

    static const Colour Black;
    static const Colour White;
    static const Colour Red;
    static const Colour Green;
    static const Colour Blue;
    static const Colour Grey;
    static const Colour Transparent;
};

inline constexpr Colour Colour::Black{0, 0, 0};
inline constexpr Colour Colour::White{255, 255, 255};
inline constexpr Colour Colour::Red{255, 0, 0};
inline constexpr Colour Colour::Green{0, 128, 0};
inline constexpr Colour Colour::Blue{0, 0, 255};
inline constexpr Colour Colour::Grey{128, 128, 128};
inline constexpr Colour Colour::Transparent{0, 0, 0, 0};

}  // namespace Corvane
