// gnss sky and the files of orbits: against what receivers say of their own sky, and the command as a whole.
#include <cmath>
#include <cstdio>

#include "host/cli/OrbitFiles.h"
#include "host/fix/SkyScan.h"
#include "tests/host/cli/CommandRun.h"
#include "tests/host/receiver/Table.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::GPSTime;
using Host::OrbitOrigin;

// How far the directions from a log are from those in the receiver's own table, at most, by the origin of the orbit.
struct Agreement {
    int nmr = 0;
    double worst = 0.0;  // degrees on the sky
};
class LogSky {
public:
    LogSky(const std::string& log, double latitude, double longitude, double height)
        : place_(GNSS::Geog(GNSS::Latitude(latitude), GNSS::Longitude(longitude), height), GNSS::Spheroid::WGS84) {
        EXPECT_TRUE(Host::ReadOrbits({log}, {}, source_, leaps_));
    }
    void Compare(char system, int number, const GPSTime& t, double elevation, double azimuth) {
        leaps_.SetFor(t);
        Host::OrbitState state;
        const auto sight = source_.Look(system, number, place_, t, state);
        if (!sight) return;
        const GNSS::Grid::Delta seen(
            GNSS::Grid::Polar(sight->direction.GetElevation(), sight->direction.GetAzimuth(), 1.0));
        const GNSS::Grid::Delta told(
            GNSS::Grid::Polar(Corvane::Angle::FromDegrees(elevation), Corvane::Angle::FromDegrees(azimuth), 1.0));
        Agreement& agreement = state.origin == OrbitOrigin::Almanac ? almanac_ : ephemeris_;
        ++agreement.nmr;
        const double apart = Corvane::Angle::ArcSin((seen - told).Magnitude() / 2.0).Degrees() * 2.0;
        agreement.worst = std::max(agreement.worst, apart);
    }
    // At least so many directions from each kind of data, all of them within a degree.
    void Expect(const char* name, int nmrEphemeris, int nmrAlmanac) const {
        std::printf("%s: %d by ephemeris within %.3f degrees, %d by almanac within %.3f\n", name, ephemeris_.nmr,
                    ephemeris_.worst, almanac_.nmr, almanac_.worst);
        EXPECT_GE(ephemeris_.nmr, nmrEphemeris);
        EXPECT_GE(almanac_.nmr, nmrAlmanac);
        EXPECT_LT(ephemeris_.worst, 1.0);
        EXPECT_LT(almanac_.worst, 1.0);
    }

private:
    Host::LeapRule leaps_;
    Host::OrbitSource source_;
    GNSS::LocalGrid place_;
    Agreement ephemeris_;
    Agreement almanac_;
};

void CompareUbx(const std::string& table, int week, LogSky& sky) {
    for (const tests::Row& row : tests::ReadTable(table)) {
        const std::string& sat = row.at("sat");
        if ((sat[0] != 'G' && sat[0] != 'R') || row.at("orbit_source") == "0") continue;
        sky.Compare(sat[0], std::stoi(sat.substr(1)), GPSTime(week, tests::Number(row.at("iTOW_ms_GPST")) / 1000.0),
                    tests::Number(row.at("elev_deg")), tests::Number(row.at("azim_deg")));
    }
}

// Receivers give whole degrees.
TEST(LogDirections, AreTheReceiversOwn) {
    GNSS_REQUIRE_TEST_DATA(gpsLog, "data/16dBatt_no_interference_coldstart.ubx.gz");
    GNSS_REQUIRE_TEST_DATA(gpsTable, "reference/ubx_16dbatt_sats.csv");
    LogSky gps(gpsLog, 47.2513, 5.9934, 400.0);
    CompareUbx(gpsTable, 2363, gps);
    gps.Expect("u-blox, GPS", 4500, 0);

    GNSS_REQUIRE_TEST_DATA(gloLog, "data/ublox-glo.ubx");
    GNSS_REQUIRE_TEST_DATA(gloTable, "reference/ubx_glo_sats.csv");
    LogSky glonass(gloLog, 55.6026, 37.5981, 200.0);
    CompareUbx(gloTable, 2268, glonass);
    glonass.Expect("u-blox, GLONASS", 1100, 1500);

    GNSS_REQUIRE_TEST_DATA(oemLog, "data/oemv_200911218.gps");
    GNSS_REQUIRE_TEST_DATA(oemTable, "reference/oemv_satvis.csv");
    LogSky both(oemLog, 35.872993, 138.389660, 1003.5);
    for (const tests::Row& row : tests::ReadTable(oemTable)) {
        const int number = static_cast<int>(tests::Number(row.at("novatel_prn")));
        const int week = static_cast<int>(tests::Number(row.at("gps_week")));
        if (week == 0 || number > 61 || (number > 32 && number < 38)) continue;
        both.Compare(number > 37 ? 'R' : 'G', number > 37 ? number - 37 : number,
                     GPSTime(week, tests::Number(row.at("tow_s_GPST"))), tests::Number(row.at("elev_deg")),
                     tests::Number(row.at("azim_deg")));
    }
    both.Expect("NovAtel", 600, 0);
}

using Sky = tests::CommandRun;

TEST_F(Sky, DrawsAndTabulatesADay) {
    GNSS_REQUIRE_TEST_DATA(navigation, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    const std::string sky =
        "\"$GNSS\" sky " + navigation + " --at 3582104.922,532590.181,5232755.363 --time 2020-06-25T12:00:00 ";
    ASSERT_EQ(Run(sky + "--form csv --disable G21,R19 --mask 15"), 0) << err_;
    // The directions of azel_esbc_2020177.csv at that time.
    EXPECT_NE(out_.find("satellite,G16,66.74,231.20,20583.6,healthy,ephemeris,0,"), std::string::npos) << out_;
    EXPECT_NE(out_.find("satellite,G21,80.51,135.55,20793.3,disabled,"), std::string::npos);
    EXPECT_NE(out_.find("satellite,R16,8.33,192.09,23846.6,below mask,"), std::string::npos);
    EXPECT_NE(err_.find("GPS: the files hold no orbits of G23\n"), std::string::npos) << err_;
    EXPECT_NE(err_.find("--output sky.svg"), std::string::npos);

    for (const char* picture : {"a.svg", "a.png --palette dark --density 2", "a.pdf --no-circles --azimuths turned2",
                                "b.svg --size 1", "b.png --size 300 --font-size 30 --north Nord --azimuths turned1"}) {
        ASSERT_EQ(Run(sky + "--mode gps --output " + picture), 0) << picture << err_;
        EXPECT_EQ(err_.find("--output"), std::string::npos);
    }
    EXPECT_EQ(Read("a.svg").substr(0, 5), "<?xml");
    EXPECT_EQ(Read("a.png").substr(1, 3), "PNG");
    EXPECT_EQ(Read("a.pdf").substr(0, 4), "%PDF");

    struct Refused {
        const char* arguments;
        int exitCode;
        const char* inMessage;
    };
    for (const Refused& row : {
             Refused{"--output a.bmp", 2, "'a.bmp'"},
             Refused{"--output a.png --size 20000", 1, "a.png"},
             Refused{"--size 0 --output a.svg", 2, "--size"},
             Refused{"--mask 90", 2, "--mask"},
             Refused{"--disable G33", 2, "'G33'"},
             Refused{"--azimuths x", 2, "--azimuths"},
         }) {
        EXPECT_EQ(Run(sky + row.arguments), row.exitCode) << row.arguments << err_;
        EXPECT_NE(err_.find(row.inMessage), std::string::npos) << row.arguments << err_;
    }
    for (const Refused& row : {Refused{"--time x", 2, "'x' is not a time"},
                               Refused{"--time 2021-01-01", 1, "the files' orbits are of 2020-06-24 "},
                               Refused{"", 2, "--time: say for which time"}}) {
        EXPECT_EQ(Run("\"$GNSS\" sky " + navigation + " --at 55,8,0 " + row.arguments), row.exitCode) << err_;
        EXPECT_NE(err_.find(row.inMessage), std::string::npos) << row.arguments << err_;
    }
    EXPECT_EQ(Run("echo x > x; \"$GNSS\" sky x --at 0,0,0 --time 2020-06-25"), 1);
    EXPECT_NE(err_.find("x: no navigation file"), std::string::npos) << err_;
}

// A log into the stores, and the sky by the almanac file that they leave behind.
TEST_F(Sky, ReadsTheStoresAlmanac) {
    GNSS_REQUIRE_TEST_DATA(log, "data/ublox-glo.ubx");
    ASSERT_EQ(Run("mkdir s; \"$GNSS\" store s " + log), 0) << err_;
    const std::string at = " --at 55.6026,37.5981,200 --time 2268:312749 --mode glonass --form csv ";
    ASSERT_EQ(Run("\"$GNSS\" sky s/almanac.alm" + at), 0) << err_;
    // The receiver sees R19 at 60 and 271 degrees.
    EXPECT_NE(out_.find("satellite,R19,60."), std::string::npos) << out_;
    EXPECT_NE(out_.find(",almanac,1,"), std::string::npos);
    EXPECT_NE(err_.find("by the almanac"), std::string::npos) << err_;
    ASSERT_EQ(Run("\"$GNSS\" sky s/almanac.alm " + log + at), 0) << err_;
    EXPECT_NE(out_.find(",ephemeris,"), std::string::npos) << out_;
}

}  // namespace
