// ConsoleNotes: which notes there were in the last hours, and when, as a bar of time shows them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "gnss/health/Notes.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// Takes little more room after months than after hours: what ended before the window is forgotten, and a note that
// comes and goes all the time is shown more coarsely, gaps of it that are short against the window being closed.
class ConsoleNotes {
public:
    static constexpr double Window = 4.0 * 3600.0;  // s
    static constexpr std::size_t MaxIntervals = 256;
    static constexpr std::size_t MaxRows = 200;

    // Of an epoch; a step back in time begins anew.
    void Add(const GNSS::GPSTime& time, const GNSS::Notes& notes);

    // Appends "from", "to" and "rows" as members of an object; intervals are in seconds from "from". The alarms come
    // first, and otherwise what came first; of more than MaxRows those that were there last are shown.
    void Print(std::string& to) const;

private:
    struct Interval {
        double begin = 0.0;  // s since start_
        double end = 0.0;
    };
    struct Row {
        std::string head;  // {"text":...,"intervals":
        bool isAlarm = false;
        std::int64_t order = 0;
        std::int64_t lastEpoch = 0;
        double closed = 0.0;  // gaps up to this are not kept
        std::vector<Interval> intervals;
    };
    using Key = std::tuple<std::int32_t, std::int32_t, std::int32_t>;

    static void Thin(Row& row, double windowBegin);

    std::optional<GNSS::GPSTime> start_;
    double last_ = 0.0;  // s since start_
    std::int64_t nmrEpochs_ = 0;
    std::int64_t nmrSeen_ = 0;
    std::map<Key, Row> rows_;
};

}  // namespace Host
