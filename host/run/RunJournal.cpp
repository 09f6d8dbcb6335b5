#include "host/run/RunJournal.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "host/fix/FixNotes.h"
#include "host/report/FixFigures.h"
#include "host/report/Rows.h"
#include "host/report/SafeText.h"

namespace Host {

const char* Name(JournalEntry::Kind kind) {
    switch (kind) {
        case JournalEntry::Kind::Event:
            return "event";
        case JournalEntry::Kind::Alarm:
            return "alarm";
        case JournalEntry::Kind::Remark:
            return "remark";
    }
    return "";
}

void RunJournal::Add(const RunEvent& event) {
    if (events_.size() < MaxEvents) {
        events_.push_back(event);
    } else {
        ++nmrMore_;
    }
}

std::vector<JournalEntry> RunJournal::Collect(const RunSeries& series) const {
    std::vector<JournalEntry> journal;
    for (const RunEvent& event : events_) {
        JournalEntry& entry = journal.emplace_back();
        entry.begin = event.time;
        entry.source = CleanText(event.source);
        entry.text = CleanText(event.text);
    }
    if (nmrMore_ > 0) {
        JournalEntry& entry = journal.emplace_back();
        entry.begin = events_.back().time;
        entry.source = "Run";
        entry.text = fmt::format("{} more events", nmrMore_);
    }
    const double interval = series.GetInterval();
    const GNSS::Notes::History& history = series.GetHistory();
    for (int i = 0; i < history.NmrNote(); ++i) {
        const GNSS::Notes::History::HistoricalNote& historical = history[i];
        const GNSS::Notes::Note& note = historical.GetNote();
        const auto id = static_cast<FixNote>(note.GetId());
        for (int k = 0; k < historical.NmrInterval(); ++k) {
            const GNSS::Notes::History::Interval span = historical.GetInterval(k);
            JournalEntry& entry = journal.emplace_back();
            entry.begin = GNSS::GPSTime(span.GetStart());
            entry.end = GNSS::GPSTime(span.GetEnd());
            entry.lasting = span.GetExtent().Seconds() + interval;
            entry.kind = IsAlarm(id) ? JournalEntry::Kind::Alarm : JournalEntry::Kind::Remark;
            entry.note = note.GetId();
            if (note.HasParam() && id != FixNote::NoFix) entry.satellite = SatelliteName(note.GetParam());
            entry.text = CleanText(note.GetText().ToUTF8());
        }
    }
    // What came before the first time stays first; of one time events come first, as they may tell why.
    std::ranges::stable_sort(journal, [](const JournalEntry& a, const JournalEntry& b) {
        if (!a.begin || !b.begin) return !a.begin && b.begin;
        return (*a.begin - *b.begin).Seconds() < 0.0;
    });
    return journal;
}

void WriteJournal(const std::vector<JournalEntry>& journal, Sink& sink) {
    const auto rows = RowWriter::Make(Form::Csv,
                                      {{"gps_week", "", 6, 0, false},
                                       {"gps_time", "s", 12, 3, false},
                                       {"begin_utc", "", 24, 0, true},
                                       {"end_utc", "", 24, 0, true},
                                       {"lasting", "s", 10, 3, false},
                                       {"kind", "", 6, 0, true},
                                       {"note", "", 4, 0, false},
                                       {"satellite", "", 9, 0, true},
                                       {"source", "", 16, 0, true},
                                       {"text", "", 60, 0, true}},
                                      sink);
    for (const JournalEntry& entry : journal) {
        const std::string begin = entry.begin ? PrintUTC(*entry.begin) : std::string();
        const std::string end = entry.end ? PrintUTC(*entry.end) : std::string();
        const std::string source = CellText(entry.source);
        const std::string text = CellText(entry.text);
        const bool isNote = entry.kind != JournalEntry::Kind::Event;
        rows->Write(
            std::array<Cell, 10>{entry.begin ? Cell(std::int64_t{entry.begin->GetWeek()}) : Cell(),
                                 entry.begin ? Cell(entry.begin->GetSeconds()) : Cell(), std::string_view(begin),
                                 std::string_view(end), isNote ? Cell(entry.lasting) : Cell(),
                                 std::string_view(Name(entry.kind)), isNote ? Cell(std::int64_t{entry.note}) : Cell(),
                                 std::string_view(entry.satellite), std::string_view(source), std::string_view(text)});
    }
}

}  // namespace Host
