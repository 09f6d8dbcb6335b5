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

const InternedName::Entry* Intern(InternedName::Entry entry) {
    // Made on first use: symbols are constants of every library of the process. The nodes of a set do not move.
    static std::mutex mutex;
    static std::set<InternedName::Entry> names;
    const std::lock_guard lock(mutex);
    return &*names.insert(std::move(entry)).first;
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
