// GPSTime::UTCConverter: a leap-second rule, GPS minus UTC before and after one leap.
#pragma once

#include "gnss/platform/Export.h"
#include "gnss/platform/TimeDate.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// Turns GPS time into UTC and back with one leap in between (IS-GPS-200, 20.3.3.5.2.4). Before the leap and after it
// the offset is constant: times of earlier or later leaps come out whole seconds off. Times that are NaN give UTC of
// NaN; dates beyond the calendar's range give its ends.
class GNSS_EXPORT GPSTime::UTCConverter {
public:
    // As Set.
    constexpr UTCConverter(const GPSTime& utcInstant, int before, int after) { Set(utcInstant, before, after); }

    // The UTC instant at which the leap takes effect, written as a GPS week and second (1 July 2015 00:00:00 is
    // GPSTime(1851, 259200.0)), and GPS minus UTC in seconds before and from it on.
    constexpr void Set(const GPSTime& utcInstant, int before, int after) {
        before_ = Corvane::Time(before);
        after_ = Corvane::Time(after);
        leapTime_ = GPSTime(utcInstant.GetWeek(), utcInstant.GetSeconds() + after_.Seconds());
        change_ = after_ - before_;
    }

    // The GPS instant from which the new count holds.
    [[nodiscard]] constexpr const GPSTime& GetLeapTime() const { return leapTime_; }
    // GPS minus UTC before the leap and from it on.
    [[nodiscard]] constexpr Corvane::Time GetBefore() const { return before_; }
    [[nodiscard]] constexpr Corvane::Time GetAfter() const { return after_; }
    // After minus before in seconds.
    [[nodiscard]] constexpr double LeapChange() const { return change_.Seconds(); }

    // UTC of a GPS time. An inserted second is 23:59:60 of the day that it ends. The leap is taken to be there from
    // 5e-7 s before its instant, so in that half microsecond UTC reads 23:59:59.9999995 and on.
    [[nodiscard]] Corvane::TimeDate Convert(const GPSTime& gps) const;

    // GPS time of UTC. The count is chosen by the whole day: that of before for all days that come before the day of
    // the leap's GPS instant, so also for an inserted second, whose day is still the old one.
    [[nodiscard]] GPSTime Reverse(const Corvane::TimeDate& utc) const;

    // The seconds to correct by around the leap: the whole change. Holds for every time however far from the leap, and
    // is 0 only when the time is NaN. Intended: each of its two tests is one-sided, and together they leave nothing
    // out.
    [[nodiscard]] int LeapSecondZone(const Corvane::TimeDate& utc) const;

private:
    GPSTime leapTime_;
    Corvane::Time before_;
    Corvane::Time after_;
    Corvane::Time change_;
};

}  // namespace GNSS
