// GNSS::Position::VelocityInfo: course and speed at a fix.
#pragma once

#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/position/Position.h"

namespace GNSS {

// Speed over ground in m/s, and course made good, clockwise from true north. Any numbers. The default is 0.0, north and
// not valid.
class GNSS_EXPORT Position::VelocityInfo {
public:
    constexpr VelocityInfo() = default;
    // Valid.
    constexpr VelocityInfo(double speed, Corvane::Angle course) : speed_(speed), course_(course), valid_(true) {}

    constexpr void Reset() { *this = VelocityInfo(); }

    [[nodiscard]] constexpr double GetSOG() const { return speed_; }
    [[nodiscard]] constexpr Corvane::Angle GetCMG() const { return course_; }
    // Whether it was made from a speed and a course.
    [[nodiscard]] constexpr bool IsValid() const { return valid_; }
    // These leave the validity as it is: a record that was reset is made valid by assigning a new one.
    constexpr void SetSOG(double speed) { speed_ = speed; }
    constexpr void SetCMG(Corvane::Angle course) { course_ = course; }

private:
    double speed_ = 0.0;
    Corvane::Angle course_;
    bool valid_ = false;
};

}  // namespace GNSS
