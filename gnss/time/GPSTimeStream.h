// How records in files hold a time: the week in 16 bits and the seconds of the week.
#pragma once

#include <cstdint>
#include <limits>

#include "gnss/platform/Stream.h"
#include "gnss/time/GPSTime.h"

namespace GNSS::GPSTimeStream {

// Error when the week does not fit.
inline void Write(Corvane::Stream::Output& output, const GPSTime& time) {
    output.WriteIntAsShort(time.GetWeek());
    output.WriteDouble(time.GetSeconds());
}

// Seconds outside the week are carried into it. Error when that gives a week that could not be written again.
[[nodiscard]] inline GPSTime Read(Corvane::Stream::Input& input) {
    const int week = input.ReadShortAsInt();
    const GPSTime time(week, input.ReadDouble());
    using Week = std::numeric_limits<std::int16_t>;
    if (time.GetWeek() < Week::min() || time.GetWeek() > Week::max()) throw Corvane::Stream::Error("no such week");
    return time;
}

}  // namespace GNSS::GPSTimeStream
