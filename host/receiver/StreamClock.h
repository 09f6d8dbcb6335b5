// StreamClock: what a receiver's stream has told of the time, and what follows from it for times told in part.
#pragma once

#include <optional>

#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// The week out of those that agree with a number modulo `modulus` that lies nearest to another week; of two equally
// near the earlier, for what satellites send is no more announced two years ahead than it is ten.
[[nodiscard]] int ResolveWeek(int number, int modulus, int nearWeek);

// Holds the stream's own time and count of leap seconds. Neither the computer's clock nor the leap-second rule of the
// process is asked or changed.
class StreamClock {
public:
    // The newest time that the stream told, with its full week.
    void SetTime(const GNSS::GPSTime& time) { time_ = time; }
    [[nodiscard]] const std::optional<GNSS::GPSTime>& GetTime() const { return time_; }

    // GPS minus UTC as the stream tells it, s. The last one told counts, by itself or in a UTC record, and a record
    // knows the next leap besides. A record that cannot be (more than one second at a leap, fewer than none) is not
    // taken.
    void SetLeapSeconds(int seconds);
    void SetUTC(const GNSS::Almanac::UTC& utc);
    // GPS minus UTC at a time; by the table of LeapSeconds.h as long as the stream has told nothing.
    [[nodiscard]] int GetLeapSeconds(const GNSS::GPSTime& time) const;

    // Seconds of GLONASS time (Moscow, every day 86400 s) since 0 h of 6 January 1980, and back.
    [[nodiscard]] double ToMoscow(const GNSS::GPSTime& time) const;
    [[nodiscard]] GNSS::GPSTime FromMoscow(double seconds) const;

private:
    std::optional<GNSS::GPSTime> time_;
    std::optional<int> leapSeconds_;
    std::optional<GNSS::Almanac::UTC> utc_;
};

}  // namespace Host
