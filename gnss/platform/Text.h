// Corvane::Text: a formatted text, as descriptions use it.
#pragma once

#include <cstdint>
#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane {

// Paragraphs of text, parts of which a modifier sets off. Built from left to right:
//     Text().AddParagraph("Almanac", Text::Emphasised).AddEndOfLine().Add("Store for an almanac.")
class GNSS_EXPORT Text {
public:
    // How a part is set off from the text around it.
    enum Modifier : std::int32_t {
        Plain = 0,
        Emphasised = 1,
        Strong = 2,
        Fixed = 3,  // every character equally wide
    };

    enum Kind : std::int32_t {
        Run = 0,        // words within a line
        Paragraph = 1,  // words that begin a paragraph
        EndOfLine = 2,  // no words
    };

    struct Part {
        Kind kind = Run;
        Modifier modifier = Plain;
        String words;
        friend bool operator==(const Part&, const Part&) = default;
    };

    Text() = default;
    // One paragraph.
    explicit Text(const String& words) { AddParagraph(words); }

    Text& AddParagraph(const String& words, Modifier modifier = Plain);
    Text& Add(const String& words, Modifier modifier = Plain);
    Text& AddEndOfLine();

    [[nodiscard]] bool IsEmpty() const { return parts_.empty(); }
    // For whoever shows the text with its modifiers.
    [[nodiscard]] const std::vector<Part>& GetParts() const { return parts_; }
    // The words without modifiers; an end of line is "\n", and a paragraph begins on a line of its own.
    [[nodiscard]] String Print() const;

    friend bool operator==(const Text&, const Text&) = default;

private:
    std::vector<Part> parts_;
};

}  // namespace Corvane
