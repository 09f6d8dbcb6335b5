// Lines of sight: against a satellite that moves freely of the earth's turn, and against what a program of the field
// makes of a day's ephemerides.
#include "host/fix/LineOfSight.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <numbers>
#include <sstream>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/position/DOP.h"
#include "host/fix/SkyScan.h"
#include "host/receiver/FileText.h"
#include "tests/host/receiver/NavigationData.h"
#include "tests/host/receiver/Table.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::ECEF;
using GNSS::GPSTime;
using GNSS::LocalGrid;
using Host::OrbitState;

// In the inertial frame that agrees with the earth's at a time, a signal goes straight: nothing has to be turned.
TEST(LineOfSight, IsStraightInSpace) {
    const double rate = GNSS::GPSEphemeride::EarthRate.Radians();
    const GPSTime reception(2111, 604799.97);  // the flight goes over the end of a week backwards
    const double radius = 26560e3;
    for (int i = 0; i < 24; ++i) {
        const double phase = i * std::numbers::pi / 12.0;
        // A circle inclined by 55 degrees, in space.
        const auto inSpace = [&](double t) {
            const double u = phase + t * 1.4585e-4;
            return ECEF::Delta(radius * std::cos(u), radius * std::sin(u) * std::cos(0.96),
                               radius * std::sin(u) * std::sin(0.96));
        };
        const auto earthFixed = [&](const GPSTime& at, ECEF& posn) {
            const double t = (at - reception).Seconds();
            const ECEF::Delta p = inSpace(t);
            posn = ECEF(p.GetX() * std::cos(rate * t) + p.GetY() * std::sin(rate * t),
                        p.GetY() * std::cos(rate * t) - p.GetX() * std::sin(rate * t), p.GetZ());
            return true;
        };
        const LocalGrid place(GNSS::Geog(GNSS::Latitude(10.0 * i - 80.0), GNSS::Longitude(0.0), 100.0),
                              GNSS::Spheroid::WGS84);
        const auto sight = Host::FindLineOfSight(place, reception, earthFixed);
        ASSERT_TRUE(sight);
        const ECEF::Delta way = inSpace(-sight->flight) - (place.GetOriginECEF() - ECEF());
        EXPECT_NEAR(sight->range, way.Magnitude(), 1e-5);
        EXPECT_NEAR(sight->flight, sight->range / GNSS::LightSpeed, 1e-9);
        EXPECT_NEAR((reception - sight->transmission).Seconds(), sight->flight, 1e-9);
        const GNSS::Grid::Delta there(sight->direction);
        EXPECT_NEAR(there.GetEast(), way.Dot(place.GetEast()), 1e-4);
        EXPECT_NEAR(there.GetNorth(), way.Dot(place.GetNorth()), 1e-4);
        EXPECT_NEAR(there.GetHeight(), way.Dot(place.GetUp()), 1e-4);
    }
}

TEST(LineOfSight, RefusesWhatHasNoWay) {
    const LocalGrid place(GNSS::Geog(), GNSS::Spheroid::WGS84);
    const LocalGrid nowhere(GNSS::Geog(GNSS::Latitude(std::nan("")), GNSS::Longitude(0.0), 0.0), GNSS::Spheroid::WGS84);
    const GPSTime t(2111, 0.0);
    const auto at = [](double x) {
        return [x](const GPSTime&, ECEF& posn) {
            posn = ECEF(x, 0.0, 0.0);
            return true;
        };
    };
    EXPECT_TRUE(Host::FindLineOfSight(place, t, at(26.6e6)));
    EXPECT_FALSE(Host::FindLineOfSight(nowhere, t, at(26.6e6)));
    EXPECT_FALSE(Host::FindLineOfSight(LocalGrid(), t, at(26.6e6)));
    EXPECT_FALSE(Host::FindLineOfSight(place, t, at(1.6e8)));
    EXPECT_FALSE(Host::FindLineOfSight(place, t, at(std::numeric_limits<double>::infinity())));
    EXPECT_FALSE(Host::FindLineOfSight(place, t, at(std::nan(""))));
    EXPECT_FALSE(Host::FindLineOfSight(place, t, [](const GPSTime&, ECEF&) { return false; }));
    int calls = 0;
    EXPECT_FALSE(Host::FindLineOfSight(place, t, [&calls](const GPSTime&, ECEF& posn) {
        posn = ECEF(++calls % 2 == 0 ? 20e6 : 26e6, 0.0, 0.0);  // never where it was
        return true;
    }));
    EXPECT_LT(calls, 20);
}

class ESBC : public ::testing::Test {
protected:
    bool Load(const std::string& path) {
        const Host::RinexNavigation navigation = tests::ReadNavigation(path);
        source_.Add(navigation, path);
        source_.Complete();
        // As the file's header has them.
        GPSTime::SetUTCParam(GPSTime::Zero, 18, 18);
        return source_.GetSpan().has_value();
    }
    Host::OrbitSource source_;
    const LocalGrid place_{ECEF(3582104.9217, 532590.1813, 5232755.3632), GNSS::Spheroid::WGS84};
};

TEST_F(ESBC, DirectionsAreThoseOfAnotherProgram) {
    GNSS_REQUIRE_TEST_DATA(navigation, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    GNSS_REQUIRE_TEST_DATA(reference, "reference/azel_esbc_2020177.csv");
    ASSERT_TRUE(Load(navigation));
    int nmr[2] = {};
    double worst[2] = {};
    for (const tests::Row& row : tests::ReadTable(reference)) {
        const GPSTime t(static_cast<int>(tests::Number(row.at("gps_week"))), tests::Number(row.at("tow_s_GPST")));
        const std::string& sat = row.at("sat");
        OrbitState state;
        const auto sight = source_.Look(sat[0], std::stoi(sat.substr(1)), place_, t, state);
        ASSERT_TRUE(sight) << sat << ' ' << row.at("tow_s_GPST");
        const double elevation = sight->direction.GetElevation().Degrees() - tests::Number(row.at("elev_deg"));
        const double azimuth =
            std::remainder(sight->direction.GetAzimuth().Degrees() - tests::Number(row.at("azim_deg")), 360.0);
        const int system = sat[0] == 'G' ? 0 : 1;
        ++nmr[system];
        worst[system] = std::max({worst[system], std::abs(elevation), std::abs(azimuth)});
        EXPECT_LT(std::abs(elevation), 0.01) << sat << ' ' << row.at("tow_s_GPST");
        EXPECT_LT(std::abs(azimuth), 0.01) << sat << ' ' << row.at("tow_s_GPST");
    }
    std::printf("directions: %d GPS within %.5f degrees, %d GLONASS within %.5f\n", nmr[0], worst[0], nmr[1], worst[1]);
    EXPECT_GT(nmr[0], 1000);
    EXPECT_GT(nmr[1], 700);
}

// The GPS satellites with a C1C observation at each epoch of a RINEX 3 observation file in which it is the first kind.
std::map<double, std::uint64_t> ReadWithC1C(const std::string& path) {
    std::map<double, std::uint64_t> measured;
    Host::FileText file;
    Host::FileError error;
    EXPECT_TRUE(file.Open(path, error));
    std::istringstream text{std::string(file.Text())};
    std::uint64_t* epoch = nullptr;
    for (std::string line; std::getline(text, line);) {
        if (line[0] == '>') {
            const auto number = [&line](std::size_t at) { return std::stoi(line.substr(at, 2)); };
            const double ofDay = number(13) * 3600.0 + number(16) * 60.0 + number(19);
            epoch = &measured[345600.0 + ofDay];  // a Thursday
        } else if (epoch != nullptr && line[0] == 'G' && line.size() > 16 && line[16] != ' ') {
            *epoch |= std::uint64_t{1} << std::stoi(line.substr(1, 2));
        }
    }
    return measured;
}

TEST_F(ESBC, DopIsThatOfAnotherProgram) {
    GNSS_REQUIRE_TEST_DATA(navigation, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    GNSS_REQUIRE_TEST_DATA(observations, "data/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz");
    GNSS_REQUIRE_TEST_DATA(reference, "reference/spp_esbc_2020177_gps.csv");
    ASSERT_TRUE(Load(navigation));
    const auto measured = ReadWithC1C(observations);
    Host::SkyRules rules;
    rules.mode = GNSS::DopArt::GPSOnly;
    rules.mask = Corvane::Angle::FromDegrees(10.0);
    int nmr = 0;
    int nmrCompared = 0;
    double worst = 0.0;
    std::vector<Host::SkySatellite> sky;
    for (const tests::Row& row : tests::ReadTable(reference)) {
        const double seconds = tests::Number(row.at("tow_s_GPST"));
        ++nmr;
        rules.disabledGPS = ~measured.at(seconds);
        Host::ScanSky(source_, place_, GPSTime(2111, seconds), rules, sky);
        const GNSS::Constellation used = MakeConstellation(sky, Host::SkyPart::Usable);
        if (used.NmrSV() != static_cast<int>(tests::Number(row.at("ns_gps")))) continue;
        ++nmrCompared;
        const GNSS::DOP dop(used, false, false);
        ASSERT_TRUE(dop.IsValid());
        const std::pair<const char*, double> figures[] = {
            {"gdop", dop.GetGDOP()}, {"pdop", dop.GetPDOP()}, {"hdop", dop.GetHDOP()}, {"vdop", dop.GetVDOP()}};
        for (const auto& [name, figure] : figures) {
            const double difference = std::abs(figure - tests::Number(row.at(name)));
            worst = std::max(worst, difference);
            EXPECT_LT(difference, 0.01) << name << ' ' << seconds;
        }
    }
    std::printf("DOP: the same satellites at %d of %d epochs, there within %.5f\n", nmrCompared, nmr, worst);
    EXPECT_GT(nmrCompared, 2700);
}

}  // namespace
