// Where the tests find real receiver logs and reference values.
#pragma once

#include <string>

#include <gtest/gtest.h>

namespace tests {

// The path of a file below GNSS_TEST_DATA ("data/igs15904.sp3"), or empty when the variable is not set or the file is
// absent.
[[nodiscard]] std::string FindTestData(const std::string& name);

}  // namespace tests

// Skips the running test where the data is absent.
#define GNSS_REQUIRE_TEST_DATA(path, name)                \
    const std::string path = ::tests::FindTestData(name); \
    if (path.empty()) GTEST_SKIP() << "skipped: no test data"
