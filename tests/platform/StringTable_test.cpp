#include "gnss/platform/StringTable.h"

#include <limits>

#include <gtest/gtest.h>

#include "tests/support/RecordingDC.h"

namespace {

using Corvane::Colour;
using Corvane::DC;
using Corvane::Pen;
using Corvane::Rect;
using Corvane::Size;
using Corvane::String;
using Corvane::StringTable;
using Corvane::Style;
using Corvane::TextPlace;
using tests::DrawCall;
using tests::RecordingDC;
using Lines = std::vector<std::string>;

// Without bold, so that every character is 6 pixels wide and every line 10 high: a row is 12 high with a pixel above
// and below, a cell has 6 pixels left and right.
Style::List PlainStyles() {
    Style::List styles;
    for (const Style::Part part : {Style::Title, Style::Heading, Style::Alert}) styles.Set(part, Style());
    return styles;
}

TEST(StringTable, LaysOutColumnsTitleAndRules) {
    StringTable table;
    table.SetTitle("DOP");
    table.AddColumn({"", "GDOP", TextPlace::Left});
    table.AddColumn({"", "000.000", TextPlace::Right});
    table.AddRule(StringTable::UnderHeading);
    table.AddRule(1);
    table.AddRule(7);  // no such row
    table.AddRow({"GDOP", "2.125"});
    table.AddRow({"PDOP"});

    RecordingDC dc({200, 200});
    const Style::List styles = PlainStyles();
    table.Calc(dc, styles);
    // Columns of 4 and 7 characters with 12 pixels of room each; three rows and two rules.
    EXPECT_EQ(table.GetSize(), (Size{36 + 54, 3 * 12 + 2}));
    EXPECT_EQ(table.GetWidth(), 90);
    EXPECT_EQ(table.GetHeight(), 38);
    const DC::Scope shifted(dc, {100, 50});
    table.Draw(dc, styles);
    EXPECT_EQ(dc.Lines(), (Lines{
                              "rectangle (100,50) 89x37 pen none brush #ffffff",
                              "text \"DOP\" (145,59) centre baseline #000000 10",
                              "text \"GDOP\" (106,72) left baseline #000000 10",
                              "text \"2.125\" (184,72) right baseline #000000 10",
                              "text \"PDOP\" (106,84) left baseline #000000 10",
                              "line (100,62)-(189,62) pen #7f7f7f",
                              "line (100,87)-(189,87) pen #7f7f7f",
                          }));
}

TEST(StringTable, ColumnsAndTitleGrowForWhatIsWider) {
    StringTable table;
    table.SetTitle("Constellation");
    table.AddColumn({"PRN", "G00", TextPlace::Centre});
    table.AddColumn({"E", "00\xB0", TextPlace::Centre});
    table.AddRow({"5", "9\xB0"});
    RecordingDC dc({300, 300});
    const Style::List styles = PlainStyles();
    table.Calc(dc, styles);
    EXPECT_EQ(table.GetWidth(), 13 * 6 + 12);  // the title's
    table.Draw(dc, styles);
    // The columns, 60 pixels together, stand in the middle below it.
    EXPECT_EQ(dc.Calls(DrawCall::Text).at(1).points.at(0).x, 15 + 15);
    table.SetCell(1, 0, "a good deal wider");
    table.Calc(dc, styles);
    EXPECT_EQ(table.GetWidth(), 30 + 17 * 6 + 12);
    // Bold headings are measured in bold.
    table.SetTitle("");
    Style::List bold = PlainStyles();
    bold.Set(Style::Heading, Style{.font = {.bold = true}});
    table.Calc(dc, bold);
    EXPECT_EQ(table.GetWidth(), 33 + 17 * 6 + 12);
}

TEST(StringTable, NothingIsClippedAndNoTextLiesOnAnother) {
    StringTable table;
    table.SetTitle("Ephemerides");
    for (const TextPlace::Align align : {TextPlace::Left, TextPlace::Centre, TextPlace::Right}) {
        table.AddColumn({"Heading", "0", align});
    }
    table.AddRow({"short", "a longer cell", ""});
    table.AddRow({"Slot", "Elev", "Azi"}, Style::Heading);
    table.AddRow({"two\nlines", "1", "-2"});
    table.SetCell(2, 2, "Unhealthy", Style::Alert);
    for (const std::int32_t row : {-1, 0, 1, 2}) table.AddRule(row);

    Style::List styles(Colour::White, Colour::Black);
    Style large = styles.Get(Style::Alert);
    large.font.points = 18;
    styles.Set(Style::Alert, large);
    Style framed = styles.Get(Style::Background);
    framed.pen = Pen{Colour::Red, 4};
    styles.Set(Style::Background, framed);
    Style rule;
    rule.pen = Pen{Colour::White, 3};
    styles.Set(Style::Rule, rule);

    RecordingDC dc({500, 500});
    const std::string before = tests::Print(dc.GetPen()) + tests::Print(dc.GetFont());
    table.Draw(dc, styles);
    EXPECT_EQ(tests::Print(dc.GetPen()) + tests::Print(dc.GetFont()), before);
    table.Calc(dc, styles);
    const Rect inside{{4, 4}, {table.GetWidth() - 8, table.GetHeight() - 8}};
    std::vector<Rect> taken;
    for (const DrawCall& call : dc.Calls()) {
        Rect box = call.bounds;
        if (call.kind == DrawCall::Rectangle) continue;
        if (call.kind == DrawCall::Line) box = {box.at - Corvane::Point{0, 1}, {box.size.width, 3}};
        EXPECT_TRUE(inside.Contains(box)) << call;
        for (const Rect& other : taken) EXPECT_FALSE(box.Overlaps(other)) << call;
        taken.push_back(box);
    }
    EXPECT_EQ(taken.size(), 1U + 3U + 8U + 4U);
    // The frame's line of 4 pixels stays inside too: its middle runs 2 pixels from the edges.
    EXPECT_EQ(dc.Calls().at(1).points.at(0), (Corvane::Point{2, 2}));
    EXPECT_EQ(dc.Calls().at(1).size, (Size{table.GetWidth() - 4, table.GetHeight() - 4}));
}

TEST(StringTable, GridIsResizedSetAndReadBack) {
    StringTable table;
    table.AddColumn({"A", "", TextPlace::Left});
    EXPECT_EQ(table.AddRow({"1", "beyond"}), 0);
    table.Resize(3, 2);
    table.SetCell(2, 1, "x", Style::Alert);
    table.SetCell(0, 1, "y");
    table.AddRow({"its own cell, too long to stand in the string itself"});
    table.SetCell(2, 2, table.GetCell(0, 2));
    EXPECT_EQ(table.GetCell(2, 2), table.GetCell(0, 2));
    table.Resize(3, 2);
    EXPECT_EQ(table.GetCell(0, 0), "1");
    EXPECT_EQ(table.GetCell(1, 0), "");
    EXPECT_EQ(table.GetCell(2, 1), "x");
    EXPECT_EQ(table.GetPart(2, 1), Style::Alert);
    EXPECT_EQ(table.GetPart(1, 1), Style::Cell);
    EXPECT_EQ(table.ToText(), "A\t\t\n1\t\t\ny\t\tx\n");
    // What a smaller grid lost does not come back.
    table.Resize(2, 2);
    table.Resize(3, 2);
    EXPECT_EQ(table.GetCell(2, 1), "");

    constexpr int Max = std::numeric_limits<int>::max();
    for (const int bad : {-1, 3, Max, -Max}) {
        table.SetCell(bad, 0, "no");
        table.SetCell(0, bad, "no");
        EXPECT_EQ(table.GetCell(bad, 0), "");
        EXPECT_EQ(table.GetCell(0, bad), "");
        EXPECT_EQ(table.GetColumn(bad).heading, "");
    }
    EXPECT_EQ(table.ToText(), "A\t\t\n1\t\t\ny\t\t\n");
    table.Resize(Max, -5);
    EXPECT_EQ(table.NmrColumns(), StringTable::MaxColumns);
    EXPECT_EQ(table.NmrRows(), 0);

    table.AddRule(0);
    table.ClearRows();
    EXPECT_TRUE(table.HasRule(0));
    table.ClearRules();
    EXPECT_FALSE(table.HasRule(0));
    table.Resize(0, 0);
    RecordingDC dc({10, 10});
    table.Draw(dc, Style::List());
    EXPECT_TRUE(dc.Calls().empty());
}

TEST(StringTable, TextPastesIntoASpreadsheet) {
    StringTable table;
    table.SetTitle("not part of it");
    table.AddColumn({"Elev\t\xB0", "", TextPlace::Left});
    table.AddColumn({"plain", "", TextPlace::Left});
    table.AddRow({"two\nlines", "say \"hello\""});
    table.AddRow({"\"", "back\rreturn"});
    table.AddRow({" 1,5; ", "-3.25"});
    EXPECT_EQ(table.ToText(),
              "\"Elev\t\xB0\"\tplain\n"
              "\"two\nlines\"\t\"say \"\"hello\"\"\"\n"
              "\"\"\"\"\t\"back\rreturn\"\n"
              " 1,5; \t-3.25\n");
    StringTable bare;
    bare.Resize(2, 1);
    EXPECT_EQ(bare.ToText(), "\t\n");
}

}  // namespace
