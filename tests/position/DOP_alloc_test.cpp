// The DOP of a constellation is computed without allocating, whether there is one or not.
#include <gtest/gtest.h>

#include "gnss/position/Constellation.h"
#include "gnss/position/DOP.h"
#include "tests/support/CountingNew.h"

namespace {

TEST(DOPAllocation, SetDoesNotAllocate) {
    using Corvane::Angle;
    GNSS::Constellation sky;
    GNSS::Constellation cone;
    for (int i = 1; i <= 12; ++i) {
        sky.Add(GNSS::PRN(i), Angle(0.1 * i), Angle(2.4 * i), 1, false);
        sky.Add(GNSS::Glonass::Slot(i), Angle(0.1 * i), Angle(1.9 * i), 2);
        cone.Add(GNSS::PRN(i), Angle(0.5), Angle(2.4 * i), 1, false);
    }
    const long before = tests::CountAllocations();
    GNSS::DOP dop;
    const bool isSky = dop.Set(sky, true, true);
    const bool isCone = dop.Set(cone, true, false);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    EXPECT_TRUE(isSky && !isCone);
}

}  // namespace
