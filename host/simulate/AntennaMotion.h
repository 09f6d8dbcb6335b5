// AntennaMotion: where a simulated antenna is.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/Geog.h"
#include "gnss/geodesy/LocalGrid.h"

namespace Host {

// Metres and metres per second on WGS 84, seconds after the simulation's start.
class AntennaMotion {
public:
    enum class Kind { Still, Circle, Line };

    struct State {
        GNSS::ECEF posn;
        GNSS::ECEF::Delta vely;
    };

    AntennaMotion()
        : AntennaMotion(GNSS::Geog(Corvane::Angle::FromDegrees(55.4936), Corvane::Angle::FromDegrees(8.4568), 60.0)) {}
    // At rest.
    explicit AntennaMotion(const GNSS::Geog& place);

    // Round the place, clockwise and level, beginning north of it.
    void SetCircle(double radius, double speed);
    // From the place on along a great circle, at that course at the start (degrees from north by east). The height
    // changes by 1.3 m in the first 50 km, and with the distance squared.
    void SetLine(double course, double speed);

    [[nodiscard]] State At(double t) const;
    [[nodiscard]] Kind GetKind() const { return kind_; }
    [[nodiscard]] const GNSS::Geog& GetPlace() const { return grid_.GetOrigin(); }

private:
    Kind kind_ = Kind::Still;
    GNSS::LocalGrid grid_;
    double radius_ = 0.0;
    double speed_ = 0.0;
    double course_ = 0.0;  // rad
};

// "still", "circle,RADIUS,SPEED" or "line,COURSE,SPEED". False when it is none of these; the motion is then unchanged.
[[nodiscard]] bool ParseMotion(std::string_view text, AntennaMotion& motion);

}  // namespace Host
