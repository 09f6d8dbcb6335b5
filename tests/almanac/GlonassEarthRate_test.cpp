// What the earth rate of Almanac::GlonassSV does to a sky plot. With GNSS_PRINT_ACCURACY set in the environment the
// test prints the table that docs/accuracy.md holds.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/almanac/GlonassAlmanacModel.h"
#include "tests/almanac/Reference.h"

namespace {

using GNSS::Almanac;
using GNSS::ECEF;

constexpr double Degree = std::numbers::pi / 180.0;

struct Sight {
    double azimuth, elevation;  // rad
};

Sight See(const tests::Observer& observer, const ECEF& satellite) {
    const ECEF::Delta line = satellite - observer.posn;
    const auto [east, north, up] = observer.Axes();
    return {std::atan2(line.Dot(east), line.Dot(north)), std::asin(line.Dot(up) / line.Magnitude())};
}

TEST(GlonassEarthRate, TurnsTheSkyAsDocumented) {
    GNSS_REQUIRE_TEST_DATA(path, "reference/glo_alm_ublox_2023179.csv");
    const tests::Table table(path);
    std::map<int, Almanac::GlonassSV> satellites;
    for (std::size_t row = 0; row < table.NmrRows(); ++row) {
        const Almanac::GlonassSV sv = tests::GlonassFromRow(table, row);
        satellites[sv.slot] = sv;
    }
    ASSERT_EQ(satellites.size(), 24U);
    constexpr double Mask = 10.0 * Degree;
    const struct {
        double lat, lon, hours;              // degrees; after the node crossing
        double direction, azimuth, minutes;  // most degrees, most degrees below 60 of elevation, most of rise or set
    } rows[] = {{47.0, 8.0, 12, 2.95, 5.3, 4.8},    {55.6, 37.6, 12, 2.85, 4.0, 3.7},
                {40.0, -100.0, 12, 3.01, 6.0, 5.7}, {47.0, 8.0, 24, 5.75, 11.3, 11.3},
                {55.6, 37.6, 24, 5.56, 10.3, 7.9},  {40.0, -100.0, 24, 5.88, 11.8, 18.8}};
    for (const auto& row : rows) {
        const tests::Observer observer = tests::MakeObserver(row.lat * Degree, row.lon * Degree);
        double direction = 0.0;
        double azimuth = 0.0;
        std::vector<double> shifts;  // of rises and sets, minutes
        for (const auto& [slot, sv] : satellites) {
            std::vector<double> crossings[2];  // seconds, below zero for sets: with the usual rate and the class's own
            Sight before[2]{};
            for (int second = 0; second <= row.hours * 3600.0; second += 10) {
                Sight now[2];
                ECEF posn[2];
                for (const int own : {0, 1}) {
                    ECEF::Delta vely;
                    GNSS::GlonassAlmanacModel::GermanCalc(
                        sv, second, own == 1 ? Almanac::GlonassSV::EarthRate : 7.292115e-5, posn[own], vely);
                    now[own] = See(observer, posn[own]);
                    const double rise = now[own].elevation - before[own].elevation;
                    const double above = now[own].elevation - Mask;
                    if (second > 0 && above * (before[own].elevation - Mask) < 0.0) {
                        crossings[own].push_back(std::copysign(second - 10.0 * above / rise, rise));
                    }
                    before[own] = now[own];
                }
                if (now[0].elevation < Mask) continue;
                const ECEF::Delta a = posn[0] - observer.posn;
                const ECEF::Delta b = posn[1] - observer.posn;
                direction = std::max(direction, std::acos(a.Dot(b) / a.Magnitude() / b.Magnitude()) / Degree);
                const double turn = std::remainder(now[1].azimuth - now[0].azimuth, 2.0 * std::numbers::pi);
                if (now[0].elevation < 60.0 * Degree) azimuth = std::max(azimuth, std::abs(turn) / Degree);
            }
            for (const double usual : crossings[0]) {
                double nearest = 3600.0;
                for (const double own : crossings[1]) {
                    if (own * usual > 0.0) nearest = std::min(nearest, std::abs(own - usual));
                }
                if (nearest < 3600.0) shifts.push_back(nearest / 60.0);  // else a pass that only one of them has
            }
        }
        std::sort(shifts.begin(), shifts.end());
        EXPECT_NEAR(direction, row.direction, 0.02);
        EXPECT_NEAR(azimuth, row.azimuth, 0.1);
        EXPECT_NEAR(shifts.back(), row.minutes, 0.1);
        if (std::getenv("GNSS_PRINT_ACCURACY") == nullptr) continue;
        std::printf("| %.1f, %.1f | %.0f h | %.1f | %.1f | %.1f | %.1f |\n", row.lat, row.lon, row.hours, direction,
                    azimuth, shifts[shifts.size() / 2], shifts.back());
    }
}

}  // namespace
