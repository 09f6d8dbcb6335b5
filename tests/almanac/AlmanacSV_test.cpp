// The GPS almanac: positions against ephemerides.
#include "gnss/almanac/AlmanacSV.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeride.h"
#include "tests/almanac/Reference.h"

namespace {

using Corvane::Angle;
using Corvane::Time;
using GNSS::Almanac;
using GNSS::ECEF;
using GNSS::GPSTime;
using tests::Table;

Almanac::SV FromRow(const Table& table, std::size_t row, const GPSTime& near) {
    Almanac::SV sv;
    sv.prn.Set(static_cast<int>(table.Get(row, "prn")));
    sv.toa = near.GetClosest(table.Get(row, "toa_s"));
    sv.health = static_cast<int>(table.Get(row, "health8"));
    sv.e = table.Get(row, "ecc");
    sv.i = Angle::FromSemiCircles(0.3 + table.Get(row, "delta_i_semicycle"));
    sv.OmegaDot = Angle::FromSemiCircles(table.Get(row, "omegadot_semicycle_ps"));
    sv.sqrtA = table.Get(row, "sqrtA_sqrt_m");
    sv.Omega0 = Angle::FromSemiCircles(table.Get(row, "omega0_semicycle"));
    sv.w = Angle::FromSemiCircles(table.Get(row, "omega_semicycle"));
    sv.M0 = Angle::FromSemiCircles(table.Get(row, "M0_semicycle"));
    sv.af0 = table.Get(row, "af0_s");
    sv.af1 = table.Get(row, "af1_sps");
    return sv;
}

// Satellite 1 of the log of 25 April 2025.
Almanac::SV Example() {
    Almanac::SV sv;
    sv.prn = 1;
    sv.time = GPSTime(2363, 455900.0);
    sv.toa = GPSTime(2363, 589824.0);
    sv.health = 63;
    sv.e = 4.959106445312e-04;
    sv.i = Angle::FromSemiCircles(0.305447387695312);
    sv.OmegaDot = Angle::FromSemiCircles(-2.542947186157e-09);
    sv.sqrtA = 5153.6796875;
    sv.Omega0 = Angle::FromSemiCircles(0.7933305501938);
    sv.w = Angle::FromSemiCircles(0.03776383399963);
    sv.M0 = Angle::FromSemiCircles(-0.8541887998581);
    sv.af0 = 2.374649047852e-04;
    sv.af1 = 1.455191522837e-11;
    return sv;
}

// The GPS records of a RINEX 3 navigation file, orbits only.
std::vector<GNSS::GPSEphemeride> ReadEphemerides(const std::string& path) {
    std::vector<GNSS::GPSEphemeride> records;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.size() < 80 || line[0] != 'G' || line[3] != ' ') continue;
        GNSS::GPSEphemeride record;
        record.prn.Set(std::stoi(line.substr(1, 2)));
        std::vector<double> values;  // the numbers of the lines after the first
        for (int i = 0; i < 7 && std::getline(file, line); ++i) {
            line.resize(80, ' ');
            std::replace(line.begin(), line.end(), 'D', 'e');
            for (std::size_t at = 4; at < 80; at += 19) {
                std::istringstream text(line.substr(at, 19));
                text.imbue(std::locale::classic());
                double value = 0.0;
                text >> value;
                values.push_back(value);
            }
        }
        auto& posn = record.posn;
        posn.Crs = values[1];
        const std::pair<Angle*, std::size_t> angles[] = {
            {&posn.deltaN, 2}, {&posn.M0, 3},        {&posn.Cuc, 4},   {&posn.Cus, 6},
            {&posn.Cic, 9},    {&posn.Omega0, 10},   {&posn.Cis, 11},  {&posn.i0, 12},
            {&posn.omega, 14}, {&posn.OmegaDot, 15}, {&posn.IDOT, 16},
        };
        for (const auto& [angle, index] : angles) *angle = Angle(values[index]);
        posn.e = values[5];
        posn.sqrtA = values[7];
        posn.toe = record.clock.toc = values[8];
        posn.Crc = values[13];
        record.reference = GPSTime(static_cast<int>(values[18]), posn.toe);
        records.push_back(record);
    }
    return records;
}

// Half of the almanacs have their reference time in the week after the ephemerides.
TEST(AlmanacSV, LiesWithinKilometresOfTheEphemerides) {
    GNSS_REQUIRE_TEST_DATA(almanacs, "reference/gps_alm_16dbatt.csv");
    GNSS_REQUIRE_TEST_DATA(navigation, "reference/decoded_16dbatt.nav");
    const Table almanac(almanacs);
    int compared = 0;
    for (const auto& ephemeride : ReadEphemerides(navigation)) {
        for (std::size_t row = 0; row < almanac.NmrRows(); ++row) {
            const Almanac::SV sv = FromRow(almanac, row, ephemeride.GetTOE());
            if (sv.prn != ephemeride.prn) continue;
            GNSS::GPSEphemeride::Result result;
            ASSERT_TRUE(ephemeride.CalculatePosn(ephemeride.GetTOE(), result) && result.valid);
            ECEF posn;
            sv.CalculatePosn(ephemeride.GetTOE(), posn);
            EXPECT_LT((posn - result.posn).Magnitude(), 4000.0) << sv.prn.Print();
            ++compared;
        }
    }
    EXPECT_GE(compared, 20);
}

// The almanac model is the ephemeris model with every correction at zero.
TEST(AlmanacSV, IsAnEphemerisWithoutCorrections) {
    const Almanac::SV sv = Example();
    GNSS::GPSEphemeride ephemeride;
    ephemeride.reference = sv.toa;
    ephemeride.posn.toe = sv.toa.GetSeconds();
    ephemeride.posn.sqrtA = sv.sqrtA;
    ephemeride.posn.e = sv.e;
    ephemeride.posn.M0 = sv.M0;
    ephemeride.posn.Omega0 = sv.Omega0;
    ephemeride.posn.i0 = sv.i;
    ephemeride.posn.omega = sv.w;
    ephemeride.posn.OmegaDot = sv.OmegaDot;
    ephemeride.clock.toc = sv.toa.GetSeconds();
    ephemeride.clock.af0 = sv.af0;
    ephemeride.clock.af1 = sv.af1;
    for (const double dt : {-7200.0, -1.0, 0.0, 3600.0, 7200.0}) {
        ECEF posn;
        double clockOffset = 0.0;
        ASSERT_TRUE(sv.CalculatePosn(sv.toa + Time(dt), posn, clockOffset));
        GNSS::GPSEphemeride::Result result;
        ASSERT_TRUE(ephemeride.CalculatePosn(sv.toa + Time(dt), result));
        EXPECT_LT((posn - result.posn).Magnitude(), 1e-6) << dt;
        EXPECT_NEAR(clockOffset, result.clockCorrection, 1e-17) << dt;
    }
}

TEST(AlmanacSV, LiftsANegativeAnomalyOnce) {
    Almanac::SV sv;
    sv.M0 = Angle(-1.0);
    const double turn = 2.0 * GNSS::GPSPi;
    EXPECT_DOUBLE_EQ(sv.MeanAnomaly(Time(0.0), Angle(1.0)).Radians(), turn - 1.0);
    EXPECT_DOUBLE_EQ(sv.MeanAnomaly(Time(-9.0), Angle(1.0)).Radians(), turn - 10.0);  // still negative
    EXPECT_DOUBLE_EQ(sv.MeanAnomaly(Time(20.0), Angle(1.0)).Radians(), 19.0);         // nor taken back to a turn
    EXPECT_DOUBLE_EQ(sv.EccentricAnomaly(Angle(2.5)).Radians(), 2.5);                 // a circle
    EXPECT_DOUBLE_EQ(sv.EccentricAnomaly(Angle(-2.5)).Radians(), -2.5);
}

TEST(AlmanacSV, AnswersGarbageWithNaN) {
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    for (const double bad : {NaN, Infinity, -Infinity}) {
        for (double Almanac::SV::*field : {&Almanac::SV::e, &Almanac::SV::sqrtA}) {
            Almanac::SV sv = Example();
            sv.*field = bad;
            ECEF posn;
            EXPECT_TRUE(sv.CalculatePosn(sv.toa, posn));
            EXPECT_TRUE(std::isnan(posn.GetX())) << bad;
        }
    }
    ECEF posn;
    EXPECT_TRUE(Almanac::SV().CalculatePosn(GPSTime(1, 0.0), posn));
    EXPECT_TRUE(std::isnan(posn.GetX()));
}

TEST(AlmanacSV, StandsInTheFileAsLaidDown) {
    const Almanac::SV sv = Example();
    tests::ExpectFileForm(sv, 2 + 2 * (2 + 8) + 2 + 9 * 8, {1, 0, 0x3b, 9});
    tests::ExpectReadsAllOrNothing(sv);
    EXPECT_TRUE(tests::ReadBack(Almanac::SV()).prn.IsNull()) << "not PRN 32";
}

}  // namespace
