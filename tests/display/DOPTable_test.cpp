#include "gnss/display/DOPTable.h"

#include <gtest/gtest.h>

#include "gnss/position/DOP.h"
#include "tests/support/RecordingDC.h"

namespace {

TEST(DOPTable, ValuesOfAValidDopOnly) {
    const char* const empty = "GDOP\t\nPDOP\t\nHDOP\t\nVDOP\t\n";
    GNSS::DOPTable table;
    EXPECT_EQ(table.GetTable().ToText(), empty);
    EXPECT_TRUE(table.GetTable().HasRule(0));  // under the first row
    EXPECT_EQ(table.GetTable().GetColumn(0).widthTemplate, "GDOP");
    EXPECT_EQ(table.GetTable().GetColumn(0).align, Corvane::TextPlace::Left);
    EXPECT_EQ(table.GetTable().GetColumn(1).widthTemplate, "000.000");
    EXPECT_EQ(table.GetTable().GetColumn(1).align, Corvane::TextPlace::Right);
    table.SetDOP(GNSS::DOP(9.0, 16.0, 144.0, 27.0));
    EXPECT_EQ(table.GetTable().ToText(), "GDOP\t14.000\nPDOP\t13.000\nHDOP\t5.000\nVDOP\t12.000\n");
    tests::RecordingDC dc({200, 200});
    table.Draw(dc, Corvane::Style::List());
    EXPECT_EQ(dc.Calls(tests::DrawCall::Text)[0].text, "DOP");
    EXPECT_EQ(dc.Calls(tests::DrawCall::Line).size(), 1U);
    table.SetDOP(GNSS::DOP());
    EXPECT_EQ(table.GetTable().ToText(), empty);
}

}  // namespace
