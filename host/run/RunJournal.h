// RunJournal: what happened in a run, in the order of its time: alarms, remarks and events.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "gnss/time/GPSTime.h"
#include "host/report/RunSeries.h"
#include "host/report/Sink.h"
#include "host/run/RunOutput.h"

namespace Host {

struct JournalEntry {
    enum class Kind { Event, Alarm, Remark };

    std::optional<GNSS::GPSTime> begin;  // nothing before the first time that the data told
    std::optional<GNSS::GPSTime> end;    // of alarms and remarks: the last epoch that they held at
    double lasting = 0.0;                // s, of alarms and remarks; their last epoch counts one interval
    Kind kind = Kind::Event;
    int note = 0;           // of alarms and remarks: the number of their note
    std::string satellite;  // of those that concern one
    std::string source;     // of events: who tells it; clean
    std::string text;       // clean
};
// "alarm", "remark", "event"
[[nodiscard]] const char* Name(JournalEntry::Kind kind);

class RunJournal {
public:
    // The most events that are kept; of more, how many there were.
    static constexpr std::size_t MaxEvents = 100'000;

    void Add(const RunEvent& event);
    // Events, and each interval in which a note held, in the order of their beginnings.
    [[nodiscard]] std::vector<JournalEntry> Collect(const RunSeries& series) const;

private:
    std::vector<RunEvent> events_;
    std::size_t nmrMore_ = 0;
};

// As CSV.
void WriteJournal(const std::vector<JournalEntry>& journal, Sink& sink);

}  // namespace Host
