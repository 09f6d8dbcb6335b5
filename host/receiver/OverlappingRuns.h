// OverlappingRuns: the checksums of runs of bytes that overlap, each byte being summed up once.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace Host {

// For the search through what only looks like messages: bytes that begin one everywhere, each with a length that lies,
// would else be summed up hundreds of times. A run that fails leaves its sums behind, from its first byte on; those of
// a run that begins among them follow by
//
//   Sum             what is summed up, the default being that of no bytes
//   Of(run)         of a run
//   Step(sum, c)    of one byte more
//   Between(a, b, n)    of the last n bytes alone, where b is of all and a of those before
template <typename Checksum>
class OverlappingRuns {
public:
    using Sum = typename Checksum::Sum;

    // The bytes lie elsewhere from now on.
    void Restart() { sums_.clear(); }

    // Whether a run has a checksum. All runs until the next Restart are of one piece of memory.
    [[nodiscard]] bool Has(std::string_view run, const Sum& expected) {
        const auto first = sums_.empty() ? 0 : static_cast<std::size_t>(run.data() - start_);
        const std::size_t last = first + run.size();
        if (sums_.empty() || first >= reach_ || first > MaxKept) {
            if (Checksum::Of(run) == expected) return true;
            start_ = run.data();
            sums_.assign(1, Sum());
            reach_ = run.size();
            return false;
        }
        reach_ = std::max(reach_, last);
        while (sums_.size() <= last) sums_.push_back(Checksum::Step(sums_.back(), start_[sums_.size() - 1]));
        return Checksum::Between(sums_[first], sums_[last], run.size()) == expected;
    }

private:
    static constexpr std::size_t MaxKept = std::size_t{1} << 16;

    const char* start_ = nullptr;
    std::vector<Sum> sums_;  // of 0, 1, 2 ... bytes from the start on, as far as it has been needed
    std::size_t reach_ = 0;  // where the farthest run ends
};

}  // namespace Host
