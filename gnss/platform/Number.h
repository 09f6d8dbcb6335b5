// Numbers: rounding to decimals, comparison with a tolerance, remainder, square root, conversion to int.
// None of these raises an error or reads a locale; what happens at NaN and infinity stands with each.
#pragma once

#include <cstdint>

#include "gnss/platform/Export.h"

namespace Corvane {

// x rounded to `decimals` places, halves away from zero; negative decimals round to tens, hundreds and so on.
// NaN, infinities and numbers too large to have such decimals come back as they are.
[[nodiscard]] GNSS_EXPORT double round(double x, int decimals);

// x cut towards zero at `decimals` places; otherwise as round.
[[nodiscard]] GNSS_EXPORT double truncate(double x, int decimals);

// -1, 0 or 1 as a lies below, within tolerance of, or above b; both ends of [-tolerance, tolerance] count as equal.
// A NaN is neither below nor above: 0.
[[nodiscard]] constexpr int compare(double a, double b, double tolerance) {
    const double d = a - b;
    if (d < -tolerance) return -1;
    return d > tolerance ? 1 : 0;
}

// The remainder of x by m > 0, in [0, m). NaN when x is not finite or m is not above zero.
[[nodiscard]] GNSS_EXPORT double modulo(double x, double m);

// The square root of x; 0 from -tolerance up to 0, NaN below -tolerance.
[[nodiscard]] GNSS_EXPORT double root(double x, double tolerance);

// x cut towards zero, held within the range of the integer; 0 for NaN. (A bare conversion would be undefined.)
[[nodiscard]] constexpr std::int32_t ToInt(double x) {
    if (x >= 2147483647.0) return INT32_MAX;
    if (x <= -2147483648.0) return INT32_MIN;
    return x == x ? static_cast<std::int32_t>(x) : 0;
}
[[nodiscard]] constexpr std::int64_t ToInt64(double x) {
    if (x >= 0x1p63) return INT64_MAX;
    if (x <= -0x1p63) return INT64_MIN;
    return x == x ? static_cast<std::int64_t>(x) : 0;
}

// x held within the range of 32 bits.
[[nodiscard]] constexpr std::int32_t Saturate(std::int64_t x) {
    if (x > INT32_MAX) return INT32_MAX;
    return x < INT32_MIN ? INT32_MIN : static_cast<std::int32_t>(x);
}

}  // namespace Corvane
