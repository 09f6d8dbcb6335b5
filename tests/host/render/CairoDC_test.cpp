#include "host/render/CairoDC.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Corvane::Brush;
using Corvane::Colour;
using Corvane::Pen;
using Corvane::Point;
using Corvane::Size;
using Corvane::TextPlace;
using Host::CairoDC;
using Host::PictureKind;

std::unique_ptr<CairoDC> MakePng(Size size, int density = 1) {
    return CairoDC::Make(PictureKind::Png, size, density);
}

// What is darker than a quarter, in coordinates of the drawing; a pixel of density 1 is 1 wide.
struct Ink {
    double left = 1e9;
    double top = 1e9;
    double right = -1e9;
    double bottom = -1e9;

    [[nodiscard]] double X() const { return (left + right) / 2.0; }
    [[nodiscard]] double Y() const { return (top + bottom) / 2.0; }
};

Ink InkOf(const CairoDC& dc, int density) {
    Ink ink;
    for (int y = 0; y < dc.GetSize().height * density; ++y) {
        for (int x = 0; x < dc.GetSize().width * density; ++x) {
            if (dc.GetPixel({x, y}).green > 191) continue;
            ink.left = std::min(ink.left, x / double(density));
            ink.top = std::min(ink.top, y / double(density));
            ink.right = std::max(ink.right, (x + 1) / double(density));
            ink.bottom = std::max(ink.bottom, (y + 1) / double(density));
        }
    }
    return ink;
}

Ink InkOfText(const char* text, const TextPlace& place, int density = 1, int points = 10) {
    const auto dc = MakePng({110, 110}, density);
    dc->SetMetricFont({{}, points});
    dc->DrawText({55, 55}, text, place);
    return InkOf(*dc, density);
}

// The black pixels of a drawing of 10 by 10, row by row.
std::string Pixels(const CairoDC& dc) {
    std::string rows;
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 10; ++x) {
            const Colour c = dc.GetPixel({x, y});
            rows += c == Colour::Black ? '#' : c == Colour::White ? '.' : '?';
        }
    }
    return rows;
}

TEST(CairoDC, LaysOutAlikeOnEveryKindAndDensity) {
    std::vector<std::unique_ptr<CairoDC>> pictures;
    for (const int density : {1, 2, 3}) pictures.push_back(MakePng({50, 50}, density));
    pictures.push_back(CairoDC::Make(PictureKind::Svg, {50, 50}));
    pictures.push_back(CairoDC::Make(PictureKind::Pdf, {50, 50}));
    const auto canvas = pictures[1]->CreateCanvas({10, 10});
    for (const int points : {0, 1, 7, 8, 10, 11, 24, 1000}) {
        for (const bool bold : {false, true}) {
            for (const char* text : {"", "0", "G32", "270\xB0", "Below Mask", "a\nb", "\xE4\xFF\xA0 - AVAT fi"}) {
                const Corvane::Font font{"", points, bold};
                const Size size = pictures[0]->TextExtent(text, font);
                for (const auto& dc : pictures) {
                    EXPECT_EQ(dc->TextExtent(text, font), size) << text << points;
                    EXPECT_EQ(dc->GetFontMetrics(font), pictures[0]->GetFontMetrics(font));
                }
                EXPECT_EQ(canvas->TextExtent(text, font), size) << text << points;
            }
        }
    }
    // 10 points are 13.33 pixels, of which a digit of DejaVu Sans takes 0.636 and a capital's height is 0.729.
    EXPECT_EQ(pictures[0]->TextExtent("000000000000").width, 102);
    EXPECT_EQ(pictures[0]->GetFontMetrics().capHeight, 10);
    EXPECT_EQ(pictures[0]->TextExtent("123", {"sans", 10}), pictures[0]->TextExtent("123", {"DejaVu Sans", 10}));
    EXPECT_NE(pictures[0]->TextExtent("iii", {"monospace", 10}), pictures[0]->TextExtent("iii"));
    // More texts and fonts than are kept, and longer ones.
    for (int i = 0; i < 3000; ++i) static_cast<void>(canvas->TextExtent(std::to_string(i), {"", 1 + i % 40}));
    EXPECT_EQ(canvas->TextExtent("2999", {"", 10}), pictures[0]->TextExtent("2999"));
    const std::string longText(3'000'000, 'W');
    EXPECT_GT(canvas->TextExtent(longText.substr(0, 1000), {"", 10}).width, 13'000);
    EXPECT_GT(canvas->TextExtent(longText, {"", 1000}).width, 1'000'000);
    canvas->DrawText({0, 0}, longText, {TextPlace::Right, TextPlace::Middle, 45.0});
}

TEST(CairoDC, DigitsAreCentredOnTheirPixel) {
    for (const int density : {1, 2, 4}) {
        for (const int points : {7, 10, 24}) {
            for (const char* text : {"00", "08", "23", "31"}) {
                for (const double rotation : {0.0, 270.0}) {
                    const Ink ink = InkOfText(text, {TextPlace::Centre, TextPlace::Middle, rotation}, density, points);
                    EXPECT_NEAR(ink.X(), 55.5, 1.0) << text << " " << points << " " << density << " " << rotation;
                    EXPECT_NEAR(ink.Y(), 55.5, 1.0) << text << " " << points << " " << density << " " << rotation;
                }
            }
        }
    }
}

TEST(CairoDC, TextLiesWhereItIsAlignedAndTurned) {
    const auto dc = MakePng({1, 1});
    const Corvane::FontMetrics metrics = dc->GetFontMetrics({{}, 24});
    const double width = dc->TextExtent("HH", {{}, 24}).width;
    for (const int density : {1, 2}) {
        for (const auto& [align, left] :
             {std::pair(TextPlace::Left, 0.0), {TextPlace::Centre, width / 2.0}, {TextPlace::Right, width}}) {
            for (const auto& [anchor, up] :
                 {std::pair(TextPlace::Top, double(metrics.ascent - metrics.capHeight)),
                  {TextPlace::Middle, -metrics.capHeight / 2.0},
                  {TextPlace::Baseline, -double(metrics.capHeight)},
                  {TextPlace::Bottom, -double(metrics.LineHeight() - metrics.ascent) - metrics.capHeight}}) {
                // H stands about 0.1 of its size inside its room on both sides.
                const Ink ink = InkOfText("HH", {align, anchor}, density, 24);
                EXPECT_NEAR(ink.X(), 55.0 - left + width / 2.0, 1.3) << align << anchor;
                EXPECT_NEAR(ink.right - ink.left, width - 6.3, 2.0);
                EXPECT_NEAR(ink.top, 55.0 + up, 1.3) << align << anchor;
                EXPECT_NEAR(ink.bottom - ink.top, metrics.capHeight, 1.3);
                // Each quarter turn counter-clockwise takes (x, y) to (y, -x) about the middle of the pixel.
                const Ink turned = InkOfText("HH", {align, anchor, 90.0}, density, 24);
                EXPECT_NEAR(turned.left - 55.5, ink.top - 55.5, 1.1) << align << anchor;
                EXPECT_NEAR(turned.bottom - 55.5, -(ink.left - 55.5), 1.1) << align << anchor;
                const Ink over = InkOfText("HH", {align, anchor, -180.0}, density, 24);
                EXPECT_NEAR(over.right - 55.5, -(ink.left - 55.5), 1.1) << align << anchor;
                EXPECT_NEAR(over.bottom - 55.5, -(ink.top - 55.5), 1.1) << align << anchor;
            }
        }
    }
}

TEST(CairoDC, LinesAndAreasCoverTheirPixels) {
    const auto expect = [](const char* what, const std::string& rows, auto draw) {
        const auto dc = MakePng({10, 10});
        draw(*dc);
        EXPECT_EQ(Pixels(*dc), rows) << what;
    };
    const auto rows = [](int first, int last, const std::string& row) {
        std::string all;
        for (int y = 0; y < 10; ++y) all += y >= first && y <= last ? row : std::string(10, '.');
        return all;
    };
    const auto line = [](Point from, Point to, std::int32_t width = 1, Pen::Style style = Pen::Solid) {
        return [=](CairoDC& dc) {
            dc.SetPen(Colour::Black, width, style);
            dc.MoveTo(from);
            dc.LineTo(to);
        };
    };
    expect("across", rows(3, 3, "..#####..."), line({2, 3}, {6, 3}));
    expect("back", rows(3, 3, "..#####..."), line({6, 3}, {2, 3}));
    expect("down", rows(1, 8, "....#....."), line({4, 1}, {4, 8}));
    expect("one pixel", rows(5, 5, ".....#...."), line({5, 5}, {5, 5}));
    expect("a dotted pixel", rows(5, 5, ".....#...."), line({5, 5}, {5, 5}, 1, Pen::Dot));
    expect("wide", rows(2, 4, ".########."), line({2, 3}, {7, 3}, 3));
    expect("dots", rows(3, 3, "#..#..#..#"), line({0, 3}, {9, 3}, 1, Pen::Dot));
    expect("dashes", rows(3, 3, "#####...##"), line({0, 3}, {9, 3}, 1, Pen::Dash));
    expect("far", rows(3, 3, "##########"), line({INT_MIN, 3}, {INT_MAX, 3}));
    expect("past it", rows(1, 0, ""), line({INT_MIN, INT_MIN}, {INT_MAX, -9}));
    expect("no pen", rows(1, 0, ""), line({0, 0}, {9, 9}, 1, Pen::NoLine));

    const auto area = [](auto draw) {
        return [=](CairoDC& dc) {
            dc.SetPen(Pen::None);
            dc.SetBrush(Colour::Black);
            draw(dc);
        };
    };
    const std::string block = rows(2, 5, ".####.....");
    expect("rectangle", block, area([](CairoDC& dc) { dc.DrawRectangle({{1, 2}, {3, 3}}); }));
    const std::array<Point, 4> square = {{{0, 0}, {3, 0}, {3, 3}, {0, 3}}};
    expect("polygon", block, area([&](CairoDC& dc) { dc.DrawPolygon(square, {1, 2}); }));
    const std::array<Point, 3> vast = {{{INT_MIN, INT_MIN}, {INT_MAX, INT_MIN}, {0, INT_MAX}}};
    expect("vast polygon", rows(0, 9, "##########"), area([&](CairoDC& dc) { dc.DrawPolygon(vast, {5, 5}); }));
    expect("vast rectangle", rows(5, 9, "....######"), area([](CairoDC& dc) {
               dc.DrawRectangle({{4, 5}, {INT_MAX, INT_MAX}});
           }));
    expect("vast circle", rows(0, 9, "##########"), area([](CairoDC& dc) { dc.DrawCircle({999'000, 5}, 1e6, 1.0); }));
    expect("far circle", rows(1, 0, ""), area([](CairoDC& dc) { dc.DrawCircle({INT_MAX, INT_MIN}, 1e6, 1.0); }));
    expect("vast ring", rows(1, 0, ""), [](CairoDC& dc) {
        dc.SetPen(Colour::Black, 1, Pen::Dot);
        dc.DrawCircle({5, 5}, 1e6, 1.0);
    });
    expect("ground", rows(0, 9, "##########"), [](CairoDC& dc) {
        dc.SetBackColour(Colour::Black);
        dc.Clear();
    });
}

TEST(CairoDC, RingsDiscsAndOpacity) {
    for (const int density : {1, 2}) {
        const auto dc = MakePng({101, 101}, density);
        dc->DrawCircle({50, 50}, 90.0, 0.5);
        const Ink ring = InkOf(*dc, density);
        EXPECT_NEAR(ring.left, 5.0, 0.51);
        EXPECT_NEAR(ring.right, 96.0, 0.51);
        EXPECT_NEAR(ring.X(), 50.5, 0.01);
        EXPECT_NEAR(ring.Y(), 50.5, 0.01);
        EXPECT_EQ(dc->GetPixel({50 * density, 50 * density}), Colour::White);
    }
    const auto dc = MakePng({20, 20});
    dc->SetPen(Pen::None);
    dc->SetBrush(Colour{0, 0, 0, 51});
    dc->DrawCircle({10, 10}, 5.0, 1.0);
    EXPECT_EQ(dc->GetPixel({10, 10}), (Colour{204, 204, 204}));
    EXPECT_EQ(dc->GetPixel({20, 10}), Colour::Transparent);
}

TEST(CairoDC, CanvasesAreCopiedOntoTheirOwnKind) {
    const auto draw = [](Corvane::DC& dc) {
        dc.SetBackColour({200, 220, 240});
        dc.Clear();
        dc.SetPen(Colour::Red, 3, Pen::Dash);
        dc.DrawCircle({30, 30}, 20.0, 1.0);
        dc.DrawText({30, 30}, "12", {TextPlace::Centre, TextPlace::Middle});
    };
    for (const int density : {1, 2}) {
        const auto direct = MakePng({60, 60}, density);
        draw(*direct);
        const auto copy = MakePng({70, 70}, density);
        const auto canvas = copy->CreateCanvas({60, 60});
        draw(*canvas);
        ASSERT_TRUE(copy->Blit(*canvas, {7, 9}));
        int different = 0;
        for (int y = 0; y < 60 * density; ++y)
            for (int x = 0; x < 60 * density; ++x)
                different += copy->GetPixel({x + 7 * density, y + 9 * density}) != direct->GetPixel({x, y}) ? 1 : 0;
        EXPECT_EQ(different, 0) << density;
        EXPECT_EQ(copy->GetPixel({0, 0}), Colour::White);
        EXPECT_FALSE(copy->Blit(*copy, {}));
        EXPECT_FALSE(MakePng({60, 60}, 3 - density)->Blit(*canvas, {}));
        EXPECT_FALSE(CairoDC::Make(PictureKind::Svg, {60, 60})->Blit(*canvas, {}));
        EXPECT_EQ(copy->CreateCanvas({CairoDC::MaxImageSide + 1, 1}), nullptr);
    }
    for (const PictureKind kind : {PictureKind::Svg, PictureKind::Pdf}) {
        const auto dc = CairoDC::Make(kind, {70, 70});
        const auto canvas = dc->CreateCanvas({60, 60});
        draw(*canvas);
        EXPECT_TRUE(dc->Blit(*canvas, {7, 9}));
        std::string bytes;
        std::string failure;
        EXPECT_TRUE(dc->Encode(bytes, failure)) << failure;
        // Lines and text, not pixels.
        EXPECT_EQ(bytes.find("<image"), std::string::npos);
        EXPECT_EQ(bytes.find("/Subtype /Image"), std::string::npos);
        EXPECT_NE(bytes.find(kind == PictureKind::Svg ? "<symbol" : "/FontFile2"), std::string::npos);
    }
}

}  // namespace
