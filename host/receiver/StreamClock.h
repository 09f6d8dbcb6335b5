// StreamClock: what a receiver's stream has told of the time, and what follows from it for times told in part.
#pragma once

#include <cstdint>
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
    // The newest time that the stream told, with its full week. The messages of a receiver do not come in the order of
    // their times: a step back of less than a day is followed only when the next time is behind as well, and one of up
    // to a minute never.
    void SetTime(const GNSS::GPSTime& time);
    // Until the next time is set there is none.
    void LoseTime() { time_.reset(); }
    [[nodiscard]] const std::optional<GNSS::GPSTime>& GetTime() const { return time_; }

    // GPS minus UTC as the stream tells it, s. The last one told counts, by itself or in a UTC record, and a record
    // knows the next leap besides. What cannot be (more than one second at a leap, fewer than none, more than two off
    // the table at the stream's or the record's time) is not taken; SetUTC then says false.
    void SetLeapSeconds(int seconds);
    [[nodiscard]] bool SetUTC(const GNSS::Almanac::UTC& utc);
    // Leap seconds that were not taken, but for those of UTC records.
    [[nodiscard]] std::int64_t GetNmrRefused() const { return nmrRefused_; }
    // GPS minus UTC at a time; by the table of LeapSeconds.h as long as the stream has told nothing.
    [[nodiscard]] int GetLeapSeconds(const GNSS::GPSTime& time) const;

    // Seconds of GLONASS time (Moscow, every day 86400 s) since 0 h of 6 January 1980, and back.
    [[nodiscard]] double ToMoscow(const GNSS::GPSTime& time) const;
    [[nodiscard]] GNSS::GPSTime FromMoscow(double seconds) const;

private:
    void CheckLeapSeconds();

    std::optional<GNSS::GPSTime> time_;
    bool wasBehind_ = false;  // the last time that was set
    std::int64_t nmrRefused_ = 0;
    std::optional<int> leapSeconds_;
    std::optional<GNSS::Almanac::UTC> utc_;
};

}  // namespace Host
