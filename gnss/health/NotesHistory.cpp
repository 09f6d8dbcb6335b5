#include "gnss/health/NotesHistory.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

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
    if (index < 0 || index >= NmrInterval()) return {};
    const std::size_t place = static_cast<std::size_t>(index) + nmrPurged_;
    return place < NmrFiled() ? (*(*blocks_)[place / BlockSize])[place % BlockSize] : recent_[place - NmrFiled()];
}

void Notes::History::HistoricalNote::Update(const TimeDate& t) {
    if (!continuous_ || recent_.empty()) {
        AddInterval(t);
    } else {
        recent_.back().Update(t);
    }
}

void Notes::History::HistoricalNote::AddInterval(const TimeDate& t) {
    if (recent_.size() == BlockSize) {
        auto blocks = blocks_ ? std::make_shared<Blocks>(*blocks_) : std::make_shared<Blocks>();
        blocks->push_back(std::make_shared<const Block>(recent_));
        blocks_ = std::move(blocks);
        recent_.clear();
    }
    recent_.emplace_back(t);
    continuous_ = true;
}

bool Notes::History::HistoricalNote::Purge(const TimeDate& cutoff) {
    const int count = NmrInterval();
    int ended = 0;
    while (ended < count && GetInterval(ended).GetEnd() < cutoff) ++ended;
    if (ended == count) {
        blocks_.reset();
        recent_.clear();
        nmrPurged_ = 0;
        return false;
    }
    const std::size_t purged = nmrPurged_ + static_cast<std::size_t>(ended);
    const std::size_t dropped = std::min(purged, NmrFiled()) / BlockSize;
    if (dropped != 0) {
        const auto kept = blocks_->begin() + static_cast<std::ptrdiff_t>(dropped);
        blocks_ = kept == blocks_->end() ? nullptr : std::make_shared<const Blocks>(kept, blocks_->end());
    }
    nmrPurged_ = purged - dropped * BlockSize;
    return true;
}

bool Notes::History::HistoricalNote::IsIncluded(const Interval& interval) const {
    for (int i = 0; i < NmrInterval(); ++i) {
        if (GetInterval(i).IsIntersect(interval)) return true;
    }
    return false;
}

void Notes::History::Inner::Update(const TimeDate& t, const Notes& notes) {
    if (!std::isfinite(t.GetTimeOfDay().Seconds())) return;
    lastUpdate_ = t;
    AddNew(t, notes);
    Discontinue(notes);
    Validate(t);
}

Notes::History::HistoricalNote& Notes::History::Inner::Add(const Note& note, const TimeDate& t) {
    return notes_.emplace_back(std::in_place, note, t, NmrNote()).Write();
}

int Notes::History::Inner::AddNew(const TimeDate& t, const Notes& notes) {
    const int before = NmrNote();
    for (const Note& note : notes) {
        const auto known = std::find_if(notes_.rbegin(), notes_.rend(), [&](const auto& historical) {
            return historical.Read().GetNote().Matches(note);
        });
        if (known == notes_.rend()) {
            Add(note, t);
        } else {
            known->Write().Update(t);
        }
    }
    return NmrNote() - before;
}

int Notes::History::Inner::Discontinue(const Notes& notes) {
    int count = 0;
    for (auto& historical : notes_) {
        if (notes.Find(historical.Read().GetNote()) >= 0) continue;
        if (historical.Read().IsContinuous()) historical.Write().SetDiscontinuous();
        ++count;
    }
    return count;
}

int Notes::History::Inner::Validate(const TimeDate& t) {
    const TimeDate cutoff = t - validTime_;
    for (auto& historical : notes_) {
        if (historical.Read().GetInterval(0).GetEnd() < cutoff) historical.Write().Purge(cutoff);
    }
    std::erase_if(notes_, [](const auto& historical) { return historical.Read().NmrInterval() == 0; });
    return NmrNote();
}

bool Notes::History::Inner::Purge(int index, const TimeDate& t) {
    return index >= 0 && index < NmrNote() && notes_[static_cast<std::size_t>(index)].Write().Purge(t);
}

const Notes::History::HistoricalNote& Notes::History::Inner::operator[](int index) const {
    static const HistoricalNote none;
    return index >= 0 && index < NmrNote() ? notes_[static_cast<std::size_t>(index)].Read() : none;
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
