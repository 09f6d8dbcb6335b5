#include "gnss/platform/DC.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tests/support/RecordingDC.h"

namespace {

using Corvane::Brush;
using Corvane::Colour;
using Corvane::DC;
using Corvane::Font;
using Corvane::Pen;
using Corvane::Point;
using Corvane::Rect;
using Corvane::TextPlace;
using tests::DrawCall;
using tests::RecordingDC;
using Lines = std::vector<std::string>;

TEST(DC, ScopesRestoreAllThatWasSelected) {
    RecordingDC dc({100, 100});
    dc.SetMetricFont({"serif", 10});
    dc.SetPen(Colour::Red, 3, Pen::Dash);
    dc.SetBrush(Colour::Blue);
    dc.SelectFont({.bold = true});
    dc.SetTextColour(Colour::Green);
    dc.MoveTo({1, 2});
    const auto draw = [&dc] {
        dc.LineTo({50, 60});
        dc.DrawRectangle({{0, 0}, {4, 5}});
        dc.DrawText({7, 8}, "x");
        dc.SetTextPen();
        dc.SetBackBrush();
        dc.DrawRectangle({{0, 0}, {1, 1}});
    };
    {
        const DC::Scope reference(dc);
        draw();
    }
    const Lines before = dc.Lines();
    dc.Forget();
    {
        const DC::Scope outer(dc, {10, 20});
        dc.SetPen(Pen::None);
        dc.SetBrush(Brush::None);
        const DC::Scope inner(dc, {1, 1});
        dc.SetTextColour(Colour::White);
        dc.SetBackColour(Colour::Black);
        dc.SetMetricFont({"sans", 20});
        dc.MoveTo({0, 0});
        dc.LineTo({5, 5});
        dc.DrawText({0, 0}, "y");
    }
    EXPECT_EQ(dc.Lines(), (Lines{"line (11,21)-(16,26) pen none", "text \"y\" (11,21) left top #ffffff sans 20"}));
    dc.Forget();
    draw();
    EXPECT_EQ(dc.Lines(), before);
    EXPECT_EQ(
        before,
        (Lines{"line (1,2)-(50,60) pen #ff0000 3 dash", "rectangle (0,0) 4x5 pen #ff0000 3 dash brush #0000ff",
               "text \"x\" (7,8) left top #008000 serif 10 bold", "rectangle (0,0) 1x1 pen #008000 brush #ffffff"}));
}

TEST(DC, FontsTakeWhatTheyLeaveOpenFromTheMetricFont) {
    RecordingDC dc({100, 100});
    dc.SetMetricFont({"mono", 12});
    dc.SelectFont(dc.GetMetricFont().Smaller(2));
    EXPECT_EQ(dc.GetFont(), (Font{"mono", 10}));
    EXPECT_EQ(dc.TextExtent("abc"), (Corvane::Size{18, 10}));
    EXPECT_EQ(dc.TextExtent("abc", {.points = 20}), (Corvane::Size{36, 20}));
    EXPECT_EQ(dc.GetFontMetrics({}), (Corvane::FontMetrics{9, 2, 8, 7}));
    dc.RevertFont();
    EXPECT_EQ(dc.GetFont(), (Font{"mono", 12}));
    EXPECT_EQ(dc.GetFont().Smaller(50).points, 1);
    EXPECT_EQ(dc.GetFont().Smaller(std::numeric_limits<int>::min()).points, Font::MaxPoints);
    dc.SelectFont({"sans", std::numeric_limits<int>::max()});
    EXPECT_EQ(dc.GetFont().points, Font::MaxPoints);
}

TEST(DC, TextLiesWhereItsPlaceSays) {
    struct Case {
        TextPlace place;
        Rect bounds;  // of "abc", 18 by 10 pixels, capitals 7 high, drawn at (50, 50)
    };
    const Case cases[] = {
        {{}, {{50, 50}, {18, 10}}},
        {{TextPlace::Centre, TextPlace::Middle}, {{41, 45}, {18, 10}}},
        {{TextPlace::Right, TextPlace::Baseline}, {{32, 42}, {18, 10}}},
        {{TextPlace::Left, TextPlace::Bottom}, {{50, 40}, {18, 10}}},
        {{static_cast<TextPlace::Align>(1), static_cast<TextPlace::Anchor>(9)}, {{50, 50}, {18, 10}}},
        // Turned a quarter to the left, text runs upwards and its top points left.
        {{TextPlace::Left, TextPlace::Top, 90.0}, {{50, 32}, {10, 18}}},
        {{TextPlace::Left, TextPlace::Top, -90.0}, {{40, 50}, {10, 18}}},
        {{TextPlace::Centre, TextPlace::Bottom, 540.0}, {{41, 50}, {18, 10}}},
        {{TextPlace::Left, TextPlace::Top, std::nan("")}, {{50, 50}, {18, 10}}},
    };
    for (const Case& c : cases) {
        RecordingDC dc({100, 100});
        dc.DrawText({50, 50}, "abc", c.place);
        EXPECT_EQ(dc.Calls().at(0).bounds, c.bounds) << dc.Calls().at(0);
    }
}

TEST(DC, ControlCharactersAreBlanks) {
    RecordingDC dc({100, 100});
    const Corvane::String text(std::string("a\nb\0c\x85\xB0", 7));
    EXPECT_EQ(dc.TextExtent(text).width, dc.TextExtent("a b c \xB0").width);
    dc.DrawText({0, 0}, text);
    EXPECT_EQ(dc.Calls().at(0).text, "a b c \xB0");
}

TEST(DC, RefusesWhatCannotBeDrawn) {
    constexpr int Max = std::numeric_limits<int>::max();
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    RecordingDC dc({100, 100});
    dc.DrawRectangle({{0, 0}, {-1, 5}});
    for (const double radius : {nan, infinity, -1.0, 1e300}) dc.DrawCircle({0, 0}, radius, 1.0);
    dc.DrawCircle({0, 0}, 0.0, infinity);
    const Point corner[] = {{1, 1}};
    dc.DrawPolygon(corner, {0, 0});
    EXPECT_EQ(dc.CreateCanvas({0, 10}), nullptr);
    EXPECT_EQ(dc.CreateCanvas({10, -1}), nullptr);
    EXPECT_TRUE(dc.Calls().empty());

    dc.SetPen(Colour::Black, -5);
    const DC::Scope far(dc, {Max, Max});
    dc.LineTo({Max, -10});
    EXPECT_EQ(dc.Lines(), (Lines{"line (0,0)-(2147483647,2147483637) pen #000000"}));
}

TEST(DC, CanvasesAreDrawnOnAndCopied) {
    RecordingDC dc({100, 100});
    dc.SetBackColour(Colour::Black);
    dc.SetTextColour(Colour::White);
    dc.SetMetricFont({"sans", 8});
    const DC::Scope shifted(dc, {30, 40});
    const auto canvas = dc.CreateCanvas({20, 10});
    ASSERT_NE(canvas, nullptr);
    canvas->Clear();
    canvas->DrawText({0, 0}, "N");
    canvas->DrawCircle({10, 5}, 90.0, 0.05);
    const Point square[] = {{-1, -1}, {1, -1}, {1, 1}};
    canvas->SetPen(Pen::None);
    canvas->DrawPolygon(square, {5, 5});
    ASSERT_TRUE(dc.Blit(*canvas, {1, 1}));
    EXPECT_EQ(dc.Lines(), Lines{"canvas (31,41) 20x10"});
    Lines content;
    for (const DrawCall& call : dc.Calls().at(0).content) content.push_back(call.Print());
    EXPECT_EQ(content,
              (Lines{"rectangle (0,0) 19x9 pen #000000 brush #000000", "text \"N\" (0,0) left top #ffffff sans 8",
                     "circle (10,5) radius 4.50 pen #000000", "polygon (4,4) (6,4) (6,6) pen none"}));
}

}  // namespace
