// Host: shapes cut to what of them can show. Cairo's own numbers end at 8 million pixels, those of a drawing do not.
#pragma once

#include <array>
#include <vector>

namespace Host {

struct Vertex {
    double x = 0.0;
    double y = 0.0;
};

struct ClipBox {
    double left = 0.0;
    double top = 0.0;
    double right = 0.0;
    double bottom = 0.0;
};

// The nearest point of the box.
[[nodiscard]] Vertex Hold(Vertex v, const ClipBox& box);
// Cuts a line to the box; false when nothing is left.
[[nodiscard]] bool ClipLine(std::array<Vertex, 2>& ends, const ClipBox& box);
// The part of a closed shape inside the box (Sutherland and Hodgman, "Reentrant polygon clipping", 1974): its outline
// runs along the edges of the box where it was cut. Empty when nothing is left.
[[nodiscard]] std::vector<Vertex> ClipPolygon(std::vector<Vertex> corners, const ClipBox& box);
// Whether a disc and the box have a point in common.
[[nodiscard]] bool Meets(Vertex centre, double radius, const ClipBox& box);

}  // namespace Host
