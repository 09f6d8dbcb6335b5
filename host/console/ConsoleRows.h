// ConsoleRows: the newest rows of something that grows without an end.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

namespace Host {

// Rows are counted from 0; the last so many are kept, as JSON. One thread adds, any thread asks.
class ConsoleRows {
public:
    explicit ConsoleRows(std::size_t most) : most_(most) {}

    void Add(std::string row) {
        const std::lock_guard lock(mutex_);
        rows_.push_back(std::move(row));
        ++next_;
        if (rows_.size() > most_) rows_.pop_front();
    }
    // Forgets the rows; counting goes on.
    void Clear() {
        const std::lock_guard lock(mutex_);
        rows_.clear();
    }
    // Of the row that will be added next.
    [[nodiscard]] std::int64_t GetNext() const {
        const std::lock_guard lock(mutex_);
        return next_;
    }
    // Appends "[row,row]" with the rows from one on, or from the oldest that is kept; returns the first and the one
    // after the last.
    std::pair<std::int64_t, std::int64_t> Print(std::int64_t from, std::string& to) const {
        const std::lock_guard lock(mutex_);
        const std::int64_t oldest = next_ - static_cast<std::int64_t>(rows_.size());
        const std::int64_t first = std::clamp(from, oldest, next_);
        to += '[';
        for (auto i = first; i < next_; ++i) {
            if (i > first) to += ',';
            to += rows_[static_cast<std::size_t>(i - oldest)];
        }
        to += ']';
        return {first, next_};
    }

private:
    const std::size_t most_;
    mutable std::mutex mutex_;
    std::deque<std::string> rows_;
    std::int64_t next_ = 0;
};

}  // namespace Host
