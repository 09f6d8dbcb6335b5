// Corvane::StreamParser: reads the pieces of hand-written values (signs, numbers, marks) from a text stream.
#pragma once

#include <iosfwd>
#include <optional>
#include <string_view>

#include "gnss/platform/Export.h"

namespace Corvane {

// Takes characters from a stream one at a time, each only after looking at it, so that what does not belong to the
// piece asked for stays in the stream. Characters are bytes in Latin-1 and no locale is read.
//
// The parser itself throws nothing. It tells failure through the stream's state, so a stream whose exceptions() mask
// the caller has set throws as that mask says; a stream buffer that throws sets the bad bit. Reaching the end sets the
// end bit alone, as long as a complete piece was read.
class GNSS_EXPORT StreamParser {
public:
    struct Number {
        double value = 0.0;
        bool hasFraction = false;  // a decimal point was written, with or without digits after it
    };

    // The parser refers to the stream and adds no state of its own.
    explicit StreamParser(std::istream& is) : is_(is) {}

    // The next character, without taking it; empty at the end and when the stream is not good.
    [[nodiscard]] std::optional<char> Peek();
    void Take();  // takes the character that Peek gave

    // Blank, tab, and the characters that begin a new line or page.
    void SkipWhiteSpace();
    // Blank and tab only: stays in the line.
    void SkipBlanks();
    // Takes the next character when it is one of `characters`, and tells whether it did.
    bool SkipOneOf(std::string_view characters);

    // '+' gives +1, '-' gives -1; 0 and nothing taken when there is no sign.
    [[nodiscard]] int ReadSign();

    // Digits, with an optional point and more digits: "7", "51.5", "3."; no sign and no exponent ("5e3" is 5 and leaves
    // "e3"). Anything else sets the fail bit and gives nothing. A number beyond the range of a double is the largest.
    [[nodiscard]] std::optional<Number> ReadNumber();

    void Fail();  // sets the stream's fail bit

    [[nodiscard]] static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
    // A letter of Latin-1, with or without accent.
    [[nodiscard]] static bool IsLetter(char c);

private:
    std::istream& is_;
};

}  // namespace Corvane
