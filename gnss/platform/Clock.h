// The clock: one clock in UTC, for the whole process, that a program can replace.
#pragma once

#include <cstdint>
#include <functional>

#include "gnss/platform/Export.h"
#include "gnss/platform/TimeDate.h"

namespace Corvane {

// Tells the current time. Everything that asks for "now" asks this clock, so that a program that reads a log of any
// year sets it from the data and gets the answers of that day. Safe to call from any thread.
class GNSS_EXPORT Clock {
public:
    using Source = std::function<TimeDate()>;

    // The current instant in UTC.
    [[nodiscard]] static TimeDate Now();
    // Replaces the source of the time; an empty function goes back to the computer's own clock. When a call of the
    // source throws, the computer's own clock answers that once.
    static void SetSource(Source source);
    // Lets the clock stand at an instant, until it is set again.
    static void SetTo(const TimeDate& utc);
    // The computer's own clock again.
    static void UseSystem();
};

// "Now" as an argument: a time can be made from, or set to, the current time of the clock.
class ClassNow {
public:
    [[nodiscard]] TimeDate GetTimeDate() const { return Clock::Now(); }
};

inline constexpr ClassNow Now{};

}  // namespace Corvane

namespace pt {

// The same clock as Corvane::Now, in whole milliseconds since 1 January 1970 UTC, held within the range of 64 bits.
[[nodiscard]] GNSS_EXPORT std::int64_t now();

}  // namespace pt
