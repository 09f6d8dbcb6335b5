#include "gnss/platform/TimeStamp.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"

namespace {

using Corvane::TimeStamp;

TEST(TimeStamp, ExpiresByTheProgramsClock) {
    const Corvane::TimeDate start(Corvane::Date(2005, 12, 31), Corvane::TimeOfDay(86399.0));
    Corvane::Clock::SetTo(start);
    TimeStamp expiry;
    EXPECT_TRUE(expiry.HasExpired());
    expiry.SetAfterNow(120'000);
    EXPECT_EQ(expiry - TimeStamp::AfterNow(0), 120'000);
    Corvane::Clock::SetTo(start + Corvane::Time(119.998));
    EXPECT_FALSE(expiry.HasExpired());
    Corvane::Clock::SetTo(start + Corvane::Time(120.0));
    EXPECT_TRUE(expiry.HasExpired());
    EXPECT_FALSE(TimeStamp::AfterNow(INT64_MAX).HasExpired());
    EXPECT_TRUE(TimeStamp::AfterNow(INT64_MIN).HasExpired());
    Corvane::Clock::UseSystem();

    EXPECT_EQ(TimeStamp(INT64_MAX) - TimeStamp(-1), INT64_MAX);
    EXPECT_EQ(TimeStamp(INT64_MIN) - TimeStamp(1), INT64_MIN);
}

}  // namespace
