// GNSS::Notes: short coded remarks on the position of one epoch, such as which satellites were rejected.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Symbol.h"

namespace GNSS {

// Notes in the order in which they were added; the same note may stand among them more than once. A plain value.
class GNSS_EXPORT Notes {
public:
    class History;

    // One remark. Its three numbers say which; the text takes no part in that.
    class GNSS_EXPORT Note {
    public:
        // The parameter of a note that has none.
        static constexpr std::int32_t Absent = -1;

        // Id 0 without parameters and text.
        Note() = default;
        // The id is a code of the module that makes the note; parameters, such as a satellite's number, are 0 and up.
        Note(int id, Corvane::String text) : Note(id, Absent, Absent, std::move(text)) {}
        Note(int id, int param, Corvane::String text) : Note(id, param, Absent, std::move(text)) {}
        Note(int id, int param, int param2, Corvane::String text)
            : id_(id), param_(param), param2_(param2), text_(std::move(text)) {}
        // The other note under an id that is increased by the offset, modulo 2^32: different ids stay different.
        Note(int offset, const Note& other);

        // Whether the other is the same note.
        [[nodiscard]] bool Matches(const Note& other) const { return Matches(other.id_, other.param_, other.param2_); }
        [[nodiscard]] bool Matches(int id, int param, int param2) const {
            return id_ == id && param_ == param && param2_ == param2;
        }

        [[nodiscard]] std::int32_t GetId() const { return id_; }
        [[nodiscard]] bool HasParam() const { return param_ >= 0; }
        [[nodiscard]] std::int32_t GetParam() const { return param_; }
        [[nodiscard]] bool Has2ndParam() const { return param2_ >= 0; }
        [[nodiscard]] std::int32_t Get2ndParam() const { return param2_; }
        [[nodiscard]] const Corvane::String& GetText() const { return text_; }

    private:
        std::int32_t id_ = 0;
        std::int32_t param_ = Absent;
        std::int32_t param2_ = Absent;
        Corvane::String text_;
    };

    // Under which a History travels on the host's links: "Notes History Data".
    static const Corvane::Type HistoryType;

    // Each appends one note.
    void AddNote(int id, const Corvane::String& text);
    void AddNote(int id, int param, const Corvane::String& text);
    void AddNote(int id, int param, int param2, const Corvane::String& text);
    // Appends the other's notes, in order, with their ids increased by the offset, so that the codes of two modules do
    // not collide.
    void AddNotes(const Notes& other, int offset);

    // Appends a note whose text is formatted by the rules of printf from two arguments: s1 or, when that is empty,
    // param; and s2 or, when that is empty, param2. A format may print numbers by %d, %i, %u, %x, %X, %o and %c and
    // texts by %s, with flags, width and precision, and hold %%. One that asks for a text where the argument is a
    // number, or for anything else, is not used: the note's text is the format as it stands. The text is cut to a
    // buffer (with room for a terminator) of the length of format, s1 and s2 and 40 characters.
    void AddPrintNote(int id, int param, int param2, const Corvane::String& format, const Corvane::String& s1,
                      const Corvane::String& s2);
    // Likewise with param alone, which is also the argument; param2 is absent. A buffer of the format's length and 40.
    void AddPrintNote(int id, int param, const Corvane::String& format);
    // Likewise with s1 for the argument, even when it is empty. That the buffer does not count the length of s1, so
    // that a long s1 is cut, is intended.
    void AddPrintNote(int id, int param, const Corvane::String& format, const Corvane::String& s1);

    [[nodiscard]] int NmrNote() const;
    // The note at an index; outside the list one of id 0 without parameters and text.
    [[nodiscard]] const Note& operator[](int index) const;
    [[nodiscard]] auto begin() const { return notes_.begin(); }
    [[nodiscard]] auto end() const { return notes_.end(); }
    void Reset() { notes_.clear(); }

    // Index of the first note that is the same, or -1.
    [[nodiscard]] int Find(const Note& note) const;
    [[nodiscard]] int Find(int id, int param, int param2) const;

    // Makes `out` the notes that the other has not, in order; their number. `out` may be either of the two.
    int GetExtra(const Notes& other, Notes& out) const;
    // Makes `out` the notes of the other that are missing here; their number.
    int GetMissing(const Notes& other, Notes& out) const { return other.GetExtra(*this, out); }

private:
    std::vector<Note> notes_;
};

}  // namespace GNSS
