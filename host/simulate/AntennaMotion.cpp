#include "host/simulate/AntennaMotion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <vector>

#include "gnss/geodesy/Spheroid.h"

namespace Host {

using GNSS::ECEF;
using GNSS::Spheroid;

AntennaMotion::AntennaMotion(const GNSS::Geog& place) : grid_(place, Spheroid::WGS84) {}

void AntennaMotion::SetCircle(double radius, double speed) {
    kind_ = Kind::Circle;
    radius_ = radius;
    speed_ = speed;
}

void AntennaMotion::SetLine(double course, double speed) {
    kind_ = Kind::Line;
    course_ = course * (std::numbers::pi / 180.0);
    speed_ = speed;
}

AntennaMotion::State AntennaMotion::At(double t) const {
    const ECEF& origin = grid_.GetOriginECEF();
    if (kind_ == Kind::Circle) {
        const double angle = speed_ / radius_ * t;
        const ECEF::Delta& east = grid_.GetEast();
        const ECEF::Delta& north = grid_.GetNorth();
        return {origin + east * (radius_ * std::sin(angle)) + north * (radius_ * std::cos(angle)),
                east * (speed_ * std::cos(angle)) - north * (speed_ * std::sin(angle))};
    }
    if (kind_ == Kind::Line) {
        // A great circle of the sphere that touches the ground at the place: the earth's curvature along the course is
        // within 0.5 % of its own.
        const double radius = origin.Radius();
        const double angle = speed_ / radius * t;
        const ECEF::Delta ahead = grid_.GetEast() * std::sin(course_) + grid_.GetNorth() * std::cos(course_);
        const ECEF::Delta& up = grid_.GetUp();
        return {origin + ahead * (radius * std::sin(angle)) + up * (radius * (std::cos(angle) - 1.0)),
                ahead * (speed_ * std::cos(angle)) - up * (speed_ * std::sin(angle))};
    }
    return {origin, {}};
}

bool ParseMotion(std::string_view text, AntennaMotion& motion) {
    constexpr double MaxSpeed = 10000.0;    // m/s
    constexpr double MaxRadius = 100000.0;  // m
    if (text == "still") {
        motion = AntennaMotion(motion.GetPlace());
        return true;
    }
    const std::string_view name = text.substr(0, text.find(','));
    std::vector<double> numbers;
    for (std::size_t at = name.size(); at < text.size();) {
        const std::size_t comma = std::min(text.find(',', at + 1), text.size());
        double value = 0.0;
        const auto [end, error] = std::from_chars(text.data() + at + 1, text.data() + comma, value);
        if (error != std::errc() || end != text.data() + comma || !std::isfinite(value)) return false;
        numbers.push_back(value);
        at = comma;
    }
    if (numbers.size() != 2 || !(numbers[1] >= 0.0 && numbers[1] <= MaxSpeed)) return false;
    if (name == "circle" && numbers[0] > 0.0 && numbers[0] <= MaxRadius) {
        motion.SetCircle(numbers[0], numbers[1]);
    } else if (name == "line" && std::abs(numbers[0]) <= 360.0) {
        motion.SetLine(numbers[0], numbers[1]);
    } else {
        return false;
    }
    return true;
}

}  // namespace Host
