#include <gtest/gtest.h>
TEST(Values, Builds) {
    EXPECT_TRUE(true);
}
