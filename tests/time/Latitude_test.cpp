// Latitude and Longitude: values and text.
#include "gnss/time/Latitude.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "gnss/time/Longitude.h"
#include "tests/support/Random.h"

using Corvane::Angle;
using Corvane::Degree;
using GNSS::Latitude;
using GNSS::Longitude;

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

struct ScanCase {
    const char* text;
    double degrees;         // NaN: the text is refused
    const char* rest = "";  // what stays in the stream
};

template <typename Value>
void ExpectScan(const ScanCase& c) {
    SCOPED_TRACE(c.text);
    const Value before(12.5);
    Value value = before;
    std::istringstream is(c.text);
    value.ScanFrom(is);
    if (std::isnan(c.degrees)) {
        EXPECT_TRUE(is.fail());
        EXPECT_EQ(value, before) << "a refused text moved the value";
        return;
    }
    EXPECT_FALSE(is.fail());
    EXPECT_NEAR(value.GetAngle().Degrees(), c.degrees, 1e-13);
    is.clear();
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(is), {}), c.rest);
}

template <typename Value>
Value ReadBack(const std::string& text) {
    std::istringstream is(text);
    Value value{Angle(NaN)};
    value.ScanFrom(is);
    EXPECT_FALSE(is.fail()) << text;
    EXPECT_EQ(is.peek(), std::char_traits<char>::eof()) << text;
    return value;
}

}  // namespace

TEST(Latitude, IsMadeFromDegreesMinutesSecondsAndLetter) {
    const double expected = 51.0 + 30.0 / 60.0 + 15.5 / 3600.0;
    EXPECT_DOUBLE_EQ(Latitude(51, 30, 15.5, 'N').GetAngle().Degrees(), expected);
    EXPECT_DOUBLE_EQ(Latitude(51, 30, 15.5, 'n').GetAngle().Degrees(), expected);
    EXPECT_DOUBLE_EQ(Latitude(51, 30, 15.5, 'S').GetAngle().Degrees(), -expected);
    EXPECT_DOUBLE_EQ(Latitude(51, 30, 15.5, '?').GetAngle().Degrees(), -expected);
    EXPECT_DOUBLE_EQ(Longitude(51, 30, 15.5, 'e').GetAngle().Degrees(), expected);
    EXPECT_DOUBLE_EQ(Longitude(51, 30, 15.5, 'N').GetAngle().Degrees(), -expected);
    EXPECT_DOUBLE_EQ(Longitude(190, 0, 0.0, 'E').GetAngle().Degrees(), -170.0);
    Latitude latitude;
    latitude = Degree(91.5);  // kept: only text is checked
    EXPECT_DOUBLE_EQ(latitude.GetAngle().Degrees(), 91.5);
    EXPECT_LT(Latitude(-1.0), Latitude(1.0));
    EXPECT_DOUBLE_EQ((Longitude(170.0) - Longitude(-170.0)).Degrees(), 340.0);
}

TEST(Longitude, NormalisesToHalfOpenRange) {
    struct Case {
        double given;
        double normal;
    };
    const Case cases[] = {{0.0, 0.0},       {180.0, 180.0},  {-180.0, 180.0},  {190.0, -170.0},  {-190.0, 170.0},
                          {360.0, 0.0},     {540.0, 180.0},  {-540.0, 180.0},  {719.0, -1.0},    {-719.0, 1.0},
                          {36180.0, 180.0}, {1080.25, 0.25}, {-1080.25, -.25}, {179.75, 179.75}, {-179.75, -179.75}};
    for (const Case& c : cases) EXPECT_NEAR(Longitude(c.given).GetAngle().Degrees(), c.normal, 1e-11) << c.given;
    EXPECT_EQ(Longitude(-180.0).GetAngle(), Angle::Straight);
    EXPECT_EQ(Longitude(Angle(0.1)).GetAngle().Radians(), 0.1);
    for (const double huge : {1e15, -1e30, 1e300}) {
        EXPECT_LE(std::abs(Longitude(huge).GetAngle().Degrees()), 180.0) << huge;
    }
    for (const double bad : {NaN, Infinity, -Infinity}) {
        EXPECT_TRUE(std::isnan(Longitude(bad).GetAngle().Radians())) << bad;
    }
}

TEST(Latitude, Prints) {
    struct Case {
        double degrees;
        int decimals;
        const char* latitude;
        const char* longitude;
    };
    const Case cases[] = {
        {51.5, 2, "51\xB0 30' 00.00\" N", "051\xB0 30' 00.00\" E"},
        {-0.25, 0, "00\xB0 15' 00\" S", "000\xB0 15' 00\" W"},
        {0.0, 1, "00\xB0 00' 00.0\" S", "000\xB0 00' 00.0\" W"},
        {1e-9, 1, "00\xB0 00' 00.0\" N", "000\xB0 00' 00.0\" E"},
        // 9.999999 degrees are 9 deg 59' 59.9964": carried at two decimals, not at three.
        {9.999999, 2, "10\xB0 00' 00.00\" N", "010\xB0 00' 00.00\" E"},
        {9.999999, 3, "09\xB0 59' 59.996\" N", "009\xB0 59' 59.996\" E"},
        {-9.9999, 0, "10\xB0 00' 00\" S", "010\xB0 00' 00\" W"},
        // A fifth has no finite binary form, and 51.2 as parts is 51 deg 11' 59.99999999999".
        {51.2, 5, "51\xB0 12' 00.00000\" N", "051\xB0 12' 00.00000\" E"},
        {51.2, -3, "51\xB0 12' 00\" N", "051\xB0 12' 00\" E"},
        {200.0, 0, "200\xB0 00' 00\" N", "160\xB0 00' 00\" W"},
        {NaN, 2, "00\xB0 00' nan\" S", "000\xB0 00' nan\" W"},
        {Infinity, 2, "00\xB0 00' inf\" N", "000\xB0 00' nan\" W"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Latitude(c.degrees).Print(c.decimals).str(), c.latitude) << c.degrees;
        EXPECT_EQ(Longitude(c.degrees).Print(c.decimals).str(), c.longitude) << c.degrees;
    }
}

TEST(Latitude, Scans) {
    const double london = 51.0 + 30.0 / 60.0 + 15.5 / 3600.0;
    const ScanCase cases[] = {
        {"51\xB0"
         "30'15.5\"N",
         london},
        {"51\xB0 30' 15.5\" N", london},
        {" \n51 \xB0\t30 '15.5 \"  n", london},
        {"+51\xB0"
         "30'15.5\"",
         london},
        {"51,30,15.5,s", -london},
        {"- 51,30,15.5", -london},
        {"-0,30", -0.5},
        {"51,30.25 S rest", -(51.0 + 30.25 / 60.0), " rest"},
        {"51.5", 51.5},
        {"51", 51.0},
        {"51\xB0N", 51.0},
        // A number with a fraction is the last, and so is one that only a blank follows.
        {"51.5,30", 51.5, "30"},
        {"51 30", 51.0, "30"},
        {"51.5,-0.25", 51.5, "-0.25"},
        {"51\n30", 51.0, "\n30"},
        // With a sign, no letter belongs to the value.
        {"-51 N", -51.0, "N"},
        {"90\xB0 0' 0\" N", 90.0},
        {"90S", -90.0},
        {"-90.0", -90.0},
        {"89,59,59.999999", 90.0 - 1e-6 / 3600.0},
        // Refused.
        {"", NaN},
        {"  ", NaN},
        {"-", NaN},
        {"N", NaN},
        {"+-5", NaN},
        {".5", NaN},
        {"nan", NaN},
        {"51 E", NaN},
        {"5e1", NaN},
        {"51\xC2\xB0 30' N", NaN},  // the degree sign in UTF-8
        {"91\xB0 0' 0\" N", NaN},
        {"90.0000001", NaN},
        {"90,0,0.001 S", NaN},
        {"45\xB0 60' 0\" N", NaN},
        {"45,59,60", NaN},
        {"45,60.0", NaN},
        {"99999999999999999999,0,0", NaN},
    };
    for (const ScanCase& c : cases) ExpectScan<Latitude>(c);
    EXPECT_EQ(ReadBack<Latitude>("90N").GetAngle(), Angle::Right);
    EXPECT_EQ(ReadBack<Latitude>("90S").GetAngle(), -Angle::Right);
}

TEST(Longitude, Scans) {
    const ScanCase cases[] = {
        {"000\xB0 15' 00\" W", -0.25},
        {"100,30 e", 100.5},
        {"180 E", 180.0},
        {"180\xB0 0' 0.0\" W", 180.0},
        {"-179.5", -179.5},
        {"5e3", 5.0, "3"},
        {"180.1", NaN},
        {"181,0,0 W", NaN},
        {"179,60,0", NaN},
        {"5 N", NaN},
        {"5 S", NaN},
        {"5 O", NaN},
    };
    for (const ScanCase& c : cases) ExpectScan<Longitude>(c);
}

TEST(Latitude, ReadsBackWhatItPrints) {
    std::mt19937_64 random = tests::MakeRandom();
    std::uniform_real_distribution<double> fraction(-1.0, 1.0);
    for (int i = 0; i < 2000; ++i) {
        const int decimals = i % 9;
        // Half of them a hair away from a whole minute, where the carry is.
        double x = fraction(random);
        if (i % 2 == 0) x = std::round(x * 5400.0) / 5400.0 + fraction(random) * 1e-8;
        const Latitude latitude(std::clamp(90.0 * x, -90.0, 90.0));
        const Longitude longitude(180.0 * x);
        const double half = (0.5 * std::pow(10.0, -decimals) + 1e-9) / 3600.0;
        const std::string latitudeText = latitude.Print(decimals).str();
        EXPECT_EQ(latitudeText.find("60'"), std::string::npos) << latitudeText;
        EXPECT_EQ(latitudeText.find(" 60"), std::string::npos) << latitudeText;
        EXPECT_NEAR(ReadBack<Latitude>(latitudeText).GetAngle().Degrees(), latitude.GetAngle().Degrees(), half);
        const Longitude back = ReadBack<Longitude>(longitude.Print(decimals).str());
        EXPECT_NEAR(std::remainder((back - longitude).Degrees(), 360.0), 0.0, half);
    }
}

TEST(Latitude, ChecksADegreeAgainstItsLimit) {
    struct Case {
        Degree degree;
        bool latitude;
        bool longitude;
    };
    const Case cases[] = {
        {Degree(89, 59, 59.9, true), true, true},
        {Degree(90, 0, 9e-13, false), true, true},
        {Degree(90, 0, 2e-12, false), false, true},
        {Degree(180, 0, 0.0, true), false, true},
        {Degree(180, 0, 2e-12, true), false, false},
        {Degree(10, 60, 0.0, false), false, false},
        {Degree(10, 0, 60.0, false), false, false},
        {Degree(10, 0, NaN, false), false, false},
        {Degree(NaN), false, false},
        {Degree(-Infinity), false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.degree.ToDegrees());
        Latitude latitude;
        Longitude longitude;
        std::istringstream first;
        std::istringstream second;
        latitude.SetFromDegree(c.degree, first);
        longitude.SetFromDegree(c.degree, second);
        EXPECT_EQ(!first.fail(), c.latitude);
        EXPECT_EQ(!second.fail(), c.longitude);
        EXPECT_EQ(latitude == Latitude(), !c.latitude);
        EXPECT_EQ(longitude == Longitude(), !c.longitude);
    }
    std::istream none(nullptr);
    none.clear(std::ios_base::goodbit);
    Latitude().SetFromDegree(Degree(91.0), none);
    EXPECT_TRUE(none.fail() && none.bad());
}

TEST(Latitude, ThrowsOnlyWhereTheStreamIsToldTo) {
    Latitude latitude(12.5);
    std::istringstream is("91 N");
    is.exceptions(std::ios_base::failbit);
    EXPECT_THROW(latitude.ScanFrom(is), std::ios_base::failure);
    EXPECT_EQ(latitude, Latitude(12.5));
}
