// A least-squares problem that is solved again and again, as for every fix, allocates only the first time.
#include <array>

#include <gtest/gtest.h>

#include "gnss/platform/LLSq.h"
#include "tests/support/CountingNew.h"

namespace {

TEST(LLSqAllocation, FurtherSolutionsDoNotAllocate) {
    Corvane::LLSq llsq(5);
    const auto fix = [&llsq](double value) {
        llsq.Reset(5);
        for (int i = 0; i < 24; ++i) {
            const double x = 0.3 * i;
            (void)llsq.AddObs(std::array{x, x * x, 1.0 / (1.0 + x), double(i % 2), double(1 - i % 2)}, value, 1.0);
        }
        llsq.SetRejected(7, true);
        return llsq.Solve();
    };
    ASSERT_TRUE(fix(1.0));
    const long before = tests::CountAllocations();
    const bool solved = fix(2.0);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    EXPECT_TRUE(solved);
}

}  // namespace
