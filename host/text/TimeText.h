// Times as people write them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// A time as people write it:
//   "2010-07-01", "2010-07-01 06:30", "2010-07-01T06:30:15.5"   GPS time
//   the same with a Z or " UTC" at the end                       UTC, by the table of leap seconds
//   "1590:367200"                                                GPS week and seconds of the week
// Nothing when it is none of these, finer than a microsecond, or 23:59:60 where the table has no leap second.
[[nodiscard]] std::optional<GNSS::GPSTime> ParseTime(std::string_view text);

// A span: "30", "30s", "15min", "2h" or "1d". Nothing when it is none of these, zero, or not of whole microseconds.
[[nodiscard]] std::optional<Corvane::Time> ParseSpan(std::string_view text);

// GPS time as "2010-07-01 06:30:15", with as many decimals as it needs, six at most.
[[nodiscard]] std::string PrintTime(const GNSS::GPSTime& time);

}  // namespace Host
