#include "gnss/health/Notes.h"

#include <algorithm>
#include <array>

#include "gnss/health/PrintNote.h"
#include "gnss/platform/Number.h"

namespace GNSS {

using Corvane::String;

namespace {

// Characters of the print buffers beyond the lengths of the texts that go in.
constexpr std::size_t Spare = 40;

}  // namespace

const Corvane::Type Notes::HistoryType("Notes History Data");

Notes::Note::Note(int offset, const Note& other) : Note(other) {
    id_ = static_cast<std::int32_t>(static_cast<std::uint32_t>(id_) + static_cast<std::uint32_t>(offset));
}

void Notes::AddNote(int id, const String& text) {
    notes_.emplace_back(id, text);
}

void Notes::AddNote(int id, int param, const String& text) {
    notes_.emplace_back(id, param, text);
}

void Notes::AddNote(int id, int param, int param2, const String& text) {
    notes_.emplace_back(id, param, param2, text);
}

void Notes::AddNotes(const Notes& other, int offset) {
    // By a copy of each, since the other may be this.
    for (std::size_t i = 0, count = other.notes_.size(); i < count; ++i) {
        notes_.push_back(Note(offset, other.notes_[i]));
    }
}

void Notes::AddPrintNote(int id, int param, int param2, const String& format, const String& s1, const String& s2) {
    const std::array<PrintArgument, 2> arguments{s1.IsEmpty() ? PrintArgument(param) : PrintArgument(s1.View()),
                                                 s2.IsEmpty() ? PrintArgument(param2) : PrintArgument(s2.View())};
    AddNote(id, param, param2, PrintNote(format, arguments, format.Length() + s1.Length() + s2.Length() + Spare));
}

void Notes::AddPrintNote(int id, int param, const String& format) {
    const std::array<PrintArgument, 1> arguments{PrintArgument(param)};
    AddNote(id, param, PrintNote(format, arguments, format.Length() + Spare));
}

void Notes::AddPrintNote(int id, int param, const String& format, const String& s1) {
    const std::array<PrintArgument, 1> arguments{PrintArgument(s1.View())};
    AddNote(id, param, PrintNote(format, arguments, format.Length() + Spare));
}

int Notes::NmrNote() const {
    return static_cast<int>(notes_.size());
}

const Notes::Note& Notes::operator[](int index) const {
    static const Note none;
    return index >= 0 && index < NmrNote() ? notes_[static_cast<std::size_t>(index)] : none;
}

int Notes::Find(const Note& note) const {
    const auto found = std::find_if(begin(), end(), [&](const Note& other) { return other.Matches(note); });
    return found == end() ? -1 : static_cast<int>(found - begin());
}

int Notes::Find(int id, int param, int param2) const {
    return Find(Note(id, param, param2, String()));
}

int Notes::GetExtra(const Notes& other, Notes& out) const {
    Notes extra;
    for (const Note& note : notes_) {
        if (other.Find(note) < 0) extra.notes_.push_back(note);
    }
    out = std::move(extra);
    return out.NmrNote();
}

}  // namespace GNSS
