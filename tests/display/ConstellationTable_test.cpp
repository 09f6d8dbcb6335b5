#include "gnss/display/ConstellationTable.h"

#include <limits>

#include <gtest/gtest.h>

#include "gnss/position/Constellation.h"

namespace {

using Corvane::Angle;
using Corvane::StringTable;
using GNSS::Constellation;
using GNSS::ConstellationTable;
using GNSS::DopArt;

TEST(ConstellationTable, RowsOfEveryStateInEveryMode) {
    Constellation constellation;
    const auto add = [&](int number, double elevation, double azimuth, int state) {
        const Angle el = Angle::FromDegrees(elevation);
        const Angle az = Angle::FromDegrees(azimuth);
        constellation.Add(GNSS::PRN(number), el, az, state, false);
        constellation.Add(GNSS::Glonass::Slot(number), el, az, state);
    };
    add(7, 9.9, 359.999, 0);
    add(12, -0.5, 5.0, 1);
    add(3, 90.0, 45.0, 2);
    add(3, -12.9, std::numeric_limits<double>::quiet_NaN(), 3);
    add(24, 30.0, 300.0, 4);
    add(1, 0.0, 0.0, -9);

    const std::string gps =
        " 7\t 9\xB0\t359\xB0\tBelow Mask\n"
        "12\t 0\xB0\t  5\xB0\tHealthy\n"
        " 3\t90\xB0\t 45\xB0\tUnhealthy\n"
        " 3\t-12\xB0\t\tUnhealthy\n"
        "24\t30\xB0\t300\xB0\tDisabled\n"
        " 1\t 0\xB0\t  0\xB0\tUnhealthy\n";
    std::string glonass = gps;
    glonass.replace(glonass.find("Healthy"), 7, "Unhealthy");
    glonass.replace(glonass.find("45\xB0\tUnhealthy") + 4, 9, "Healthy");
    const std::string slot = "Slot\tElev\tAzi\tStatus\n";
    const std::string prn = "PRN\tElev\tAzi\tStatus\n";

    ConstellationTable table(constellation);
    EXPECT_EQ(table.GetTable().ToText().str(), prn + gps + slot + glonass);
    EXPECT_TRUE(table.GetTable().HasRule(StringTable::UnderHeading));
    EXPECT_TRUE(table.GetTable().HasRule(6));
    EXPECT_EQ(table.GetTable().GetPart(0, 6), Corvane::Style::Heading);
    const char* const templates[] = {"G00", "00\xB0", "000\xB0", "Below Mask"};
    for (int column = 0; column < 4; ++column) {
        EXPECT_EQ(table.GetTable().GetColumn(column).widthTemplate, templates[column]);
        EXPECT_EQ(table.GetTable().GetColumn(column).align, Corvane::TextPlace::Centre);
    }

    table.SetMode(DopArt::GPSOnly);
    EXPECT_EQ(table.GetTable().NmrRows(), 0);
    EXPECT_FALSE(table.GetTable().HasRule(6));
    for (int again = 0; again < 2; ++again) table.SetConstellation(constellation);
    EXPECT_EQ(table.GetTable().ToText().str(), prn + gps);
    table.SetMode(DopArt::GlonassOnly);
    table.SetConstellation(constellation);
    EXPECT_EQ(table.GetTable().ToText().str(), slot + glonass);

    table.SetMode(DopArt::Both);
    table.SetConstellation(Constellation());
    EXPECT_EQ(table.GetTable().ToText().str(), prn + slot);
    EXPECT_TRUE(table.GetTable().HasRule(0));
    EXPECT_FALSE(table.GetTable().HasRule(6));
}

// A whole number of degrees reads as itself, whatever its way through radians does to the last bit.
TEST(ConstellationTable, WholeDegreesStayWhole) {
    for (int degrees = 0; degrees < 360; ++degrees) {
        Constellation constellation;
        constellation.Add(GNSS::PRN(1), Angle::Zero, Angle::FromDegrees(degrees), 1, false);
        EXPECT_EQ(ConstellationTable(constellation).GetTable().GetCell(2, 0),
                  Corvane::String::FormatInt(degrees, 3) + "\xB0");
    }
}

}  // namespace
