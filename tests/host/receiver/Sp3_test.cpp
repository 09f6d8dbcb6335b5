#include "host/receiver/Sp3.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "tests/host/receiver/Table.h"
#include "tests/support/TestData.h"

using GNSS::ECEF;
using GNSS::GPSTime;
using Host::FileError;
using Host::Sp3;
using tests::Number;

namespace {

const std::string First = "#cV2021  3  4  6  0  0.00000000       2 ORBIT IGS14 FIT  OWN\n";
const std::string Header =
    "## 2147 367200.00000000   900.00000000 59277 0.2500000000000\n"
    "+    3   G07R05E11  0  0  0  0  0  0  0  0  0  0  0  0  0  0\n"
    "++         3  4  5  0  0  0  0  0  0  0  0  0  0  0  0  0  0\n"
    "%c M  cc GPS ccc cccc cccc cccc cccc ccccc ccccc ccccc ccccc\n"
    "%c cc cc ccc ccc cccc cccc cccc cccc ccccc ccccc ccccc ccccc\n"
    "/* own text\n";
const std::string Epoch1 =
    "*  2021  3  4  6  0  0.00000000\n"
    "PG07  15000.000001 -20000.500000   8000.250000    125.500000  7  6  8 110 EP  MP\n"
    "VG07   1000.500000  -2000.000000  25000.000000     -0.250000\n"
    "PR05      0.000000      0.000000      0.000000 999999.999999\n"
    "VR05      0.000000      0.000000      0.000000 999999.999999\n"
    "PE11  20000.000000  10000.000000   5000.000000      1.000000\n"
    "VE11      0.000000      0.000000      0.000000 999999.999999\n";
const std::string Epoch2 =
    "*  2021  3  4  6 15  0.00000000\n"
    "EP  55   55   55  222\n"
    "PG07  15100.000000 -20100.000000   8100.000000    125.600000\n"
    "PR05  -1000.000000   2000.000000  25000.000000\n";
const std::string Eof = "EOF\n";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

Sp3 Parsed(const std::string& text) {
    Sp3 sp3;
    FileError error;
    EXPECT_TRUE(sp3.Parse(text, "file", error)) << error.Print();
    return sp3;
}

std::string AllWarnings(const Sp3& sp3) {
    std::string all;
    for (const auto& entry : sp3.warnings.GetKept()) all += sp3.warnings.Print(entry) + "\n";
    return all;
}

}  // namespace

TEST(Sp3, ReadsPositionsVelocitiesAndClocks) {
    const Sp3 sp3 = Parsed(First + Header + Epoch1 + Epoch2 + Eof);
    EXPECT_EQ(AllWarnings(sp3), "");
    EXPECT_EQ(sp3.version, 'c');
    EXPECT_TRUE(sp3.hasVelocities);
    EXPECT_EQ(sp3.interval, 900.0);
    EXPECT_EQ(sp3.frame, "IGS14");
    EXPECT_EQ(sp3.agency, "OWN");
    EXPECT_EQ(sp3.GetNmrSatellites('G'), 1);
    EXPECT_EQ(sp3.GetNmrSatellites('E'), 1);
    EXPECT_EQ(sp3.GetSkipped('E'), 1);
    ASSERT_EQ(sp3.GetNmrEpochs(), 2U);
    EXPECT_EQ(sp3.GetTime(1), GPSTime(2147, 368100.0));
    ASSERT_EQ(sp3.GetStates(0).size(), 2U);

    const Sp3::State* gps = sp3.Find(0, 'G', 7);
    ASSERT_TRUE(gps && gps->posn && gps->clock && gps->vely && gps->clockRate);
    EXPECT_EQ(*gps->posn, ECEF(15000000.001, -20000500.0, 8000250.0));
    EXPECT_DOUBLE_EQ(*gps->clock, 125.5e-6);
    EXPECT_DOUBLE_EQ(gps->vely->GetX(), 100.05);
    EXPECT_DOUBLE_EQ(*gps->clockRate, -0.25e-10);
    EXPECT_TRUE(gps->isClockEvent && gps->isClockPredicted && gps->isManoeuvre && gps->isOrbitPredicted);

    const Sp3::State* glonass = sp3.Find(0, 'R', 5);
    ASSERT_NE(glonass, nullptr);
    EXPECT_FALSE(glonass->posn || glonass->clock || glonass->vely || glonass->clockRate);
    ASSERT_NE(sp3.Find(1, 'R', 5), nullptr);  // a line without a clock
    EXPECT_TRUE(sp3.Find(1, 'R', 5)->posn);
    EXPECT_FALSE(sp3.Find(1, 'R', 5)->clock);
    EXPECT_EQ(sp3.Find(0, 'G', 5), nullptr);
}

TEST(Sp3, BringsEveryTimeScaleToGPS) {
    struct Case {
        const char* scale;
        double seconds;
    };
    const Case cases[] = {{"GPS", 367200.0}, {"GAL", 367200.0}, {"QZS", 367200.0}, {"ccc", 367200.0},
                          {"TAI", 367181.0}, {"BDT", 367214.0}, {"UTC", 367218.0}, {"GLO", 367218.0}};
    for (const Case& c : cases) {
        const std::string header = Replaced(Header, "cc GPS", std::string("cc ") + c.scale);
        std::string text = First;
        text.append(header).append(Epoch1).append(Epoch2).append(Eof);
        const Sp3 sp3 = Parsed(text);
        ASSERT_EQ(sp3.GetNmrEpochs(), 2U);
        EXPECT_EQ(sp3.GetTime(0), GPSTime(2147, c.seconds)) << c.scale;
    }
}

TEST(Sp3, RefusesWhatItCannotReadByName) {
    struct Case {
        std::string text;
        std::string error;
    };
    const Case cases[] = {
        {"", "file: is empty"},
        {"#c\n", "file:1: is not an SP3 file"},
        {Replaced(First, "#c", "#b") + Header, "file:1: SP3 version 'b' is not read"},
        {First + Replaced(Header, "GPS", "XYZ") + Epoch1, "file:5: its time scale 'XYZ' is not known"},
    };
    for (const Case& c : cases) {
        Sp3 sp3;
        FileError error;
        EXPECT_FALSE(sp3.Parse(c.text, "file", error));
        EXPECT_NE(error.Print().find(c.error), std::string::npos) << error.Print();
    }
}

TEST(Sp3, LeavesOutBadLinesAndReadsTheNext) {
    struct Case {
        std::string text;
        std::size_t nmrEpochs, nmrStates;  // in all
        std::int64_t nmrRefused;
        std::string warning;  // none when empty
    };
    const std::string begin = First + Header;
    const Case cases[] = {
        {begin + Epoch1 + Epoch2, 2, 4, 0, "file:18: ends without EOF"},
        {begin + Epoch1 + Eof, 1, 2, 0, "file: holds 1 epochs, its header says 2"},
        {begin + Epoch1 + Epoch1 + Epoch2 + Eof, 2, 4, 0, "file:15: epoch left out: not later"},
        {begin + Epoch2 + Epoch1 + Eof, 1, 2, 0, "file:12: epoch left out: not later"},
        {begin + Replaced(Epoch1, "3  4  6", "3 xx  6") + Epoch2 + Eof, 1, 2, 0, "file:8: epoch left out: not a date"},
        {begin + Replaced(Epoch1, "PG07  15000.000001", "PG07  15x00.000001") + Epoch2 + Eof, 2, 3, 1,
         "file:9: 'PG07' left out: a coordinate is not a number: '15x00.000001'"},
        {begin + Replaced(Epoch1, "PG07  15000.000001", "PG07 **************") + Epoch2 + Eof, 2, 3, 1,
         "file:9: 'PG07'"},
        {begin + Replaced(Epoch1, "PG07  15000.000001", "PG07 9e300        ") + Epoch2 + Eof, 2, 3, 1,
         "file:9: 'PG07'"},
        {begin + Replaced(Epoch1, " 125.500000  7", " 12x.500000  7") + Epoch2 + Eof, 2, 4, 0,
         "file:9: the clock is not"},
        {begin + Replaced(Epoch1, "PG07", "PG33") + Epoch2 + Eof, 2, 3, 1,
         "file:9: 'PG33' left out: no such satellite"},
        {begin + Replaced(Epoch1, "PE11", "PG07") + Epoch2 + Eof, 2, 4, 1, "file:13: 'PG07' left out: second time"},
        {begin + Replaced(Epoch1, "VR05", "VR06") + Epoch2 + Eof, 2, 4, 1,
         "file:12: 'VR06' left out: velocity without"},
        {begin + Epoch1 + "??\n" + Epoch2 + Eof, 2, 4, 0, "file:15: not a line of an SP3 epoch"},
        {First + "??\n" + Header + Epoch1 + Epoch2 + Eof, 2, 4, 0, "file:2: not a line of an SP3 header"},
        {begin + Epoch1 + Replaced(Epoch2, "  25000.000000\n", "  250") + Eof, 2, 3, 1, "file:18: 'PR05' left out"},
        {Replaced(First, "#c", "#a") + Replaced(Header, "G07", "  7") + Replaced(Epoch1, "PG07", "P  7") + Epoch2 + Eof,
         2, 4, 0, ""},
        {Replaced(First, "#c", "#d") + Header + Epoch1 + Epoch2 + Eof + "anything", 2, 4, 0, ""},
        {begin + "PG07  15000.000001\n" + Eof, 0, 0, 0, "holds 0 epochs"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.warning);
        const Sp3 sp3 = Parsed(c.text);
        EXPECT_EQ(sp3.GetNmrEpochs(), c.nmrEpochs);
        std::size_t nmrStates = 0;
        for (std::size_t i = 0; i < sp3.GetNmrEpochs(); ++i) nmrStates += sp3.GetStates(i).size();
        EXPECT_EQ(nmrStates, c.nmrStates);
        EXPECT_EQ(sp3.nmrRefused, c.nmrRefused);
        if (c.warning.empty()) {
            EXPECT_EQ(AllWarnings(sp3), "");
        } else {
            EXPECT_NE(AllWarnings(sp3).find(c.warning), std::string::npos) << AllWarnings(sp3);
        }
    }
}

// Every position and clock of three products, against an independent reading of them.
TEST(Sp3, AgreesWithTheTablesOfPreciseOrbits) {
    struct Case {
        const char* file;
        const char* table;
        std::size_t nmrSatellites;
        std::size_t nmrRows;
    };
    const Case cases[] = {
        {"data/igs15904.sp3", "reference/sat_gps_2010182.csv", 32, 3072},
        {"data/igl15253.sp3", "reference/sat_glo_2009091.csv", 18, 1728},
        {"data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz", "reference/sat_esbc_2020177.csv", 51, 4896},
    };
    for (const Case& c : cases) {
        GNSS_REQUIRE_TEST_DATA(path, c.file);
        GNSS_REQUIRE_TEST_DATA(tablePath, c.table);
        SCOPED_TRACE(c.file);
        Sp3 sp3;
        FileError error;
        ASSERT_TRUE(sp3.Read(path, error)) << error.Print();
        EXPECT_EQ(AllWarnings(sp3), "");
        EXPECT_EQ(sp3.nmrRefused, 0);
        ASSERT_EQ(sp3.GetNmrEpochs(), 96U);
        EXPECT_EQ(sp3.GetNmrSatellites('G') + sp3.GetNmrSatellites('R'), static_cast<int>(c.nmrSatellites));

        std::size_t nmrRows = 0;
        for (auto& row : tests::ReadTable(tablePath)) {
            if (row["px_m"].empty()) continue;
            SCOPED_TRACE(row["sat"] + " " + row["tow_s_GPST"]);
            const GPSTime time(std::stoi(row["gps_week"]), Number(row["tow_s_GPST"]));
            const auto epoch = static_cast<std::size_t>(std::lround((time - sp3.GetTime(0)).Seconds() / 900.0));
            ASSERT_EQ(sp3.GetTime(epoch), time);
            const Sp3::State* state = sp3.Find(epoch, row["sat"][0], std::stoi(row["sat"].substr(1)));
            ASSERT_TRUE(state && state->posn);
            EXPECT_NEAR(state->posn->GetX(), Number(row["px_m"]), 6e-5);
            EXPECT_NEAR(state->posn->GetY(), Number(row["py_m"]), 6e-5);
            EXPECT_NEAR(state->posn->GetZ(), Number(row["pz_m"]), 6e-5);
            ASSERT_EQ(state->clock.has_value(), !row["pclk_s"].empty());
            if (state->clock) {
                EXPECT_NEAR(*state->clock, Number(row["pclk_s"]), 1e-16);
            }
            ++nmrRows;
        }
        EXPECT_EQ(nmrRows, c.nmrRows);
    }
}
