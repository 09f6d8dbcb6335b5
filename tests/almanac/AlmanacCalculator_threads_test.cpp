// An almanac that its owner changes and exchanges while others compute with it.
#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacSV.h"

namespace {

using GNSS::Almanac;
using GNSS::GPSTime;

// Every version of the almanac has its number as the clock offset and as the distance of satellite 5.
TEST(AlmanacCalculatorThreads, ReadersSeeWholeAlmanacsInOrder) {
    constexpr int Versions = 3000;
    Almanac::Calculator calculator;
    std::atomic<bool> done = false;
    std::atomic<int> wrong = 0;
    std::atomic<int> answers = 0;
    const auto read = [&](bool copies) {
        const GPSTime t(2000, 0.0);
        double last = 0.0;
        while (!done || answers < 10) {
            GNSS::ECEF posn;
            double clockOffset = 0.0;
            const bool found = copies
                                   ? Almanac::Calculator(calculator).CalculatePosn(GNSS::PRN(5), t, posn, clockOffset)
                                   : calculator.CalculatePosn(GNSS::PRN(5), t, posn, clockOffset);
            if (!found) continue;
            ++answers;
            wrong += std::abs(posn.Radius() - 1000.0 - clockOffset) > 1e-6 || clockOffset < last;
            last = clockOffset;
        }
    };
    std::vector<std::thread> readers;
    for (const bool copies : {false, false, true}) readers.emplace_back(read, copies);
    Almanac almanac;
    for (int version = 1; version <= Versions; ++version) {
        Almanac::SV sv;
        sv.time = sv.toa = GPSTime(2000, version);
        sv.prn = 6 + version % 20;
        wrong += !almanac.UpdateSV(sv);
        sv.prn = 5;
        sv.sqrtA = std::sqrt(1000.0 + version);
        sv.af0 = version;
        wrong += !almanac.UpdateSV(sv);
        calculator.SetAlmanac(almanac);
    }
    done = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(calculator.RefersTo(almanac));
}

}  // namespace
