#include "host/receiver/LeapRule.h"

#include <algorithm>

#include <fmt/format.h>

#include "gnss/platform/Clock.h"
#include "gnss/time/GPSTimeUTCConverter.h"
#include "host/receiver/LeapSeconds.h"

namespace Host {

using Corvane::Time;
using GNSS::GPSTime;

namespace {

// The count of a header at a time.
int CountOf(const RinexNavigation::LeapSeconds& told, const GPSTime& t) {
    if (!told.event) return told.current;
    const GPSTime leap(told.event->week, told.event->day * GPSTime::SecsInDay + told.event->after);
    return t < leap ? told.current : told.event->after;
}

bool IsInForce(const GPSTime& instant, int before, int after) {
    const GPSTime::UTCConverter wanted(instant, before, after);
    const GPSTime::UTCConverter now = GPSTime::GetUTCConverter();
    return now.GetLeapTime() == wanted.GetLeapTime() && now.GetBefore() == wanted.GetBefore() &&
           now.GetAfter() == wanted.GetAfter();
}

// The instant of a leap, as UTC counts.
GPSTime CountedInUTC(const LeapSecond& leap) {
    return GPSTime(Corvane::TimeDate(leap.day, Corvane::TimeOfDay(0.0)));
}

}  // namespace

std::string LeapRule::Add(const RinexNavigation& navigation, std::string_view file) {
    const bool hasGlonass = !navigation.glonass.empty();
    if (!navigation.leapSeconds) {
        areHeadersDifferent_ = areHeadersDifferent_ || hasGlonass;  // read by the table
        return "";
    }
    std::optional<Span> span;
    const auto extend = [&span](const GPSTime& t) {
        if (!span) span = Span{t, t};
        span->first = std::min(span->first, t);
        span->last = std::max(span->last, t);
    };
    for (const auto& record : navigation.gps) extend(record.ephemeride.GetTOE());
    for (const auto& record : navigation.glonass) extend(record.tb);
    if (!span) return "";

    const int toldFirst = CountOf(*navigation.leapSeconds, span->first);
    const int toldLast = CountOf(*navigation.leapSeconds, span->last);
    const int first = GPSMinusUTC(span->first);
    const int last = GPSMinusUTC(span->last);
    if (hasGlonass) {
        areHeadersDifferent_ =
            areHeadersDifferent_ ||
            (told_ && (CountOf(*told_, span->first) != toldFirst || CountOf(*told_, span->last) != toldLast));
        told_ = navigation.leapSeconds;
    }
    // A header without an event has one count, which in a file that goes over a leap may be that of either side.
    const auto isOfTable = [&](int told) { return told == first || told == last; };
    if (isOfTable(toldFirst) && isOfTable(toldLast)) return "";
    if (hasGlonass) contradicted_.push_back(*span);
    return fmt::format("{}: the header tells {} leap seconds, the table {} on {}", file, toldLast, last,
                       Corvane::TimeDate(span->last.GetDate(), Corvane::TimeOfDay(0.0)).Print(0).str().substr(0, 10));
}

bool LeapRule::IsByHeader(const GPSTime& t) const {
    const Time margin = Time::Hour;
    return told_ && !areHeadersDifferent_ && std::ranges::any_of(contradicted_, [&](const Span& span) {
               return span.first - margin <= t && t <= span.last + margin;
           });
}

int LeapRule::Count(const GPSTime& t) const {
    if (IsByHeader(t)) return CountOf(*told_, t);
    if (learnt_ && t >= CountedInUTC(*learnt_) + Time(learnt_->after)) return learnt_->after;
    return GPSMinusUTC(t);
}

void LeapRule::SetFor(const GPSTime& t) {
    SetFor(t, Count(t));
}

void LeapRule::Learn(const GPSTime& t, int count) {
    constexpr Time Soon = Time::Minute;  // after midnight the stream's next time comes
    if (!inForce_ || count != inForce_->after + 1 || FindLeapSecond(count)) return;
    // Some streams tell the new count from the start of the second that is inserted, others from its end.
    const LeapSecond leap{(t - Time(count - 1)).GetDate(), count};
    if (t - (CountedInUTC(leap) + Time(count)) < Soon) learnt_ = leap;
}

void LeapRule::SetFor(const GPSTime& t, int count) {
    Learn(t, count);
    Corvane::Clock::SetTo((t - Time(count)).GetTimeDate());
    InForce rule{GPSTime::Zero, count, count};
    const auto leap = learnt_ && learnt_->after == count ? learnt_ : FindLeapSecond(count);
    if (leap && !IsByHeader(t)) {
        const GPSTime instant = CountedInUTC(*leap);
        if (t - (instant + Time(count)) < Time::Hour) rule = {instant, count - 1, count};
    }
    // The almanac store, too, sets the rule, by each UTC record; one that announces a leap holds the wrong count of it
    // for the records of a week's first hour.
    if (inForce_ == rule && IsInForce(rule.instant, rule.before, rule.after)) return;
    inForce_ = rule;
    GPSTime::SetUTCParam(rule.instant, rule.before, rule.after);
}

std::string LeapRule::Print(const GPSTime& first, const GPSTime& last) const {
    const int before = Count(first);
    const int after = Count(last);
    if (before == after) return fmt::format("leap seconds: {}", before);
    return fmt::format("leap seconds: {} at the first time, {} at the last", before, after);
}

}  // namespace Host
