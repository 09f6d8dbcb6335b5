#include "host/receiver/LeapSeconds.h"

#include <algorithm>
#include <array>

namespace Host {

using Corvane::Date;
using GNSS::GPSTime;

namespace {

constexpr std::array<LeapSecond, 18> Leaps{{
    {Date(1981, 7, 1), 1},
    {Date(1982, 7, 1), 2},
    {Date(1983, 7, 1), 3},
    {Date(1985, 7, 1), 4},
    {Date(1988, 1, 1), 5},
    {Date(1990, 1, 1), 6},
    {Date(1991, 1, 1), 7},
    {Date(1992, 7, 1), 8},
    {Date(1993, 7, 1), 9},
    {Date(1994, 7, 1), 10},
    {Date(1996, 1, 1), 11},
    {Date(1997, 7, 1), 12},
    {Date(1999, 1, 1), 13},
    {Date(2006, 1, 1), 14},
    {Date(2009, 1, 1), 15},
    {Date(2012, 7, 1), 16},
    {Date(2015, 7, 1), 17},
    {Date(2017, 1, 1), 18},
}};

}  // namespace

std::optional<LeapSecond> LastLeapSecond(const Date& utc) {
    const auto next =
        std::upper_bound(Leaps.begin(), Leaps.end(), utc, [](const Date& d, const LeapSecond& l) { return d < l.day; });
    if (next == Leaps.begin()) return std::nullopt;
    return *(next - 1);
}

std::optional<LeapSecond> FindLeapSecond(int after) {
    const auto found = std::find_if(Leaps.begin(), Leaps.end(), [&](const LeapSecond& l) { return l.after == after; });
    if (found == Leaps.end()) return std::nullopt;
    return *found;
}

int GPSMinusUTC(const Date& utc) {
    const std::optional<LeapSecond> leap = LastLeapSecond(utc);
    return leap ? leap->after : 0;
}

int GPSMinusUTC(const GPSTime& gps) {
    // The count of GPS's own date is right but for the seconds by which its midnight comes early.
    const int count = GPSMinusUTC(gps.GetDate());
    return GPSMinusUTC((gps - Corvane::Time(count)).GetDate());
}

GPSTime FromUTC(const Corvane::TimeDate& utc, int gpsMinusUTC) {
    const GPSTime unshifted(utc);
    return {unshifted.GetWeek(), unshifted.GetSeconds() + gpsMinusUTC};
}

}  // namespace Host
