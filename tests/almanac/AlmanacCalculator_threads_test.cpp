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

constexpr int Versions = 3000;

// Every version of the almanac has its number as the clock offset and as the distance of satellite 5.
bool Change(Almanac& almanac, int version) {
    Almanac::SV sv;
    sv.prn = 5;
    sv.time = sv.toa = GPSTime(2000, version);
    sv.sqrtA = std::sqrt(1000.0 + version);
    sv.af0 = version;
    Almanac::SV other;
    other.prn = 6 + version % 20;
    other.time = sv.time;
    return almanac.UpdateSV(sv) && almanac.UpdateSV(other);
}

TEST(AlmanacCalculatorThreads, ReadersSeeWholeAlmanacsInOrder) {
    Almanac::Calculator calculator;
    std::atomic<bool> done = false;
    std::atomic<int> wrong = 0;
    std::atomic<int> answers = 0;
    const auto read = [&](bool copies) {
        double last = 0.0;
        while (!done || answers < 10) {
            GNSS::ECEF posn;
            double clockOffset = 0.0;
            const GPSTime t(2000, 0.0);
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
    readers.reserve(3);
    for (int i = 0; i < 3; ++i) readers.emplace_back(read, i == 2);
    Almanac almanac;
    for (int version = 1; version <= Versions; ++version) {
        wrong += !Change(almanac, version);
        calculator.SetAlmanac(almanac);
    }
    done = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(calculator.RefersTo(almanac));
}

}  // namespace
