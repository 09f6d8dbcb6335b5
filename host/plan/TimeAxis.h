// TimeAxis: a span of GPS time along a picture.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"

namespace Host {

class TimeAxis {
public:
    struct Tick {
        std::int32_t x = 0;
        std::string label;  // "06:30", or the day, "06-25", where the ticks are days apart
        std::string date;   // under the label of a midnight, and under the first where there is room
    };

    TimeAxis() = default;
    // From the pixel `left` over `width` pixels. A span of zero lies at the left.
    TimeAxis(const GNSS::GPSTime& from, Corvane::Time span, std::int32_t left, std::int32_t width)
        : from_(from), span_(span), left_(left), width_(width) {}

    // Held within the axis.
    [[nodiscard]] std::int32_t Place(const GNSS::GPSTime& time) const;
    // At round times, in order, with room for their labels.
    [[nodiscard]] std::vector<Tick> Ticks() const;

private:
    GNSS::GPSTime from_;
    Corvane::Time span_;
    std::int32_t left_ = 0;
    std::int32_t width_ = 0;
};

}  // namespace Host
