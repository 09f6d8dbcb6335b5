#include "gnss/platform/Symbol.h"

#include <mutex>
#include <optional>
#include <set>
#include <tuple>

namespace Corvane {

struct InternedName::Entry {
    bool isText;
    std::int64_t number;
    String text;

    friend bool operator<(const Entry& a, const Entry& b) {
        return std::tie(a.isText, a.number, a.text) < std::tie(b.isText, b.number, b.text);
    }
};

namespace {

struct Names {
    std::mutex mutex;
    std::set<InternedName::Entry> entries;  // whose nodes do not move
};

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
Names& TheNames() {
    static Names names;
    return names;
}
[[maybe_unused]] const Names& madeEarly = TheNames();

const InternedName::Entry* Intern(InternedName::Entry entry) {
    const std::lock_guard lock(TheNames().mutex);
    return &*TheNames().entries.insert(std::move(entry)).first;
}

}  // namespace

InternedName::InternedName(const String& text) : entry_(Intern({true, 0, text})) {}

InternedName::InternedName(std::int64_t number) : entry_(Intern({false, number, String()})) {}

String InternedName::Print() const {
    if (IsNull()) return {};
    return entry_->isText ? entry_->text : String::FormatInt(entry_->number);
}

std::strong_ordering operator<=>(InternedName a, InternedName b) {
    if (a.entry_ == b.entry_) return std::strong_ordering::equal;
    if (a.IsNull() || b.IsNull()) return a.IsNull() ? std::strong_ordering::less : std::strong_ordering::greater;
    return *a.entry_ < *b.entry_ ? std::strong_ordering::less : std::strong_ordering::greater;
}

}  // namespace Corvane
