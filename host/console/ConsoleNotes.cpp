#include "host/console/ConsoleNotes.h"

#include <algorithm>

#include "host/console/ConsoleJson.h"
#include "host/fix/FixNotes.h"

namespace Host {

namespace {

// The parameter of every note but one is a satellite.
std::string SatelliteOf(const GNSS::Notes::Note& note) {
    const bool isOfSatellite = note.HasParam() && static_cast<FixNote>(note.GetId()) != FixNote::NoFix;
    return isOfSatellite ? SatelliteName(note.GetParam()) : std::string();
}

}  // namespace

void ConsoleNotes::Add(const GNSS::GPSTime& time, const GNSS::Notes& notes) {
    const double before = last_;
    last_ = start_ ? (time - *start_).Seconds() : 0.0;
    if (!start_ || last_ < before) {
        start_ = time;
        last_ = 0.0;
        rows_.clear();
    }
    ++nmrEpochs_;
    for (const GNSS::Notes::Note& note : notes) {
        Row& row = rows_[{note.GetId(), note.GetParam(), note.Get2ndParam()}];
        // Several of the same at one epoch are one.
        if (row.lastEpoch == nmrEpochs_) continue;
        if (row.intervals.empty()) {
            row.order = ++nmrSeen_;
            row.isAlarm = IsAlarm(static_cast<FixNote>(note.GetId()));
            row.head = "{\"text\":" + ConsoleJson::Quote(note.GetText().ToUTF8()) +
                       ",\"alarm\":" + (row.isAlarm ? "true" : "false") +
                       ",\"satellite\":" + ConsoleJson::Quote(SatelliteOf(note)) + ",\"intervals\":";
        }
        const bool goesOn = !row.intervals.empty() &&
                            (row.lastEpoch == nmrEpochs_ - 1 || last_ - row.intervals.back().end <= row.closed);
        row.lastEpoch = nmrEpochs_;
        if (goesOn) {
            row.intervals.back().end = last_;
            continue;
        }
        if (row.intervals.size() >= MaxIntervals) Thin(row, last_ - Window);
        row.intervals.push_back({last_, last_});
    }
    std::erase_if(rows_, [this](const auto& entry) { return entry.second.intervals.back().end < last_ - Window; });
}

void ConsoleNotes::Thin(Row& row, double windowBegin) {
    std::erase_if(row.intervals, [=](const Interval& interval) { return interval.end < windowBegin; });
    constexpr double Finest = Window / 8192.0;
    while (row.intervals.size() > MaxIntervals / 2) {
        row.closed = std::max(2.0 * row.closed, Finest);
        std::vector<Interval> kept;
        for (const Interval& interval : row.intervals) {
            if (!kept.empty() && interval.begin - kept.back().end <= row.closed) {
                kept.back().end = interval.end;
            } else {
                kept.push_back(interval);
            }
        }
        row.intervals = std::move(kept);
    }
}

void ConsoleNotes::Print(std::string& to) const {
    if (!start_) {
        to += R"("from":null,"to":null,"rows":[])";
        return;
    }
    const double begin = std::max(0.0, last_ - Window);
    std::vector<const Row*> shown;
    shown.reserve(rows_.size());
    for (const auto& entry : rows_) shown.push_back(&entry.second);
    if (shown.size() > MaxRows) {
        const auto middle = shown.begin() + MaxRows;
        std::nth_element(shown.begin(), middle, shown.end(), [](const Row* a, const Row* b) {
            return std::pair(-a->lastEpoch, a->order) < std::pair(-b->lastEpoch, b->order);
        });
        shown.erase(middle, shown.end());
    }
    std::sort(shown.begin(), shown.end(), [](const Row* a, const Row* b) {
        return std::pair(!a->isAlarm, a->order) < std::pair(!b->isAlarm, b->order);
    });
    to += "\"from\":" + ConsoleJson::Time(*start_ + Corvane::Time(begin)) +
          ",\"to\":" + ConsoleJson::Time(*start_ + Corvane::Time(last_)) + ",\"rows\":[";
    bool isFirst = true;
    for (const Row* row : shown) {
        if (!isFirst) to += ',';
        isFirst = false;
        to += row->head;
        char mark = '[';
        for (const Interval& interval : row->intervals) {
            if (interval.end < begin) continue;
            to += mark;
            mark = ',';
            to += '[';
            ConsoleJson::AddNumber(std::max(interval.begin - begin, 0.0), 1, to);
            to += ',';
            ConsoleJson::AddNumber(interval.end - begin, 1, to);
            to += ']';
        }
        to += mark == '[' ? "[]}" : "]}";
    }
    to += ']';
}

}  // namespace Host
