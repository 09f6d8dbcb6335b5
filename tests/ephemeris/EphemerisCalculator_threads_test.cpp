// Consumers ask a calculator while its store changes, publishes and installs one history after the other.
#include <atomic>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "tests/ephemeris/Records.h"

namespace {

using GNSS::GPSEphemeride;
using GNSS::GPSEphemeris;
using GNSS::GPSEphemerisCalc;
using tests::SampleTime;

TEST(EphemerisCalculator, AnswersFromWholeHistoriesWhileTheyAreReplaced) {
    constexpr int NmrIssues = 2000;
    GPSEphemerisCalc calc;
    std::atomic<bool> isOver = false;
    std::atomic<int> nmrWrong = 0;
    std::atomic<int> nmrAnswers = 0;
    const auto consume = [&, handle = calc] {
        int lastIssue = 0;
        GPSEphemeride::Result first;
        GPSEphemeride::Result second;
        while (!isOver) {
            if (!handle.CalculateHealthyPosn(17, SampleTime, first)) continue;
            const auto history = handle.GetImplementation();
            if (!history) continue;
            // The group delay tells the issue once more; the issue before it stands in the same history.
            bool isRight = first.groupDelay == first.IODE && first.IODE >= lastIssue;
            isRight &= history->CalculatePosn(17, SampleTime, first) && first.groupDelay == first.IODE;
            const bool hasSecond = history->CalculateSecondPosn(17, SampleTime, second);
            isRight &= hasSecond ? second.IODE == first.IODE - 1 : first.IODE == 1;
            lastIssue = first.IODE;
            if (!isRight) ++nmrWrong;
            ++nmrAnswers;
        }
    };
    std::thread consumers[] = {std::thread(consume), std::thread(consume), std::thread(consume)};
    GPSEphemeris held;
    GPSEphemeride record = tests::SampleGPS();
    for (int issue = 1; issue <= NmrIssues || nmrAnswers < 1000; ++issue) {
        record.posn.IODE = issue;
        record.clock.Tgd = issue;
        ASSERT_TRUE(held.Update(record));
        calc.SetImplementation(std::make_shared<const GPSEphemeris>(held));
        if (issue % 500 == 0) calc.Reset();
    }
    isOver = true;
    for (std::thread& consumer : consumers) consumer.join();
    EXPECT_EQ(nmrWrong, 0);
}

}  // namespace
