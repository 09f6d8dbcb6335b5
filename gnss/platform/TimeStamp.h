// Corvane::TimeStamp: an instant of the clock in milliseconds, for expiries.
#pragma once

#include <compare>
#include <cstdint>

#include "gnss/platform/Export.h"

namespace Corvane {

// An instant of pt::now, in whole milliseconds since 1 January 1970 UTC. It follows the program's clock, and so expires
// at the same place of a log however fast the log is replayed; a clock that is set back brings the expiry back, too.
class GNSS_EXPORT TimeStamp {
public:
    // Expired for as long as the clock shows a year after 1970.
    constexpr TimeStamp() = default;
    explicit constexpr TimeStamp(std::int64_t milliseconds) : milliseconds_(milliseconds) {}

    // The instant that lies this many milliseconds after now, or before it when negative.
    [[nodiscard]] static TimeStamp AfterNow(std::int64_t milliseconds);
    void SetAfterNow(std::int64_t milliseconds) { *this = AfterNow(milliseconds); }

    // Whether the clock has reached this instant.
    [[nodiscard]] bool HasExpired() const;

    [[nodiscard]] constexpr std::int64_t Milliseconds() const { return milliseconds_; }
    // In milliseconds; held within 64 bits.
    friend GNSS_EXPORT std::int64_t operator-(TimeStamp a, TimeStamp b);
    friend constexpr bool operator==(TimeStamp, TimeStamp) = default;
    friend constexpr auto operator<=>(TimeStamp, TimeStamp) = default;

private:
    std::int64_t milliseconds_ = 0;
};

}  // namespace Corvane
