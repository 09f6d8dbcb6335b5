// The clock offsets and the leap-second rule, used by several threads at once.
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GPSTimeUTCConverter.h"

namespace {

using Corvane::Time;
using GNSS::GPSTime;

TEST(GPSTimeClockThreads, ReadersSeeWholeChanges) {
    constexpr int Changes = 2000;
    std::atomic<bool> done = false;
    std::atomic<int> torn = 0;
    std::atomic<int> reads = 0;

    Corvane::Clock::SetTo(Corvane::TimeDate(Corvane::Date(2020, 1, 1), Corvane::TimeOfDay(0.0)));
    const GPSTime late(2100, 1.0);
    const auto read = [&] {
        while (!done) {
            // Every rule that the writers set has 1 s of change and keeps the count after it above the one before.
            const auto rule = GPSTime::GetUTCConverter();
            if (rule.GetAfter() - rule.GetBefore() != Time(rule.LeapChange())) ++torn;
            // A leap count set: UTC through a second read lock inside the first.
            const double difference = (GPSTime(late) - GPSTime(late.GetUTC())).Seconds();
            if (difference != 17.0 && difference != 18.0) ++torn;
            const Corvane::TimeDate utc = GPSTime::CalcUTC(Corvane::Now);
            if (utc.GetTimeOfDay().Seconds() > 4.0 && utc.GetTimeOfDay().Seconds() < 86395.0) ++torn;
            if (GPSTime::LeapSecondZone() != 1 || GPSTime::LeapChange() != 1.0) ++torn;
            GPSTime back;
            back.SetFromUTC(utc);
            ++reads;
        }
    };
    std::vector<std::thread> readers;
    readers.reserve(3);
    for (int i = 0; i < 3; ++i) readers.emplace_back(read);
    std::thread offsets([&] {
        // Steps of at most a second: nothing goes to the registry.
        for (int i = 0; i < Changes; ++i) GPSTime::SetOffset(Time(i % 2), Time(17 + i % 2), i % 3);
        GPSTime::ResetOffset();
    });
    std::thread rules([&] {
        for (int i = 0; i < Changes; ++i) {
            if (i % 2 == 0) {
                GPSTime::SetUTCParam(GPSTime(1851, 259200.0), 16, 17);
            } else {
                GPSTime::SetUTCParam(GPSTime(1930, 0.0), 17, 18);
            }
        }
    });
    offsets.join();
    rules.join();
    while (reads < 10) std::this_thread::yield();
    done = true;
    for (auto& reader : readers) reader.join();
    EXPECT_EQ(torn, 0);

    GPSTime::SetOffset(Time(0.0), Time(16.0), 0);
    GPSTime::SetUTCParam(GPSTime(1851, 259200.0), 16, 17);
    Corvane::Clock::UseSystem();
}

}  // namespace
