// The main function of every test executable: takes the locale from the environment, so that ctest can run the same
// tests under a locale with decimal commas, and prints the seed of this run's random tests.
#include <clocale>
#include <cstdlib>
#include <iostream>
#include <locale>

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
    return RUN_ALL_TESTS();
}
