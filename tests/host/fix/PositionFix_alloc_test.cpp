// What an epoch's fix allocates.
#include <gtest/gtest.h>

#include "host/fix/PositionFix.h"
#include "tests/host/fix/MadeSky.h"
#include "tests/support/CountingNew.h"

namespace {

TEST(PositionFix, AllocatesNothingAfterTheFirstEpochs) {
    tests::MadeSky sky;
    sky.AddMany(9, 7);
    sky.troposphere = sky.ionosphere = true;
    const Host::FixInputs inputs = sky.Inputs();
    const GNSS::MeasSet good = sky.Measure(tests::MadeSky::Start);
    sky.faults = {{{false, 3}, 500.0}};
    const GNSS::MeasSet bad = sky.Measure(tests::MadeSky::Start);
    Host::PositionFix fix{Host::FixSettings()};
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(fix.Compute(good, inputs).valid);
        ASSERT_EQ(fix.Compute(bad, inputs).NmrRejected(), 1);
    }
    const long before = tests::CountAllocations();
    for (int i = 0; i < 100; ++i) {
        fix.Compute(good, inputs);
        fix.Compute(bad, inputs);
    }
    EXPECT_EQ(tests::CountAllocations() - before, 0);
}

}  // namespace
