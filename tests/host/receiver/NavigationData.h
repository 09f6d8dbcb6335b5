// The records of real navigation files, for the tests that replay them.
#pragma once

#include <algorithm>
#include <type_traits>
#include <vector>

#include "tests/host/receiver/ReferenceRinex.h"

namespace tests {

// Records in the order of their transmission, which is their reference time.
template <typename Records>
auto BySending(const Records& records) {
    std::vector<std::remove_cvref_t<decltype(records.front().ephemeride)>> sorted;
    for (const auto& record : records) {
        sorted.push_back(record.ephemeride);
        if (record.transmission) sorted.back().reference = *record.transmission;
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.reference - b.reference < Corvane::Time(); });
    return sorted;
}

}  // namespace tests
