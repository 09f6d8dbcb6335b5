#include "host/render/ShapeClip.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Host {

namespace {

// How far inside each edge of the box a point lies.
std::array<double, 4> Inside(Vertex v, const ClipBox& box) {
    return {v.x - box.left, box.right - v.x, v.y - box.top, box.bottom - v.y};
}

Vertex Between(Vertex a, Vertex b, double share) {
    return {a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)};
}

}  // namespace

Vertex Hold(Vertex v, const ClipBox& box) {
    return {std::clamp(v.x, box.left, box.right), std::clamp(v.y, box.top, box.bottom)};
}

bool ClipLine(std::array<Vertex, 2>& ends, const ClipBox& box) {
    const std::array<double, 4> first = Inside(ends[0], box);
    const std::array<double, 4> last = Inside(ends[1], box);
    double begin = 0.0;
    double end = 1.0;
    for (std::size_t edge = 0; edge < first.size(); ++edge) {
        if (first[edge] < 0.0 && last[edge] < 0.0) return false;
        if (first[edge] < 0.0) begin = std::max(begin, first[edge] / (first[edge] - last[edge]));
        if (last[edge] < 0.0) end = std::min(end, first[edge] / (first[edge] - last[edge]));
    }
    if (begin > end) return false;
    // What needs no cut stays exactly as it is.
    const std::array<Vertex, 2> whole = ends;
    if (begin > 0.0) ends[0] = Between(whole[0], whole[1], begin);
    if (end < 1.0) ends[1] = Between(whole[0], whole[1], end);
    return true;
}

std::vector<Vertex> ClipPolygon(std::vector<Vertex> corners, const ClipBox& box) {
    for (std::size_t edge = 0; edge < 4; ++edge) {
        std::vector<Vertex> kept;
        kept.reserve(corners.size() + 4);
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const Vertex& from = corners[i == 0 ? corners.size() - 1 : i - 1];
            const Vertex& to = corners[i];
            const double a = Inside(from, box)[edge];
            const double b = Inside(to, box)[edge];
            if ((a < 0.0) != (b < 0.0)) kept.push_back(Between(from, to, a / (a - b)));
            if (b >= 0.0) kept.push_back(to);
        }
        corners = std::move(kept);
    }
    return corners;
}

bool Meets(Vertex centre, double radius, const ClipBox& box) {
    const Vertex nearest = Hold(centre, box);
    return std::hypot(nearest.x - centre.x, nearest.y - centre.y) <= radius;
}

}  // namespace Host
