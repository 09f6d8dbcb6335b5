// Host::Plot: a plot of points or lines over two axes, as SVG or PNG.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "gnss/platform/Colour.h"

namespace Host {

// A plot with one pair of linear axes, labelled at round numbers, and a key. Points that are not finite are left out.
struct Plot {
    struct Point {
        double x;
        double y;
    };
    struct Series {
        std::string name;  // in the key; none when empty
        Corvane::Colour colour;
        bool isLine = false;
        std::vector<Point> points;
    };

    std::string title;
    std::string subtitle;
    std::string xLabel;
    std::string yLabel;
    std::vector<Series> series;
    bool yFromZero = false;
    int width = 1000;  // pixels
    int height = 520;

    // Whether the name of a file ends in .svg or .png.
    [[nodiscard]] static bool HasKnownEnding(std::string_view path);
    // Draws into such a file, which is written whole or not at all. Empty, or what went wrong with the name of the
    // file.
    [[nodiscard]] std::string Save(const std::string& path) const;
};

// Eight colours that colour-blind readers can tell apart (Okabe and Ito, "Color universal design", 2008), over and
// over.
[[nodiscard]] Corvane::Colour DistinctColour(std::size_t number);

// The distance between labels that gives `span` about `wanted` of them: 1, 2 or 5 times a power of ten.
[[nodiscard]] double RoundStep(double span, int wanted);

}  // namespace Host
