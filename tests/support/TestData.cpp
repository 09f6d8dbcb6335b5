#include "tests/support/TestData.h"

#include <cstdlib>
#include <filesystem>

namespace tests {

std::string FindTestData(const std::string& name) {
    const char* folder = std::getenv("GNSS_TEST_DATA");
    if (folder == nullptr || *folder == '\0') return {};
    const auto path = std::filesystem::path(folder) / name;
    return std::filesystem::exists(path) ? path.string() : std::string();
}

}  // namespace tests
