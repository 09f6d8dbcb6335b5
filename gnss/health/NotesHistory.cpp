#include "gnss/health/NotesHistory.h"

#include <algorithm>
#include <cmath>

#include "gnss/platform/Number.h"

namespace GNSS {

using Corvane::String;
using Corvane::Time;
using Corvane::TimeDate;

bool Notes::History::Interval::IsIntersect(const Interval& other) const {
    const auto within = [this](const TimeDate& t) { return start_ < t && t < end_; };
    return within(other.start_) || within(other.end_) || (other.start_ <= start_ && other.end_ >= end_);
}

String Notes::History::Interval::GetStartString() const {
    return IsSet() ? start_.Print(0) : String();
}

String Notes::History::Interval::GetEndString() const {
    return IsSet() ? end_.Print(0) : String();
}

double Notes::History::Interval::GetRelPosn(const TimeDate& t) const {
    const double fraction = (t - start_) / GetExtent();
    // Not a number where the extent is none, or a time is not a number.
    return std::isnan(fraction) || GetExtent() == Time::Zero ? 0.0 : std::clamp(fraction, 0.0, 1.0);
}

int Notes::History::Interval::GetCursorPosn(const TimeDate& t, int width) const {
    return Corvane::ToInt(Corvane::round(GetRelPosn(t) * width, 0));
}

Notes::History::HistoricalNote::HistoricalNote(const Note& note, const TimeDate& t, int sequence)
    : note_(note), sequence_(sequence) {
    AddInterval(t);
}

Notes::History::Interval Notes::History::HistoricalNote::GetInterval(int index) const {
    return index >= 0 && index < NmrInterval() ? intervals_[static_cast<std::size_t>(index)] : Interval();
}

void Notes::History::HistoricalNote::Update(const TimeDate& t) {
    if (!continuous_ || intervals_.empty()) {
        AddInterval(t);
    } else {
        intervals_.back().Update(t);
    }
}

void Notes::History::HistoricalNote::AddInterval(const TimeDate& t) {
    intervals_.emplace_back(t);
    continuous_ = true;
}

bool Notes::History::HistoricalNote::Purge(const TimeDate& cutoff) {
    while (!intervals_.empty() && intervals_.front().GetEnd() < cutoff) intervals_.pop_front();
    return !intervals_.empty();
}

bool Notes::History::HistoricalNote::IsIncluded(const Interval& interval) const {
    return std::any_of(intervals_.begin(), intervals_.end(),
                       [&](const Interval& own) { return own.IsIntersect(interval); });
}

void Notes::History::Inner::Update(const TimeDate& t, const Notes& notes) {
    if (!std::isfinite(t.GetTimeOfDay().Seconds())) return;
    lastUpdate_ = t;
    AddNew(t, notes);
    Discontinue(notes);
    Validate(t);
}

Notes::History::HistoricalNote& Notes::History::Inner::Add(const Note& note, const TimeDate& t) {
    return notes_.emplace_back(note, t, NmrNote());
}

int Notes::History::Inner::AddNew(const TimeDate& t, const Notes& notes) {
    const int before = NmrNote();
    for (const Note& note : notes) {
        const auto known = std::find_if(notes_.rbegin(), notes_.rend(), [&](const HistoricalNote& historical) {
            return historical.GetNote().Matches(note);
        });
        if (known == notes_.rend()) {
            Add(note, t);
        } else {
            known->Update(t);
        }
    }
    return NmrNote() - before;
}

int Notes::History::Inner::Discontinue(const Notes& notes) {
    int count = 0;
    for (HistoricalNote& historical : notes_) {
        if (notes.Find(historical.GetNote()) >= 0) continue;
        historical.SetDiscontinuous();
        ++count;
    }
    return count;
}

int Notes::History::Inner::Validate(const TimeDate& t) {
    const TimeDate cutoff = t - validTime_;
    for (HistoricalNote& historical : notes_) historical.Purge(cutoff);
    std::erase_if(notes_, [](const HistoricalNote& historical) { return historical.NmrInterval() == 0; });
    return NmrNote();
}

bool Notes::History::Inner::Purge(int index, const TimeDate& t) {
    return index >= 0 && index < NmrNote() && notes_[static_cast<std::size_t>(index)].Purge(t);
}

const Notes::History::HistoricalNote& Notes::History::Inner::operator[](int index) const {
    static const HistoricalNote none;
    return index >= 0 && index < NmrNote() ? notes_[static_cast<std::size_t>(index)] : none;
}

Notes::History::History() = default;
Notes::History::History(const History& other) noexcept = default;
Notes::History& Notes::History::operator=(const History& other) noexcept = default;
Notes::History::~History() = default;

void Notes::History::Update(const TimeDate& t, const Notes& notes) {
    inner_.Write().Update(t, notes);
}

void Notes::History::Reset() {
    inner_.Write().Reset();
}

void Notes::History::SetTitle(const String& title) {
    inner_.Write().SetTitle(title);
}

void Notes::History::SetValidTime(Time validTime) {
    inner_.Write().SetValidTime(validTime);
}

bool Notes::History::Purge(int index, const TimeDate& t) {
    return inner_.Write().Purge(index, t);
}

int Notes::History::NmrNote() const {
    return inner_.Read().NmrNote();
}

const Notes::History::HistoricalNote& Notes::History::operator[](int index) const {
    return inner_.Read()[index];
}

const TimeDate& Notes::History::GetLastUpdate() const {
    return inner_.Read().GetLastUpdate();
}

const String& Notes::History::GetTitle() const {
    return inner_.Read().GetTitle();
}

Time Notes::History::GetValidTime() const {
    return inner_.Read().GetValidTime();
}

}  // namespace GNSS
