// Counts the allocations of the calling thread. Only executables made of *_alloc_test.cpp files have the counting
// operator new that this needs.
#pragma once

namespace tests {

// Number of times that this thread has called operator new so far.
[[nodiscard]] long CountAllocations();

}  // namespace tests
