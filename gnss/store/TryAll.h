// TryAll: steps that must each be tried, whatever becomes of the others.
#pragma once

#include <exception>

namespace GNSS {

// Calls the steps in their order, also those after one that throws; then throws what was thrown first. For what follows
// a change that has been made, so that those who can be told of it are.
template <class... Steps>
void TryAll(const Steps&... steps) {
    std::exception_ptr first;
    const auto attempt = [&first](const auto& step) {
        try {
            step();
        } catch (...) {
            if (!first) first = std::current_exception();
        }
    };
    (attempt(steps), ...);
    if (first) std::rethrow_exception(first);
}

}  // namespace GNSS
