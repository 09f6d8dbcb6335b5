// GNSS::Notes::History: which notes there have been, and when.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "gnss/health/Notes.h"
#include "gnss/platform/CopyOnWrite.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Time.h"
#include "gnss/platform/TimeDate.h"

namespace GNSS {

// Every note that has been present within the valid time, with the intervals of its presence. All times are in the one
// scale of whoever calls Update.
//
// A handle: copying shares the body (Inner), and what changes a history takes a private copy first when the body is
// shared, so that the other handles keep what they had. Distinct handles may be used by distinct threads at once, one
// handle by one at a time. References into a history are good until it is next changed, assigned or destroyed.
class GNSS_EXPORT Notes::History {
public:
    class Interval;
    class HistoricalNote;
    class Inner;

    // Empty, without title, valid for a day.
    History();
    History(const History& other) noexcept;
    History& operator=(const History& other) noexcept;
    ~History();

    // See Inner.
    void Update(const Corvane::TimeDate& t, const Notes& notes);
    void Reset();
    void SetTitle(const Corvane::String& title);
    void SetValidTime(Corvane::Time validTime);
    bool Purge(int index, const Corvane::TimeDate& t);

    [[nodiscard]] int NmrNote() const;
    [[nodiscard]] const HistoricalNote& operator[](int index) const;
    [[nodiscard]] const Corvane::TimeDate& GetLastUpdate() const;
    [[nodiscard]] const Corvane::String& GetTitle() const;
    [[nodiscard]] Corvane::Time GetValidTime() const;

    // Whether the two have one body.
    [[nodiscard]] bool SharesWith(const History& other) const { return inner_.SharesWith(other.inner_); }

private:
    Corvane::CopyOnWrite<Inner> inner_;
};

// One stretch of presence. A start of TimeDate::Zero stands for none.
class GNSS_EXPORT Notes::History::Interval {
public:
    Interval() = default;
    // Begins and ends at t.
    explicit Interval(const Corvane::TimeDate& t) : Interval(t, t) {}
    Interval(const Corvane::TimeDate& start, const Corvane::TimeDate& end) : start_(start), end_(end) {}

    // First and last time.
    [[nodiscard]] const Corvane::TimeDate& GetStart() const { return start_; }
    [[nodiscard]] const Corvane::TimeDate& GetEnd() const { return end_; }
    [[nodiscard]] bool IsSet() const { return start_ != Corvane::TimeDate::Zero; }
    void Reset(const Corvane::TimeDate& t) { *this = Interval(t); }
    // Extends to t an interval that is set; another begins and ends there.
    void Update(const Corvane::TimeDate& t) { *this = Interval(IsSet() ? start_ : t, t); }

    // Both ends belong to it.
    [[nodiscard]] bool Contains(const Corvane::TimeDate& t) const { return start_ <= t && t <= end_; }
    // Whether an end of the other lies strictly within this one, or the other covers the whole of it. Intervals that
    // only touch do not intersect.
    [[nodiscard]] bool IsIntersect(const Interval& other) const;

    // From start to end.
    [[nodiscard]] Corvane::Time GetExtent() const { return end_ - start_; }
    // The time at a fraction of the extent, 0 being the start; other fractions than 0 to 1 lie outside.
    [[nodiscard]] Corvane::TimeDate GetTimeDate(double fraction) const { return start_ + GetExtent() * fraction; }
    // The ends in whole seconds, "2026-11-21 12:34:56"; empty when the interval is not set.
    [[nodiscard]] Corvane::String GetStartString() const;
    [[nodiscard]] Corvane::String GetEndString() const;
    // Where t lies, from 0 at the start to 1 at the end; times outside count as the nearer end. 0 in an interval
    // without extent.
    [[nodiscard]] double GetRelPosn(const Corvane::TimeDate& t) const;
    // Likewise across a width of the drawing: from 0 to `width`, rounded to the nearest, halves away from zero.
    [[nodiscard]] int GetCursorPosn(const Corvane::TimeDate& t, int width) const;

private:
    Corvane::TimeDate start_;
    Corvane::TimeDate end_;
};

// A note and when it was present.
class GNSS_EXPORT Notes::History::HistoricalNote {
public:
    // A note of id 0 that has never been present.
    HistoricalNote() = default;
    // Present at t.
    HistoricalNote(const Note& note, const Corvane::TimeDate& t, int sequence);

    [[nodiscard]] const Note& GetNote() const { return note_; }
    // How many notes the history held when this one came. Once notes have been dropped, two may have the same.
    [[nodiscard]] std::int32_t GetSequence() const { return sequence_; }
    // Whether the note is still present, so that its next sighting extends the last interval.
    [[nodiscard]] bool IsContinuous() const { return continuous_; }

    [[nodiscard]] int NmrInterval() const { return static_cast<int>(NmrFiled() + recent_.size() - nmrPurged_); }
    // The interval at an index, oldest first; one that is not set outside the list.
    [[nodiscard]] Interval GetInterval(int index) const;
    [[nodiscard]] Interval GetLastInterval() const { return GetInterval(NmrInterval() - 1); }

    // Seen at t: extends the last interval or, after an absence, begins another.
    void Update(const Corvane::TimeDate& t);
    void AddInterval(const Corvane::TimeDate& t);
    void SetDiscontinuous() { continuous_ = false; }
    // Drops the oldest intervals while they end before the cutoff. Whether any remains.
    bool Purge(const Corvane::TimeDate& cutoff);
    // Whether any of the intervals intersects the given one, which is the other one there.
    [[nodiscard]] bool IsIncluded(const Interval& interval) const;

private:
    static constexpr std::size_t BlockSize = 64;
    using Block = std::vector<Interval>;
    using Blocks = std::vector<std::shared_ptr<const Block>>;

    // Number of intervals in the blocks, with those that have been purged.
    [[nodiscard]] std::size_t NmrFiled() const { return blocks_ ? blocks_->size() * BlockSize : 0; }

    // Copies share what is old, however long it is: all but the newest intervals are in full blocks, which no longer
    // change.
    std::shared_ptr<const Blocks> blocks_;  // null when there are none
    Block recent_;                          // at most BlockSize; never empty while there are blocks
    std::size_t nmrPurged_ = 0;             // of the first block or, without blocks, of the recent ones
    Note note_;
    std::int32_t sequence_ = 0;
    bool continuous_ = false;
};

// The body of a history. A plain value; its copies share the notes that have not changed since.
class GNSS_EXPORT Notes::History::Inner {
public:
    // Takes the notes of the epoch t. A note that is known is extended or, after an absence, begins another interval;
    // it keeps its first text. Others are added, a note that is given twice once. Those that the epoch lacks become
    // discontinuous, and what ended more than the valid time before t is dropped. An epoch that is not a finite time is
    // ignored.
    void Update(const Corvane::TimeDate& t, const Notes& notes);

    // The steps of Update.
    // Appends a note that is not there yet. Good until the history is next changed or copied.
    HistoricalNote& Add(const Note& note, const Corvane::TimeDate& t);
    // Adds and extends; the number of notes added.
    int AddNew(const Corvane::TimeDate& t, const Notes& notes);
    // The number of historical notes that are not among the notes.
    int Discontinue(const Notes& notes);
    // Drops; the number of historical notes that remain.
    int Validate(const Corvane::TimeDate& t);

    // Back to an empty history, without title, valid for a day.
    void Reset() { *this = Inner(); }
    // A caption for display.
    void SetTitle(const Corvane::String& title) { title_ = title; }
    // How long a past presence is remembered, counted from its end.
    void SetValidTime(Corvane::Time validTime) { validTime_ = validTime; }
    // HistoricalNote::Purge of one note; false outside the list.
    bool Purge(int index, const Corvane::TimeDate& t);

    [[nodiscard]] int NmrNote() const { return static_cast<int>(notes_.size()); }
    // The historical note at an index, oldest first; an empty one outside the list.
    [[nodiscard]] const HistoricalNote& operator[](int index) const;
    // Time of the last update, Zero before the first.
    [[nodiscard]] const Corvane::TimeDate& GetLastUpdate() const { return lastUpdate_; }
    [[nodiscard]] const Corvane::String& GetTitle() const { return title_; }
    [[nodiscard]] Corvane::Time GetValidTime() const { return validTime_; }

private:
    std::deque<Corvane::CopyOnWrite<HistoricalNote>> notes_;
    Corvane::String title_;
    Corvane::TimeDate lastUpdate_;
    Corvane::Time validTime_ = Corvane::Time::Day;
};

}  // namespace GNSS
