#include "gnss/platform/Number.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Corvane {

namespace {

// Applies `whole` (rounding or cutting to an integer) at the given decimal place.
template <typename Whole>
double AtDecimals(double x, int decimals, Whole whole) {
    if (!std::isfinite(x) || x == 0.0) return x;
    // The decimals of a double end long before the 400th, and its tens before the 310th.
    decimals = std::clamp(decimals, -400, 400);
    if (decimals < 0) {
        const double scale = std::pow(10.0, -decimals);
        const double tens = std::isfinite(scale) ? whole(x / scale) * scale : 0.0;
        return std::isfinite(tens) ? tens : x;
    }
    // From 2^52 on a double has no fraction: nothing to round, and the way through the scale would only lose digits.
    const double scale = std::pow(10.0, decimals);
    const double scaled = x * scale;
    if (!(std::abs(scaled) < 0x1p52)) return x;
    return whole(scaled) / scale;
}

}  // namespace

double round(double x, int decimals) {
    return AtDecimals(x, decimals, [](double v) { return std::round(v); });
}

double truncate(double x, int decimals) {
    return AtDecimals(x, decimals, [](double v) { return std::trunc(v); });
}

double modulo(double x, double m) {
    if (!(m > 0.0)) return std::numeric_limits<double>::quiet_NaN();
    if (x >= 0.0 && x < m) return x;
    // Of moderate quotients one fused step gives the remainder exactly, unless the quotient was rounded across a whole.
    const double quotient = x / m;
    if (std::abs(quotient) < 0x1p40) {
        const double r = std::fma(-std::floor(quotient), m, x);
        if (r >= 0.0 && r < m) return r;
    }
    double r = std::fmod(x, m);
    if (r < 0.0) r += m;
    // A tiny negative remainder plus m rounds to m itself.
    return r >= m ? 0.0 : r;
}

double root(double x, double tolerance) {
    if (x < 0.0) return x >= -tolerance ? 0.0 : std::numeric_limits<double>::quiet_NaN();
    return std::sqrt(x);
}

}  // namespace Corvane
