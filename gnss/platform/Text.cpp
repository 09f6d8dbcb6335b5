#include "gnss/platform/Text.h"

namespace Corvane {

Text& Text::AddParagraph(const String& words, Modifier modifier) {
    parts_.push_back({Paragraph, modifier, words});
    return *this;
}

Text& Text::Add(const String& words, Modifier modifier) {
    parts_.push_back({Run, modifier, words});
    return *this;
}

Text& Text::AddEndOfLine() {
    parts_.push_back({EndOfLine, Plain, String()});
    return *this;
}

String Text::Print() const {
    String text;
    for (const Part& part : parts_) {
        const bool atStart = text.IsEmpty() || text.EndsWith("\n");
        if (part.kind == EndOfLine || (part.kind == Paragraph && !atStart)) text += '\n';
        text += part.words;
    }
    return text;
}

}  // namespace Corvane
