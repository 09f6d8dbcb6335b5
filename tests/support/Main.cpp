// The main function of every test executable: takes the locale from the environment, so that ctest can run the same
// tests under a locale with decimal commas, and prints the seed of this run's random tests. testing::TempDir() is a
// folder of this process alone: ctest runs several at once.
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <locale>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Random.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (const char* wanted = std::getenv("GNSS_TEST_LOCALE")) {
        if (std::setlocale(LC_ALL, wanted) == nullptr) {
            std::cerr << "locale " << wanted << " is not available\n";
            return 1;
        }
        std::locale::global(std::locale(wanted));
    }
    // A process that a death test starts uses the folder of the one that started it.
    if (std::getenv("TEST_TMPDIR") != nullptr) return RUN_ALL_TESTS();
    std::string folder = (std::filesystem::temp_directory_path() / "gnss-test-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr || ::setenv("TEST_TMPDIR", folder.c_str(), 1) != 0) {
        std::cerr << "cannot make a folder like " << folder << "\n";
        return 1;
    }
    const int result = RUN_ALL_TESTS();
    std::filesystem::remove_all(folder);
    return result;
}
