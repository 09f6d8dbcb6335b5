#include "host/live/SourceTable.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include "host/report/SafeText.h"

namespace Host {

namespace {

constexpr std::string_view Record = "STR;";
// Of a line as much as holds the name.
constexpr std::size_t MaxLine = Record.size() + SourceTable::MaxName + 1;

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    std::ranges::transform(upper, upper.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return upper;
}

// The least number of characters to change, add or leave out that makes one of the other. Neither is longer than a
// name.
std::size_t CountEdits(std::string_view a, std::string_view b) {
    std::array<std::size_t, SourceTable::MaxName + 1> row{};
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (a[i] == b[j] ? 0U : 1U);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row[b.size()];
}

}  // namespace

void SourceTable::Feed(std::string_view bytes) {
    while (!bytes.empty() && !isEnded_) {
        const std::size_t end = bytes.find('\n');
        const std::string_view piece = bytes.substr(0, end);
        line_ += piece.substr(0, MaxLine - std::min(line_.size(), MaxLine));
        if (end == std::string_view::npos) return;
        bytes.remove_prefix(end + 1);
        TakeLine();
        line_.clear();
    }
}

void SourceTable::TakeLine() {
    if (line_.starts_with("ENDSOURCETABLE")) isEnded_ = true;
    if (!line_.starts_with(Record) || mounts_.size() >= MaxMounts) return;
    const std::size_t end = line_.find_first_of(";\r", Record.size());
    const std::string name = line_.substr(Record.size(), end == std::string::npos ? end : end - Record.size());
    if (!name.empty() && name.size() <= MaxName) mounts_.push_back(name);
}

bool SourceTable::Has(const std::string& mount) const {
    return std::find(mounts_.begin(), mounts_.end(), mount) != mounts_.end();
}

std::vector<std::string> SourceTable::FindNear(const std::string& mount, std::size_t most) const {
    const std::string wanted = UpperCase(mount).substr(0, MaxName);
    const std::size_t limit = std::max<std::size_t>(2, wanted.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string& name : mounts_) {
        const std::string upper = UpperCase(name);
        const bool isPart = upper.starts_with(wanted) || wanted.starts_with(upper) || upper.ends_with(wanted) ||
                            wanted.ends_with(upper);
        const std::size_t difference = std::max(upper.size(), wanted.size()) - std::min(upper.size(), wanted.size());
        std::size_t distance = isPart ? std::min<std::size_t>(difference, 1) : difference;
        if (!isPart && distance <= limit) distance = CountEdits(upper, wanted);
        if (distance <= limit) found.emplace_back(distance, name);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(most, found.size()); ++i) names.push_back(CleanText(found[i].second));
    return names;
}

}  // namespace Host
