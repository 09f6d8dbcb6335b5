// GPSTime: an instant in GPS time, the common time of the library; and the process's knowledge of how the computer's
// clock, GPS time and UTC hang together.
//
// Scale   GPS time (IS-GPS-200, 3.3.4 and 6.2.4): weeks and seconds since 6 January 1980 00:00:00 UTC, without leap
//         seconds, so ahead of UTC by the leap seconds since then (18 s from 2017).
// Form    week (32 bits, never reduced modulo 1024) and seconds of that week in double, 0 <= seconds < 604800: steps
//         of 1.2e-10 s at the end of a week.
// Range   weeks of a 32-bit integer. A time beyond them, infinite ones included, becomes second 0 of the first or the
//         last week. Dates hold the years -32767 to 32767 only and stop at their ends.
// NaN     seconds stay NaN, in the week they were given with; such a time is equal to every other of its week.
//
// Differences and order are those of the scale. Times closer than 1e-7 s within the same week are equal; times of
// different weeks never are, however close.
#pragma once

#include <compare>
#include <cstdint>

#include "gnss/platform/Clock.h"
#include "gnss/platform/Date.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Time.h"
#include "gnss/platform/TimeDate.h"

namespace GNSS {

class GNSS_EXPORT GPSTime {
public:
    class UTCConverter;

    static constexpr double SecsInWeek = 604800.0;
    static constexpr double HalfSecsInWeek = SecsInWeek * 0.5;  // the cross-over limit
    static constexpr double SecsInDay = 86400.0;
    // Tolerance of the relational operators, in seconds.
    static constexpr double Tolerance = 1e-7;
    // Day 0 of week 0.
    static constexpr Corvane::Date Start{1980, 1, 6};
    // Week 0, second 0.
    static const GPSTime Zero;

    // Zero.
    constexpr GPSTime() = default;
    // As the SetTo of the same arguments.
    constexpr GPSTime(int week, double seconds) { SetTo(week, seconds); }
    constexpr GPSTime(int week, Corvane::Time seconds) { SetTo(week, seconds); }
    explicit constexpr GPSTime(const Corvane::TimeDate& gps) { SetTo(gps); }
    explicit GPSTime(const Corvane::ClassNow& now) { SetTo(now); }
    GPSTime& operator=(const Corvane::ClassNow& now) {
        SetTo(now);
        return *this;
    }

    // Any number of seconds, also negative ones or more than a week has: the week is carried along.
    constexpr void SetTo(int week, double seconds) {
        week_ = week;
        seconds_ = seconds;
        if (!(seconds >= 0.0 && seconds < SecsInWeek)) Normalise();
    }
    constexpr void SetTo(int week, Corvane::Time seconds) { SetTo(week, seconds.Seconds()); }
    // The instant that a calendar shows that runs on GPS time. Not normalised: before the start the week and the
    // seconds are both cut towards zero (5 January 1980 is week 0, second -86400), and inside a leap second the seconds
    // are those of the last day. Intended.
    constexpr void SetTo(const Corvane::TimeDate& gps) {
        const std::int32_t days = gps.GetDate() - Start;
        week_ = days / 7;
        seconds_ = days % 7 * SecsInDay + gps.GetTimeOfDay().Seconds();
    }
    // The current time: the clock, which runs on local time, plus the offset from local to GPS time.
    void SetTo(const Corvane::ClassNow& now);

    [[nodiscard]] constexpr int GetWeek() const { return week_; }
    [[nodiscard]] constexpr double GetSeconds() const { return seconds_; }
    // Whole days of the week, 0 = Sunday.
    [[nodiscard]] constexpr int GetDay() const { return Corvane::ToInt(seconds_ / SecsInDay); }
    // As a calendar shows it that runs on GPS time.
    [[nodiscard]] constexpr Corvane::Date GetDate() const { return Start + (std::int64_t{7} * week_ + GetDay()); }
    [[nodiscard]] Corvane::TimeOfDay GetTimeOfDay() const;
    [[nodiscard]] Corvane::TimeDate GetTimeDate() const { return {GetDate(), GetTimeOfDay()}; }

    // Times of different weeks: this week minus the other, whatever the tolerance (intended: not reduced to -1 or 1).
    // Within a week: -1, 0 or 1 as this is before, within `tolerance` seconds of, or after the other.
    [[nodiscard]] constexpr int Compare(const GPSTime& other, double tolerance) const {
        if (week_ != other.week_) return Corvane::Saturate(std::int64_t{week_} - other.week_);
        return Corvane::compare(seconds_, other.seconds_, tolerance);
    }
    friend constexpr bool operator==(const GPSTime& a, const GPSTime& b) { return a.Compare(b, Tolerance) == 0; }
    friend constexpr std::weak_ordering operator<=>(const GPSTime& a, const GPSTime& b) {
        return a.Compare(b, Tolerance) <=> 0;
    }

    friend constexpr Corvane::Time operator-(const GPSTime& a, const GPSTime& b) {
        const auto weeks = static_cast<double>(std::int64_t{a.week_} - b.week_);
        return Corvane::Time(weeks * SecsInWeek + (a.seconds_ - b.seconds_));
    }
    constexpr GPSTime& operator+=(Corvane::Time span) {
        SetTo(week_, seconds_ + span.Seconds());
        return *this;
    }
    constexpr GPSTime& operator-=(Corvane::Time span) { return *this += -span; }
    friend constexpr GPSTime operator+(GPSTime time, Corvane::Time span) { return time += span; }
    friend constexpr GPSTime operator-(GPSTime time, Corvane::Time span) { return time -= span; }

    // Rounds the seconds to decimals; what reaches the end of the week becomes the start of the next.
    void Round(int decimals);
    // Cuts the seconds to decimals. Not normalised, which nothing but stored seconds outside the week would need.
    void Truncate(int decimals);

    // The full time of t, which is known only modulo a period (say, seconds of the day, with a period of a day): for a
    // t below the period the one of all candidates that lies closest to this time, the later one of two equally close;
    // a larger t is brought back by one period only. Unchanged when t or
    // the period is negative or NaN, or the period is 0.
    [[nodiscard]] GPSTime ResolveTo(Corvane::Time t, Corvane::Time period) const;
    // The time with that second of the week which lies closest to this one; of two equally close the one in this week.
    [[nodiscard]] GPSTime GetClosest(double secondsOfWeek) const;

    // Week, day of the week and time of day, "1851 Wed 00:00:17.0", with the seconds cut or rounded to decimals.
    [[nodiscard]] Corvane::String Print(int decimals, bool truncate) const;
    [[nodiscard]] Corvane::String PrintTrunc(int decimals) const { return Print(decimals, true); }
    [[nodiscard]] Corvane::String PrintRound(int decimals) const { return Print(decimals, false); }

    // Week as an integer of 32 bits, seconds as a double. Reading takes them as they stand, without normalising, and
    // leaves this time alone when the stream fails. Both return true; a failure is the stream's own exception.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);

    // UTC of this time and this time of UTC, by the leap-second rule in force.
    [[nodiscard]] Corvane::TimeDate GetUTC() const;
    void SetFromUTC(const Corvane::TimeDate& utc);

    // What follows concerns the whole process: two offsets of the computer's clock ("local time"), and the leap-second
    // rule. Every operation may be called from any thread.

    // The current UTC, from the clock and its offset to UTC, or, when the offsets were set with a leap count, from the
    // current GPS time and the leap-second rule.
    [[nodiscard]] static Corvane::TimeDate CalcUTC(const Corvane::ClassNow& now);
    // CalcUTC(Corvane::Now).
    [[nodiscard]] static Corvane::TimeDate GetUTCTimeRef();

    // See UTCConverter::LeapSecondZone; without an argument, of the current UTC.
    [[nodiscard]] static int LeapSecondZone();
    [[nodiscard]] static int LeapSecondZone(const Corvane::TimeDate& utc);
    // Seconds that the rule in force inserts at its leap: 1 for an ordinary leap second.
    [[nodiscard]] static double LeapChange();

    // The leap-second rule in force. Until UTC parameters have come, that of 1 July 2015 (16 s before, 17 s after):
    // one second short from 2017 on.
    [[nodiscard]] static UTCConverter GetUTCConverter();
    // Replaces the rule: the UTC instant of the leap, as a GPS week and second, and GPS minus UTC before and after it.
    static void SetUTCParam(const GPSTime& utcInstant, int before, int after);

    // UTC and GPS time minus local time; at start 0 s and 16 s.
    [[nodiscard]] static Corvane::Time GetLocalToUTC();
    [[nodiscard]] static Corvane::Time GetLocalToGPS();
    // Not 0: the current UTC comes from GPS time (see CalcUTC). At start 0.
    [[nodiscard]] static int GetNmrLeap();
    // Sets all three. A change of the offset to UTC by more than a second is also stored in the registry, before any
    // other thread gets at the times again; should that fail, the event log's sinks run meanwhile, and must not wait
    // for a thread that asks for the time.
    static void SetOffset(Corvane::Time localToUTC, Corvane::Time localToGPS, int nmrLeap);
    // Takes the local clock for UTC and lessens the offset to GPS time to match; stores nothing.
    static void ResetOffset();
    // Takes the offset to UTC from the registry, and, always 16 s above it, the one to GPS time, with no leap count.
    // Text that is no number, "nan" and "inf" among it, counts as 0; nothing changes when nothing is stored. For the
    // host to call at its start.
    static void ReadLocalToUTC();
    // Stores the offset to UTC in the registry.
    static void WriteLocalToUTC();

private:
    void Normalise();

    std::int32_t week_ = 0;
    double seconds_ = 0.0;
};

inline constexpr GPSTime GPSTime::Zero{};

}  // namespace GNSS
