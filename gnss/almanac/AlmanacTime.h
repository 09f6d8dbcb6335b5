// How the almanac file holds a time: the week in 16 bits and the seconds of the week.
#pragma once

#include "gnss/platform/Stream.h"
#include "gnss/time/GPSTime.h"

namespace GNSS::AlmanacFile {

// Error when the week does not fit.
inline void WriteTime(Corvane::Stream::Output& output, const GPSTime& time) {
    output.WriteIntAsShort(time.GetWeek());
    output.WriteDouble(time.GetSeconds());
}

// Seconds outside the week are carried into it.
[[nodiscard]] inline GPSTime ReadTime(Corvane::Stream::Input& input) {
    const int week = input.ReadShortAsInt();
    return {week, input.ReadDouble()};
}

}  // namespace GNSS::AlmanacFile
