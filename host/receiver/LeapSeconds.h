// Leap seconds: GPS time against UTC at every date, for files that do not say it themselves.
#pragma once

#include <optional>

#include "gnss/platform/Date.h"
#include "gnss/platform/TimeDate.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// A leap of UTC: from 0 h of that day GPS time is ahead by `after` seconds.
struct LeapSecond {
    Corvane::Date day;
    int after = 0;
};

// The last leap at or before a day of UTC, by the announcements of the IERS (Bulletin C). The list ends with the leap
// of 1 January 2017 (18 s); for later days that one. Nothing before 1 July 1981, when GPS time and UTC agreed.
[[nodiscard]] std::optional<LeapSecond> LastLeapSecond(const Corvane::Date& utc);
// The leap that made GPS time that many seconds ahead.
[[nodiscard]] std::optional<LeapSecond> FindLeapSecond(int after);

// GPS minus UTC on a day of UTC, in whole seconds.
[[nodiscard]] int GPSMinusUTC(const Corvane::Date& utc);
// The same at a GPS time.
[[nodiscard]] int GPSMinusUTC(const GNSS::GPSTime& gps);

// GPS time of an instant of UTC, for a known count of leap seconds. Inside a leap second the count before it gives the
// right instant.
[[nodiscard]] GNSS::GPSTime FromUTC(const Corvane::TimeDate& utc, int gpsMinusUTC);

}  // namespace Host
