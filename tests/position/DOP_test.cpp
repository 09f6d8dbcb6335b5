// DOP against its definition, against another program's figures and against a receiver's own.
#include "gnss/position/DOP.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/geodesy/Grid.h"
#include "gnss/platform/Matrix.h"
#include "gnss/position/Constellation.h"
#include "tests/support/Random.h"
#include "tests/support/TestData.h"

namespace {

using Corvane::Angle;
using Corvane::Matrix;
using GNSS::Constellation;
using GNSS::DOP;

void AddGPS(Constellation& sky, Angle elevation, Angle azimuth) {
    sky.Add(GNSS::PRN(1 + sky.NmrSV() % 32), elevation, azimuth, Constellation::HealthyGPS, false);
}

Constellation Sky(int nmrGPS, int nmrGlonass) {
    Constellation sky;
    const auto elevation = [](int i) { return Angle(0.2 + 0.4 * (i % 4)); };
    for (int i = 0; i < nmrGPS; ++i) AddGPS(sky, elevation(i), Angle(2.4 * i));
    for (int i = 0; i < nmrGlonass; ++i) sky.Add(GNSS::Glonass::Slot(i + 1), elevation(i + 2), Angle(1.9 * i + 1.0), 2);
    return sky;
}

// (A'A)^-1 word by word, from a design matrix row by row; null when there is none.
Matrix Definition(const Constellation& sky, bool withGlonass, bool heightAided) {
    const int g = sky.NmrSV();
    const int r = withGlonass && sky.NmrGlonassSV() >= 2 ? sky.NmrGlonassSV() : 0;
    const int unknowns = g > 0 && r > 0 ? 5 : 4;
    const int rows = g + r + (heightAided ? 1 : 0);
    if (rows < unknowns) return {};
    Matrix a(rows, unknowns);
    const auto set = [&a](int row, const auto& satellite, int clock) {
        const GNSS::Grid::Delta sight(GNSS::Grid::Polar(satellite.GetElevation(), satellite.GetAzimuth(), 1.0));
        const std::array values{sight.GetEast(), sight.GetNorth(), sight.GetHeight()};
        for (int i = 0; i < 3; ++i) a.SetValue(row, i, values[static_cast<std::size_t>(i)]);
        a.SetValue(row, clock, 1.0);
    };
    for (int i = 0; i < g; ++i) set(i, sky.GetSV(i), 3);
    for (int i = 0; i < r; ++i) set(g + i, sky.GetGlonassSV(i), unknowns - 1);
    if (heightAided) a.SetValue(rows - 1, 2, 1.0);
    return (a.Transpose() * a).Inverse();
}

TEST(DOP, CountsItsUnknowns) {
    struct Case {
        int nmrGPS, nmrGlonass;
        bool withGlonass, heightAided, valid;
    };
    for (const auto& [nmrGPS, nmrGlonass, withGlonass, heightAided, valid] :
         {Case{4, 0, false, false, true}, Case{3, 0, false, false, false}, Case{3, 0, false, true, true},
          Case{2, 9, false, true, false}, Case{4, 1, true, false, true}, Case{3, 1, true, false, false},
          Case{3, 1, true, true, true}, Case{3, 2, true, false, true}, Case{2, 2, true, true, true},
          Case{2, 2, true, false, false}, Case{1, 2, true, true, false}, Case{0, 5, true, false, true},
          Case{0, 5, false, false, false}, Case{0, 3, true, true, true}, Case{0, 0, true, true, false}}) {
        const Constellation sky = Sky(nmrGPS, nmrGlonass);
        DOP dop(1.0, 4.0, 9.0, 0.0);
        EXPECT_EQ(dop.Set(sky, withGlonass, heightAided), valid) << nmrGPS << " + " << nmrGlonass;
        const Matrix q = Definition(sky, withGlonass, heightAided);
        EXPECT_EQ(q.IsNull(), !valid);
        EXPECT_EQ(dop == DOP(), !valid);
        EXPECT_NEAR(dop.GetTDOP(), std::sqrt(q(3, 3) + q(4, 4)), 1e-9 * dop.GetTDOP());
        EXPECT_NEAR(dop.GetGDOP(), std::sqrt(q(0, 0) + q(1, 1) + q(2, 2) + q(3, 3) + q(4, 4)), 1e-9 * dop.GetGDOP());
    }
    const DOP dop(1.0, 4.0, 9.0, 0.0);
    EXPECT_EQ(dop.GetHDOP(), std::sqrt(5.0));
    EXPECT_EQ(dop.GetPDOP(), std::sqrt(14.0));
    EXPECT_EQ((std::array{dop.GetEDOP(), dop.GetNDOP(), dop.GetVDOP(), dop.GetTDOP()}), (std::array{1., 2., 3., 0.}));
}

// Strong, weak and singular geometries: all at one elevation, in one or two vertical planes, in few directions, and
// each of these blurred by as little as 1e-10 rad. What the definition calls singular is; rounding may decide otherwise
// only where the geometry stands at its limit, which is rare.
TEST(DOP, AgreesWithItsDefinitionOnAnyGeometry) {
    auto random = tests::MakeRandom();
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    int nmrValid = 0;
    int nmrWeak = 0;
    int nmrSingular = 0;
    int nmrAtLimit = 0;
    for (int n = 0; n < 9000; ++n) {
        const int shape = n % 6;
        const double blur = n % 4 == 0 ? 0.0 : std::pow(10.0, -10.0 * unit(random));
        const double first = 6.3 * unit(random);
        const double second = 1.5 * unit(random);
        Constellation sky;
        const int nmrSatellite = 3 + static_cast<int>(18.0 * unit(random));
        for (int i = 0; i < nmrSatellite; ++i) {
            double elevation = shape == 1 ? second : 12.0 * unit(random) - 6.0;
            double azimuth = shape == 2 || (shape == 3 && i % 2 == 0) ? first
                             : shape == 3                             ? second
                                                                      : 6.3 * unit(random);
            if (shape == 4) elevation = second + i % 3, azimuth = first + i % 3;
            elevation += blur * unit(random);
            azimuth += blur * unit(random);
            if (unit(random) < 0.6)
                AddGPS(sky, Angle(elevation), Angle(azimuth));
            else
                sky.Add(GNSS::Glonass::Slot(1), Angle(elevation), Angle(azimuth), 2);
        }
        const bool withGlonass = unit(random) < 0.7;
        const bool heightAided = unit(random) < 0.3;
        const DOP dop(sky, withGlonass, heightAided);
        const Matrix q = Definition(sky, withGlonass, heightAided);
        const double sum = q(0, 0) + q(1, 1) + q(2, 2) + q(3, 3) + q(4, 4);
        if (dop.IsValid() == q.IsNull()) {
            EXPECT_GT(std::max(sum, dop.GetGDOP() * dop.GetGDOP()), 1e10) << "shape " << shape << ", " << nmrSatellite;
            ++nmrAtLimit;
            continue;
        }
        nmrSingular += dop.IsValid() ? 0 : 1;
        if (!dop.IsValid()) continue;
        ++(sum > 1e6 ? nmrWeak : nmrValid);
        // The variances lose what the condition number takes, about 50 (n + 1) times their sum at most.
        const double tolerance = 1e-15 * (10.0 + 50.0 * nmrSatellite * sum) * sum;
        EXPECT_NEAR(dop.GetEDOP() * dop.GetEDOP(), q(0, 0), tolerance);
        EXPECT_NEAR(dop.GetNDOP() * dop.GetNDOP(), q(1, 1), tolerance);
        EXPECT_NEAR(dop.GetVDOP() * dop.GetVDOP(), q(2, 2), tolerance);
        EXPECT_NEAR(dop.GetTDOP() * dop.GetTDOP(), q(3, 3) + q(4, 4), tolerance);
    }
    std::cout << nmrValid << " strong, " << nmrWeak << " weak, " << nmrSingular << " singular, " << nmrAtLimit
              << " at the limit\n";
    EXPECT_LE(nmrAtLimit, 3);
    EXPECT_TRUE(nmrValid > 1000 && nmrWeak > 100 && nmrSingular > 1000);
}

TEST(DOP, DirectionsThatAreNoneMakeItInvalid) {
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [elevation, azimuth] : {std::pair(NaN, 0.5), std::pair(0.5, NaN), std::pair(0.5, HUGE_VAL)}) {
        Constellation sky = Sky(8, 0);
        AddGPS(sky, Angle(elevation), Angle(azimuth));
        EXPECT_FALSE(DOP(sky, false, true).IsValid());
    }
}

// Whatever the locale.
double ToDouble(const std::string& text) {
    double value = std::numeric_limits<double>::quiet_NaN();
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

using Rows = std::vector<std::vector<std::string>>;

Rows ReadCSV(const std::string& path) {
    Rows rows;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        rows.emplace_back();
        for (std::string field; std::getline(fields, field, ',');) rows.back().push_back(field);
    }
    if (!rows.empty()) rows.erase(rows.begin());  // the headings
    return rows;
}

// The satellites of each epoch whose mark is set, of the systems given. Places of: epoch, satellite, elevation,
// azimuth, mark.
std::map<std::string, Constellation> ReadSkies(const std::string& path, const std::string& systems,
                                               const std::array<std::size_t, 5>& places) {
    std::map<std::string, Constellation> skies;
    for (const auto& row : ReadCSV(path)) {
        if (row[places[4]] != "1" || systems.find(row[places[1]][0]) == std::string::npos) continue;
        AddGPS(skies[row[places[0]]], Angle::FromDegrees(ToDouble(row[places[2]])),
               Angle::FromDegrees(ToDouble(row[places[3]])));
    }
    return skies;
}

TEST(DOP, AgreesWithAnotherProgramAtEsbjerg) {
    GNSS_REQUIRE_TEST_DATA(azelPath, "reference/azel_esbc_2020177.csv");
    GNSS_REQUIRE_TEST_DATA(fixPath, "reference/spp_esbc_2020177_gps.csv");
    const auto skies = ReadSkies(azelPath, "G", {1, 2, 4, 3, 5});
    int nmrEpoch = 0;
    double largest = 0.0;
    for (const auto& row : ReadCSV(fixPath)) {
        const auto sky = skies.find(row[1]);
        if (sky == skies.end()) continue;
        ++nmrEpoch;
        ASSERT_EQ(sky->second.NmrSV(), ToDouble(row[9])) << row[1];
        const DOP dop(sky->second, false, false);
        const std::array figures{dop.GetGDOP(), dop.GetPDOP(), dop.GetHDOP(), dop.GetVDOP()};
        for (std::size_t i = 0; i < 4; ++i) largest = std::max(largest, std::abs(figures[i] - ToDouble(row[17 + i])));
    }
    std::cout << nmrEpoch << " epochs, largest difference " << largest << '\n';
    EXPECT_EQ(nmrEpoch, 96);
    EXPECT_LT(largest, 0.01);
}

// The receiver prints its directions in whole degrees, and reckons Galileo by one clock with GPS. Rounding directions
// (simulated) moves 5 % of all figures by more than 0.0077, of GDOP, PDOP and VDOP by more than 0.0098, 0.0087 and
// 0.0088. At the four epochs that differ most its figures are already those of the satellites of the next second.
TEST(DOP, AgreesWithTheReceiversOwn) {
    GNSS_REQUIRE_TEST_DATA(satPath, "reference/ubx_16dbatt_sats.csv");
    GNSS_REQUIRE_TEST_DATA(fixPath, "reference/ubx_16dbatt_fixes.csv");
    const auto skies = ReadSkies(satPath, "GE", {0, 1, 3, 4, 6});
    std::vector<double> differences;
    std::array<double, 7> sums{};
    for (const auto& row : ReadCSV(fixPath)) {
        const auto sky = skies.find(row[1]);
        if (row[4] != "3" || sky == skies.end()) continue;
        const DOP dop(sky->second, false, false);
        const std::array figures{dop.GetGDOP(), dop.GetPDOP(), dop.GetTDOP(), dop.GetVDOP(),
                                 dop.GetHDOP(), dop.GetNDOP(), dop.GetEDOP()};
        for (std::size_t i = 0; i < 7; ++i) {
            differences.push_back(std::abs(figures[i] - ToDouble(row[19 + i])));
            sums[i] += differences.back();
        }
    }
    ASSERT_EQ(differences.size(), 551U * 7U);
    std::sort(differences.begin(), differences.end());
    const double mean = *std::max_element(sums.begin(), sums.end()) / 551.0;
    const double most = differences[differences.size() * 95 / 100];
    std::cout << differences.size() << " figures of 551 epochs, mean difference of one figure up to " << mean
              << ", 95 % of all " << most << ", largest " << differences.back() << '\n';
    EXPECT_LT(mean, 0.005);
    EXPECT_LT(most, 0.008);
}

}  // namespace
