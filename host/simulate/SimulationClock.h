// SimulationClock: the time scales of a simulation.
#pragma once

#include <optional>

#include "gnss/time/GPSTime.h"

namespace Host {

// Counts seconds of GPS time from an origin of the simulation's own, near enough for doubles to hold a tenth of a
// nanosecond over months.
class SimulationClock {
public:
    // With a leap second, where there is one, at the end of the day of UTC that the given time lies in.
    SimulationClock(const GNSS::GPSTime& origin, const std::optional<GNSS::GPSTime>& leapOn);

    [[nodiscard]] const GNSS::GPSTime& GetOrigin() const { return origin_; }
    [[nodiscard]] GNSS::GPSTime ToGPS(double t) const { return origin_ + Corvane::Time(t); }
    [[nodiscard]] double FromGPS(const GNSS::GPSTime& time) const { return (time - origin_).Seconds(); }

    // GPS minus UTC: by the table of leap seconds, and the one of the simulation.
    [[nodiscard]] int GetLeapSeconds(double t) const;
    // The last leap or, from its announcement on, the next: the day at whose end it comes (counted from the start of
    // GPS time) and the counts. Without any the day before the start of GPS time.
    struct Leap {
        int day = 0;
        int before = 0;
        int after = 0;
    };
    [[nodiscard]] const Leap& GetLeap() const { return leap_; }

    // Seconds of GLONASS time, Moscow, since 0 h of 6 January 1980, every day 86400 s; and back, where of the two times
    // that a leap leaves the later one is taken.
    [[nodiscard]] double ToMoscow(double t) const;
    [[nodiscard]] double FromMoscow(double seconds) const;

private:
    GNSS::GPSTime origin_;
    double originSeconds_;  // since the start of GPS time
    std::optional<double> leapAt_;
    Leap leap_;
};

}  // namespace Host
