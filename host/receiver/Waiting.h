// Records that wait for the stream's time, the newest of each satellite.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace Host {

template <typename Record, int Satellites>
class Waiting {
public:
    // A satellite's number, from 1.
    void Put(int satellite, const Record& record) {
        std::optional<Record>& place = records_[static_cast<std::size_t>(satellite - 1)];
        if (place) ++nmrReplaced_;
        place = record;
    }

    // Hands each record to `take` and forgets it.
    template <typename Take>
    void Release(Take take) {
        for (std::optional<Record>& place : records_) {
            if (const std::optional<Record> record = std::exchange(place, std::nullopt)) take(*record);
        }
    }

    [[nodiscard]] std::int64_t GetNmr() const {
        std::int64_t count = 0;
        for (const std::optional<Record>& place : records_) count += place ? 1 : 0;
        return count;
    }
    // Dropped for a newer one.
    [[nodiscard]] std::int64_t GetNmrReplaced() const { return nmrReplaced_; }

private:
    std::array<std::optional<Record>, static_cast<std::size_t>(Satellites)> records_;
    std::int64_t nmrReplaced_ = 0;
};

}  // namespace Host
