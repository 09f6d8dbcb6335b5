#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "host/receiver/RinexNavigation.h"
#include "tests/host/receiver/RinexText.h"

using GNSS::GPSTime;
using Host::FileError;
using Host::RinexNavigation;
using namespace rinex;

TEST(RinexNavigation, RefusesWhatItCannotReadByName) {
    struct Case {
        std::string text;
        std::string error;
    };
    const Case cases[] = {
        {"", "file: is empty"},
        {"\n", "file:1: is not a RINEX file"},
        {std::string(1000, '\0'), "file:1: is not a RINEX file"},
        {Mixed + "no end\n", "file:2: ends before END OF HEADER"},
        {Replaced(Mixed, "3.04", "4.00") + End, "file:1: RINEX version '4.00' is not read"},
        {Replaced(Mixed, "3.04", "2.12") + End, "'2.12' is not read"},
        {Replaced(Mixed, "3.04", "1   ") + End, "'1' is not read"},
        {Replaced(Mixed, "3.04", "nan ") + End, "'nan' is not read"},
        {Replaced(Mixed, "NAVIGATION", "OBSERVATIO") + End, "type 'OBSERVATIO"},
        {Replaced(GPS2, "N: GPS NAV", "H: GEO NAV") + End, "type 'H: GEO NAV DATA' is not"},
    };
    for (const Case& c : cases) {
        RinexNavigation navigation;
        FileError error;
        EXPECT_FALSE(navigation.Parse(c.text, "file", error)) << c.text.substr(0, 80);
        EXPECT_NE(error.Print().find(c.error), std::string::npos) << error.Print();
    }
}

TEST(RinexNavigation, LeavesOutABadRecordAndReadsTheNext) {
    struct Case {
        const char* from;
        const char* to;
        const char* warning;
    };
    // Each spoils G07, which stands on the lines 3 to 10; G08 behind it must be read.
    const Case cases[] = {
        {"G07", "G33", "file:3: G33 left out: no such satellite"},
        {"G07", "G00", "file:3: G00 left out: no such satellite"},
        {"2021 03 04", "2021 02 29", "file:3: G07 left out: its epoch"},
        {"2021 03 04", "0021 03 04", "file:3: G07 left out: its epoch"},
        {"06 00 00", "06 00 61", "file:3: G07 left out: its epoch"},
        {"06 00 00", "06 ** 00", "file:3: G07 left out: its epoch"},
        {" 1.250000000000D-04", "*******************", "file:3: G07 left out: af0 is not a number: '*****"},
        {" 1.250000000000D-04", "                nan", "af0 is not a number"},
        {" 1.250000000000D-04", "               -inf", "af0 is not a number"},
        {" 1.250000000000D-04", " 1.250000000000D+999", "file:3: G07 left out: af0"},
        {" 1.250000000000D-04", " 1.250000000000D+04", "af0 is beyond the range"},
        {" 1.200000000000D+02", "                   ", "file:4: G07 left out: Crs is missing"},
        {" 1.200000000000D+02", "  1.20000 0000D+02 ", "file:4: G07 left out: Crs is not a number"},
        {" 1.000000000000D-02", "-1.000000000000D-02", "file:5: G07 left out: e is beyond the range"},
        {" 5.153600000000D+03\n", " 5.1536000\n", "file:5: G07 left out: the line is cut short inside sqrt(A)"},
        {" 5.153600000000D+03\n", "\n", "file:5: G07 left out: sqrt(A) is missing"},
        {" 5.153600000000D+03", " 0.000000000000D+00", "sqrt(A) is beyond the range"},
        {" 3.672000000000D+05", " 6.048000000000D+05", "file:6: G07 left out: toe is beyond the range"},
        {" 2.147000000000D+03", " 2.000000000000D+03", "file:8: G07 left out: week 2000 instead of 2147 contradicts"},
        {" 0.000000000000D+00-1.100000000000D-08", "                   -1.100000000000D-08",
         "file:9: G07 left out: health is missing"},
        {"     3.600060000000D+05 4.000000000000D+00\n", "", "file:9: G07 left out: has 7 of its 8 lines"},
        {"\n     3.672", "\nXX   3.672", "file:5: G07 left out: has 3 of its 8 lines"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.warning);
        const RinexNavigation navigation =
            Parsed(Mixed + End + Replaced(G07, c.from, c.to) + Replaced(G07, "G07", "G08"));
        EXPECT_NE(AllWarnings(navigation).find(c.warning), std::string::npos) << AllWarnings(navigation);
        EXPECT_EQ(navigation.nmrRefused, 1);
        ASSERT_EQ(navigation.gps.size(), 1U);
        EXPECT_EQ(navigation.gps[0].ephemeride.prn, 8);
    }
}

TEST(RinexNavigation, RepairsOrLeavesUnsetWhatIsOfLesserWeight) {
    using Status = GNSS::GPSEphemeride::Status;
    struct Case {
        const char* from;
        const char* to;
        std::string warning;  // none when empty
        int week, iodc, flags, ura, curveFit;
        bool hasTransmission;
    };
    constexpr int All = Status::Accuracy | Status::Health | Status::CurveFit | Status::L2Codes | Status::L2PData;
    const char* const fit = " 4.000000000000D+00";
    const char* const ura = " 2.800000000000D+00";
    const Case cases[] = {
        {"2.147000000000D+03", "9.900000000000D+01", "file:8: G07: week 99 instead of 2147, repaired", 2147, 17, All, 1,
         4, true},
        {"2.147000000000D+03", "2.146000000000D+03", "week 2146 instead of 2147, repaired", 2147, 17, All, 1, 4, true},
        {" 2.147000000000D+03", "                   ", "no week, taken from the date: 2147", 2147, 17, All, 1, 4, true},
        {fit, "", "", 2147, 17, All & ~Status::CurveFit, 1, 0, true},
        {fit, " 0.000000000000D+00", "", 2147, 17, All & ~Status::CurveFit, 1, 0, true},
        {fit, " 1.000000000000D+00", "", 2147, 17, All, 1, 6, true},
        {fit, " 8.000000000000D+00", "", 2147, 17, All, 1, 8, true},
        {fit, " 4.0", "file:10: G07: the line is cut short inside fit interval, ignored", 2147, 17,
         All & ~Status::CurveFit, 1, 0, true},
        {" 3.600060000000D+05", " 9.999000000000D+08", "", 2147, 17, All, 1, 4, false},
        {" 3.600060000000D+05", "-2.447940000000D+05", "", 2147, 17, All, 1, 4, true},
        {" 3.600060000000D+05", " 0.000000000000D+00", "", 2147, 17, All, 1, 4, false},
        {ura, "                   ", "", 2147, 17, All & ~Status::Accuracy, 15, 4, true},
        {ura, " 2.000000000000D+00", "", 2147, 17, All, 0, 4, true},
        {ura, " 1.600000000000D+01", "", 2147, 17, All, 6, 4, true},
        {ura, " 4.096000000000D+03", "", 2147, 17, All, 14, 4, true},
        {ura, " 8.192000000000D+03", "", 2147, 17, All, 15, 4, true},
        {" 1.700000000000D+01\n", "\n", "", 2147, 17, All, 1, 4, true},
        {" 1.700000000000D+01\n", " 2.730000000000D+02\n", "", 2147, 273, All, 1, 4, true},
        {" 1.700000000000D+01\n", " 1.800000000000D+01\n", "file:9: G07: IODC and IODE are of different issues", 2147,
         18, All, 1, 4, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " becomes " + c.to);
        const RinexNavigation navigation = Parsed(Mixed + End + Replaced(G07, c.from, c.to));
        if (c.warning.empty()) {
            EXPECT_EQ(AllWarnings(navigation), "");
        } else {
            EXPECT_NE(AllWarnings(navigation).find(c.warning), std::string::npos) << AllWarnings(navigation);
        }
        ASSERT_EQ(navigation.gps.size(), 1U);
        const GNSS::GPSEphemeride& eph = navigation.gps[0].ephemeride;
        EXPECT_EQ(eph.reference, GPSTime(c.week, 367200.0));
        EXPECT_EQ(eph.clock.IODC, c.iodc);
        EXPECT_TRUE(eph.status.IsValid(c.flags));
        EXPECT_EQ(eph.status.IsValid(Status::CurveFit), (c.flags & Status::CurveFit) != 0);
        EXPECT_EQ(eph.status.IsValid(Status::Accuracy), (c.flags & Status::Accuracy) != 0);
        EXPECT_EQ(eph.status.GetURA(), c.ura);
        EXPECT_EQ(eph.status.GetCurveFit(), c.curveFit);
        EXPECT_EQ(navigation.gps[0].transmission.has_value(), c.hasTransmission);
        if (c.hasTransmission) {
            EXPECT_EQ(*navigation.gps[0].transmission, GPSTime(2147, 360006.0));
        }
    }
}

TEST(RinexNavigation, ReadsGlonassOddities) {
    struct Case {
        const char* from;
        const char* to;
        std::optional<int> channel;
        bool isHealthy;
        std::string warning;
    };
    const Case cases[] = {
        {"-4.000000000000D+00", " 2.800000000000D+01", -4, true, ""},
        {"-4.000000000000D+00", " 2.520000000000D+02", -4, true, ""},
        {"-4.000000000000D+00", "                   ", std::nullopt, true, ""},
        {"-4.000000000000D+00", " 1.400000000000D+01", std::nullopt, true,
         "file:5: R05: frequency channel 14, ignored"},
        {" 0.000000000000D+00\n", " 1.000000000000D+00\n", -4, false, ""},
        {" 0.000000000000D+00\n", " 4.000000000000D+00\n", -4, false, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " becomes " + c.to);
        const RinexNavigation navigation = Parsed(Mixed + End + Replaced(R05, c.from, c.to));
        ASSERT_EQ(navigation.glonass.size(), 1U);
        EXPECT_EQ(navigation.glonass[0].channel, c.channel);
        EXPECT_EQ(navigation.glonass[0].ephemeride.status.IsHealthy(), c.isHealthy);
        EXPECT_EQ(AllWarnings(navigation), c.warning.empty() ? "" : c.warning + "\n");
    }
    const RinexNavigation odd = Parsed(Mixed + End + Replaced(R05, "06 15 00", "06 10 00"));
    EXPECT_NE(AllWarnings(odd).find("R05 left out: its epoch is not a quarter of an hour"), std::string::npos);
    const RinexNavigation twoDigits = Parsed(Glonass2 + End + AsVersion2(R05));
    EXPECT_EQ(twoDigits.glonass.size(), 1U) << AllWarnings(twoDigits);
}

TEST(RinexNavigation, KeepsTheFirstThousandWarnings) {
    std::string text = Mixed + End;
    for (int i = 0; i < 1500; ++i) text += "G07 2021\n";
    const RinexNavigation navigation = Parsed(text);
    EXPECT_EQ(navigation.warnings.GetCount(), 1500);
    EXPECT_EQ(navigation.warnings.GetKept().size(), 1000U);
}
