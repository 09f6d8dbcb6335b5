// FixFigures: the quality of a fix in the figures that reports show.
#pragma once

#include <limits>
#include <string>

#include "gnss/time/GPSTime.h"
#include "host/fix/FixResult.h"

namespace Host {

// Figures that a fix does not have, because there is none or it is not testable, are NaN.
struct FixFigures {
    static constexpr double None = std::numeric_limits<double>::quiet_NaN();

    // The largest of a figure over the observations that took part, and the row of the one that has it.
    struct Largest {
        double value = None;
        int row = -1;
    };

    int redundancy = 0;
    double unitVariance = None;
    // What each test says: FixTest::NotIdentifiable where it was passed with a redundancy of 1.
    FixTest fTest = FixTest::None;
    FixTest wTest = FixTest::None;
    // How many observations took part that nothing checks: what their faults do to the position has no bound.
    int nmrUnchecked = 0;

    Largest mdb;                    // internal reliability, m
    Largest extRel2D;               // external reliability, m: horizontal, in space and in height
    double extRel2DBearing = None;  // degrees, clockwise from north: where the fault of that observation moves the fix
    Largest extRel3D;
    Largest extRelHeight;

    // 95 %: the ellipse with the factor of two dimensions, the height with that of one, the ellipsoid with that of
    // three.
    double ellipseMajor = None;    // m
    double ellipseMinor = None;    // m
    double ellipseBearing = None;  // degrees, of the major axis
    double height95 = None;        // m
    double ellipsoidMajor = None;  // m, its longest semi-axis
};

// Standard deviations that hold 95 % in three dimensions, in two and in one.
inline constexpr double EllipsoidFactor95 = 2.7955;
inline constexpr double EllipseFactor95 = 2.4477;
inline constexpr double LineFactor95 = 1.9600;

[[nodiscard]] FixFigures FiguresOf(const FixResult& result);

// "G05", "height" for the height aid's row, empty for none.
[[nodiscard]] std::string NameOfRow(const FixResult& result, int row);

// An instant of UTC as "2020-06-25T00:00:30.000Z", in milliseconds.
[[nodiscard]] std::string PrintUTC(const Corvane::TimeDate& utc);
// The same by the leap-second rule in force.
[[nodiscard]] std::string PrintUTC(const GNSS::GPSTime& time);

}  // namespace Host
