#include <cstddef>

#include "gnss/position/Position.h"

namespace GNSS {

using Corvane::String;

namespace {

// Takes an ending off a text that is longer than it; whether there was one. The ending is in upper case unless the
// comparison is exact.
bool CutEnding(String& text, const String& ending, bool isExact) {
    const std::size_t count = ending.Length();
    if (text.Length() <= count) return false;
    const String last = text.Right(count);
    if ((isExact ? last : last.ToUpper()) != ending) return false;
    text.RemoveRight(count);
    return true;
}

}  // namespace

const String Position::SolutionMode::MaxName("Norvi DGPS+GLO (Settling)");

void Position::SolutionMode::Set(const String& name, int level, int maxLevel, Status status) {
    name_ = name;  // first, since it may throw
    level_ = level;
    maxLevel_ = maxLevel;
    status_ = status;
}

void Position::SolutionMode::Reset() {
    *this = SolutionMode();
}

String Position::SolutionMode::GetTrimmedName(int glonassCount) const {
    if (glonassCount >= 1) return name_;
    const String settling(" (Settling)");
    String name = name_;
    const bool isSettling = CutEnding(name, settling, true);
    CutEnding(name, "+GLO", false);
    if (isSettling) name += settling;
    return name;
}

}  // namespace GNSS
