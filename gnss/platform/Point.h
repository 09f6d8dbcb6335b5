// Corvane::Point, Size and Rect: places on a drawing, in whole pixels, x to the right and y downwards.
#pragma once

#include <cstdint>

#include "gnss/platform/Number.h"

namespace Corvane {

// A width and a height in pixels.
struct Size {
    std::int32_t width = 0;
    std::int32_t height = 0;

    friend constexpr bool operator==(Size, Size) = default;
};

// A pixel. Sums and differences are held within the range of the integers.
struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;

    friend constexpr Point operator+(Point a, Point b) {
        return {Saturate(std::int64_t{a.x} + b.x), Saturate(std::int64_t{a.y} + b.y)};
    }
    friend constexpr Point operator-(Point a, Point b) {
        return {Saturate(std::int64_t{a.x} - b.x), Saturate(std::int64_t{a.y} - b.y)};
    }
    friend constexpr bool operator==(Point, Point) = default;
};

// An upright rectangle by its top left corner and its size.
struct Rect {
    Point at;
    Size size;

    [[nodiscard]] constexpr Point BottomRight() const { return at + Point{size.width, size.height}; }
    // Whether the other rectangle lies inside this one; edges may touch.
    [[nodiscard]] constexpr bool Contains(const Rect& other) const {
        const Point end = BottomRight();
        const Point otherEnd = other.BottomRight();
        return other.at.x >= at.x && other.at.y >= at.y && otherEnd.x <= end.x && otherEnd.y <= end.y;
    }
    // Whether the two have area in common; touching edges have none.
    [[nodiscard]] constexpr bool Overlaps(const Rect& other) const {
        const Point end = BottomRight();
        const Point otherEnd = other.BottomRight();
        return other.at.x < end.x && at.x < otherEnd.x && other.at.y < end.y && at.y < otherEnd.y;
    }
    friend constexpr bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace Corvane
