#include "gnss/display/ConstellationArtist.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/display/ConstellationStyle.h"
#include "gnss/platform/Clock.h"
#include "gnss/platform/TimeDate.h"
#include "gnss/position/Constellation.h"
#include "tests/support/RecordingDC.h"

namespace {

using Corvane::Angle;
using Corvane::Clock;
using Corvane::Colour;
using Corvane::Point;
using Corvane::Rect;
using GNSS::Constellation;
using GNSS::ConstellationArtist;
using GNSS::DopArt;
using tests::DrawCall;
using tests::RecordingDC;
using Lines = std::vector<std::string>;
using Style = ConstellationArtist::Style;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

Angle Degrees(double degrees) {
    return Angle::FromDegrees(degrees);
}

// How many of the calls before one draw over it.
auto Overlaps(const std::vector<DrawCall>& calls, std::size_t i) {
    return std::count_if(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(i),
                         [&](const DrawCall& other) { return other.bounds.Overlaps(calls[i].bounds); });
}

// With the recorder's font of 10 points, whose lines are 10 high and "000" 18 wide, a margin of 10 and, with a border,
// 3 more: a plot of 206 pixels has a pixel a degree.
class ConstellationArtistTest : public testing::Test {
protected:
    ConstellationArtistTest() { Clock::SetTo(start_); }
    ~ConstellationArtistTest() override { Clock::UseSystem(); }

    static void SetClock(double seconds) { Clock::SetTo(start_ + Corvane::Time(seconds)); }

    static Style MakeStyle() {
        Style style(true, true, Style::AziNESW, true, true, true, true);
        style.AddColour(Constellation::HealthyGPS, Colour::Blue, "GPS");
        style.AddColour(Constellation::HealthyGlonass, Colour::Red, "GLONASS");
        return style;
    }

    Lines Drawn(const Style& style, bool fromCache = true) {
        dc_.Forget();
        artist_.Draw(dc_, style, fromCache);
        return dc_.Lines();
    }

    // The numbers of the satellites, in the order in which they are drawn now.
    std::string Order(const Style& style) {
        (void)Drawn(style);
        std::string order;
        for (const DrawCall& call : dc_.Calls(DrawCall::Text)) order += call.text + " ";
        return order;
    }

    static inline const Corvane::TimeDate start_{Corvane::Date::FromJulianDay(2459024), Corvane::TimeOfDay(43200.0)};
    Constellation constellation_;
    ConstellationArtist artist_{constellation_};
    RecordingDC dc_{{206, 206}};
};

TEST_F(ConstellationArtistTest, BackgroundInItsOrder) {
    artist_.DrawBackgrnd(dc_, MakeStyle());
    artist_.Draw(dc_, MakeStyle(), false);
    EXPECT_TRUE(dc_.Calls().empty());  // before Init
    artist_.Init(dc_, MakeStyle(), 206, 1000);
    EXPECT_EQ(artist_.GetElevScale(), 1.0);
    EXPECT_EQ(artist_.GetSVRadius(), 9);
    artist_.DrawBackgrnd(dc_, MakeStyle());
    EXPECT_EQ(dc_.Lines(),
              (Lines{"rectangle (0,0) 205x205 pen #000000", "rectangle (3,3) 199x199 pen #000000",
                     "line (13,103)-(192,103) pen #000000", "line (103,13)-(103,192) pen #000000",
                     "circle (103,103) radius 90.00 pen #008000", "circle (103,103) radius 60.00 pen #008000 dash",
                     "circle (103,103) radius 30.00 pen #008000 dash", "circle (103,103) radius 7.00 pen #008000 dash",
                     "line (39,39)-(167,167) pen #000000", "line (39,167)-(167,39) pen #000000",
                     "text \"N\" (103,12) centre bottom #000000 8", "text \"S\" (103,195) centre top #000000 8",
                     "text \"W\" (11,103) right middle #000000 8", "text \"E\" (196,103) left middle #000000 8",
                     "rectangle (99,70) 8x7 pen #ffffff brush #ffffff", "text \"60\xB0\" (99,70) left top #000000 8",
                     "rectangle (99,40) 8x7 pen #ffffff brush #ffffff", "text \"30\xB0\" (99,40) left top #000000 8"}));
}

TEST_F(ConstellationArtistTest, ArgumentsOfAStyleInTheirOrder) {
    for (int on = 0; on < 6; ++on) {
        const Style style(on == 0, on == 1, Style::AziRing, on == 2, on == 3, on == 4, on == 5);
        const bool flags[] = {style.HasBorder(), style.HasCircles(), style.HasDiag(),
                              style.HasElev(),   style.ShowNorvi(),  style.HasSquares()};
        for (int i = 0; i < 6; ++i) EXPECT_EQ(flags[i], i == on) << i << " " << on;
    }
}

TEST_F(ConstellationArtistTest, MarginsLeaveRoomForLabelsSymbolsAndBorder) {
    const struct {
        bool border, circles;
        Style::AziStyle aziStyle;
        int size, margin, centre, radius;
    } cases[] = {
        {false, true, Style::AziNone, 206, 9, 103, 94},  // half of "000"
        {false, true, Style::AziNone, 207, 9, 103, 95},  // from 94.5
        {true, false, Style::AziNone, 206, 12, 103, 91},
        {true, true, Style::AziNone, 206, 15, 103, 88},      // the border's room twice
        {true, true, Style::AziNESW, 206, 13, 103, 90},      // a line, which is more than a "W"
        {false, true, Style::AziUpright, 206, 24, 103, 79},  // "270\xB0"
        {false, true, Style::AziRing, 206, 10, 103, 93},
        {true, true, Style::AziEastUp, 206, 13, 103, 90},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.border << c.circles << c.aziStyle << " " << c.size);
        artist_.Init(dc_, Style(c.border, c.circles, c.aziStyle, false, false, false, false), c.size, 1000);
        EXPECT_EQ(artist_.GetMargin(), c.margin);
        EXPECT_EQ(artist_.GetCentre(), c.centre);
        EXPECT_EQ(artist_.GetRadius(), c.radius);
        EXPECT_DOUBLE_EQ(artist_.GetElevScale(), (c.size - 2 * c.margin) / 180.0);
    }
}

TEST_F(ConstellationArtistTest, CompassTextsOfEveryStyle) {
    const struct {
        Style::AziStyle aziStyle;
        Lines texts;
    } cases[] = {
        {Style::AziNone, {}},
        {Style::AziUpright,
         {"360\xB0 centre bottom", "180\xB0 centre top", "270\xB0 right middle", "90\xB0 left middle"}},
        {Style::AziRing,
         {"360\xB0 centre bottom", "180\xB0 centre bottom turned 180", "270\xB0 centre bottom turned 90",
          "90\xB0 centre bottom turned 270"}},
        {Style::AziEastUp,
         {"360\xB0 centre bottom", "180\xB0 centre top", "270\xB0 centre top turned 270",
          "90\xB0 centre bottom turned 270"}},
    };
    for (const auto& c : cases) {
        const Style style(false, true, c.aziStyle, false, false, false, false);
        artist_.Init(dc_, style, 206, 1000);
        dc_.Forget();
        artist_.DrawBackgrnd(dc_, style);
        Lines texts;
        for (const DrawCall& call : dc_.Calls(DrawCall::Text)) {
            texts.push_back(call.text + " " + tests::Print(call.place));
            EXPECT_EQ(call.font.points, 8);
        }
        EXPECT_EQ(texts, c.texts);
    }
}

TEST_F(ConstellationArtistTest, PlacesSatellites) {
    const struct {
        double elevation, azimuth;
        Point at;
        bool drawn = true;
    } cases[] = {
        {90, 123, {0, 0}},     {0, 0, {0, -90}},           {0, 90, {90, 0}},
        {0, 180, {0, 90}},     {0, -90, {-90, 0}},         {60, 30, {15, -26}},  // (15, -25.98)
        {120, 0, {0, 30}},                                                       // past the zenith
        {180, 0, {0, 90}},     {-1, 0, {}, false},         {-1e-9, 0, {}, false},
        {-1e-10, 0, {0, -90}}, {181, 0, {}, false},        {NaN, 0, {}, false},
        {10, NaN, {}, false},  {10, -Infinity, {}, false}, {1e300, 0, {}, false},
    };
    const Style style = MakeStyle();
    artist_.Init(dc_, style, 206, 1000);
    for (const auto& c : cases) {
        constellation_.Reset();
        constellation_.Add(GNSS::PRN(5), Degrees(c.elevation), Degrees(c.azimuth), 1, false);
        (void)Drawn(style);
        const auto texts = dc_.Calls(DrawCall::Text);
        ASSERT_EQ(texts.size(), c.drawn ? 1U : 0U) << c.elevation << " " << c.azimuth;
        if (c.drawn) {
            EXPECT_EQ(texts[0].points[0] - (Point{103, 103}), c.at) << c.elevation << " " << c.azimuth;
        }
    }
}

TEST_F(ConstellationArtistTest, SymbolsMarksAndModes) {
    constellation_.Add(GNSS::PRN(5), Degrees(90), Degrees(0), 1, true);
    constellation_.Add(GNSS::Glonass::Slot(21), Degrees(60), Degrees(90), 2);
    constellation_.Add(GNSS::Glonass::Slot(3), Degrees(30), Degrees(90), 7);  // a state without a colour
    Style style = MakeStyle();
    artist_.Init(dc_, style, 206, 1000);
    artist_.SetMode(DopArt::GPSOnly);
    EXPECT_EQ(Drawn(style), (Lines{"canvas (0,0) 206x206", "circle (103,103) radius 9.00 pen #000000 brush #0000ff",
                                   "text \"05\" (103,103) centre middle #000000 10",
                                   "text \"-\" (103,101) centre baseline #000000 10"}));
    artist_.SetMode(DopArt::GlonassOnly);
    EXPECT_EQ(Drawn(style),
              (Lines{"canvas (0,0) 206x206", "polygon (154,94) (172,94) (172,112) (154,112) pen #000000 brush #ffffff",
                     "text \"03\" (163,103) centre middle #000000 10",
                     "polygon (124,94) (142,94) (142,112) (124,112) pen #000000 brush #ff0000",
                     "text \"21\" (133,103) centre middle #000000 10"}));
    style.SetSquares(false);
    EXPECT_EQ(Drawn(style)[1], "circle (163,103) radius 9.00 pen #000000 brush #ffffff");
    style.SetCircles(false);
    EXPECT_EQ(Drawn(style).size(), 3U);  // the canvas and two numbers
}

TEST_F(ConstellationArtistTest, OrderAlternatesByTheClock) {
    for (const int number : {1, 2}) {
        constellation_.Add(GNSS::PRN(number), Degrees(45), Degrees(0), 1, false);
        constellation_.Add(GNSS::Glonass::Slot(number + 10), Degrees(45), Degrees(0), 2);
    }
    const std::string plain = "11 12 01 02 ";
    const std::string flipped = "02 01 12 11 ";
    const Style style = MakeStyle();
    EXPECT_TRUE(artist_.RequiresRedraw());
    artist_.Init(dc_, style, 206, 1000);
    const struct {
        double seconds;
        const std::string& order;
        const char* why;
    } steps[] = {
        {0.0, flipped, "the first draw finds the flip due"},
        {0.999, flipped, "the delay has not passed"},
        {1.0, plain, "the delay has passed"},
        {2.5, flipped, "a second and a half later"},
        {-3600.0, plain, "the clock was set back"},
        {-3599.5, plain, "and goes on from there"},
        {-3599.0, flipped, "with the same delay"},
        {1e18, plain, "the end of the calendar"},
    };
    for (const auto& step : steps) {
        SetClock(step.seconds);
        EXPECT_EQ(Order(style), step.order) << step.why;
    }

    artist_.Reset();
    EXPECT_TRUE(artist_.RequiresRedraw());
    EXPECT_TRUE(Order(style).empty());  // needs a new Init, for which it keeps the size
    SetClock(0.0);
    artist_.Init(dc_, style, 0, std::numeric_limits<int>::max());
    EXPECT_EQ(Order(style), flipped);
    SetClock(86400.0);
    EXPECT_FALSE(artist_.RequiresRedraw());
    artist_.SetDelay(1000);  // a long delay that is shortened does not hold it up
    EXPECT_TRUE(artist_.RequiresRedraw());
    artist_.ResetTimer();
    EXPECT_FALSE(artist_.RequiresRedraw());
    artist_.SetDelay(-5);
    EXPECT_EQ(Order(style), plain);
    EXPECT_EQ(Order(style), flipped);
    artist_.ForgetConstellation();
    EXPECT_TRUE(Order(style).empty());
}

TEST_F(ConstellationArtistTest, CacheAndFreshDrawingGiveOnePicture) {
    constellation_.Add(GNSS::PRN(5), Degrees(10), Degrees(20), 1, true);
    dc_.SetBackColour(Colour::Grey);
    artist_.Init(dc_, MakeStyle(), 206, 1000);
    const Lines copied = Drawn(MakeStyle());
    ASSERT_EQ(copied[0], "canvas (0,0) 206x206");
    Lines whole;
    for (const DrawCall& call : dc_.Calls()[0].content) whole.push_back(call.Print());
    whole.insert(whole.end(), copied.begin() + 1, copied.end());
    EXPECT_EQ(Drawn(MakeStyle(), false), whole);
    EXPECT_EQ(whole[0], "rectangle (0,0) 205x205 pen #808080 brush #808080");  // the ground
}

// Every compass text of every style stands outside the ring, inside the frame and clear of the others.
TEST_F(ConstellationArtistTest, LabelsHaveTheirRoom) {
    for (const int points : {5, 8, 10, 13, 24}) {
        for (const int size : {150, 301, 600, 1999}) {
            for (int variant = 0; variant < 16; ++variant) {
                Style style(variant % 2 != 0, true, static_cast<Style::AziStyle>(variant / 2 % 4 + 1), false, true,
                            false, true);
                if (variant >= 8) {
                    style.SetWest("Westwards");
                    style.SetEast("Far eastwards");
                }
                RecordingDC dc({size, size});
                dc.SetMetricFont({{}, points});
                artist_.Init(dc, style, size, 1000);
                artist_.DrawBackgrnd(dc, style);
                SCOPED_TRACE(testing::Message() << points << " points, " << size << " pixels, variant " << variant);

                Rect inside{{0, 0}, {size, size}};
                const auto frames = dc.Calls(DrawCall::Rectangle);
                if (style.HasBorder()) {
                    inside = {frames[1].bounds.at + Point{1, 1}, {frames[1].size.width - 1, frames[1].size.height - 1}};
                }
                const Rect ring = dc.Calls(DrawCall::Circle)[0].bounds;
                EXPECT_TRUE(inside.Contains(ring));
                const auto texts = dc.Calls(DrawCall::Text);
                ASSERT_EQ(texts.size(), 6U);
                // The two elevations come closer than a line on the smallest plots.
                const std::size_t apart = 30.0 * artist_.GetElevScale() < points ? 4 : 6;
                for (std::size_t i = 0; i < texts.size(); ++i) {
                    EXPECT_TRUE(inside.Contains(texts[i].bounds)) << texts[i];
                    EXPECT_EQ(texts[i].bounds.Overlaps(ring), i >= 4) << texts[i];
                    if (i < apart) {
                        EXPECT_EQ(Overlaps(texts, i), 0) << texts[i];
                    }
                }
            }
        }
    }
}

TEST_F(ConstellationArtistTest, AnySizeIsDefined) {
    constellation_.Add(GNSS::PRN(5), Degrees(10), Degrees(20), 1, true);
    constexpr int Huge = std::numeric_limits<int>::max();
    for (const int size : {0, -7, 1, 5, 26, 27, 20000, Huge}) {
        artist_.Init(dc_, MakeStyle(), size, 1000);
        EXPECT_EQ(artist_.GetHeight(), std::max(size, 0));  // sizes of 0 and below keep the one before
        EXPECT_EQ(artist_.GetElevScale(), size > 26 ? (size - 26.0) / 180.0 : 0.0);
        EXPECT_EQ(Order(MakeStyle()).empty(), size <= 26) << size;  // all but ground and frame needs a scale
        artist_.DrawKey(dc_, MakeStyle());
        EXPECT_GT(artist_.GetKeyWidth(dc_, MakeStyle()), 0);
    }
    artist_.Init(dc_, MakeStyle(), -7, 1000);
    EXPECT_EQ(artist_.GetHeight(), Huge);
}

TEST_F(ConstellationArtistTest, KeyWrapsWithinThePlotAndIsAsWideAsItSays) {
    Style style = MakeStyle();
    for (const char* const kind : {"by test", "by mask, or by the operator"}) {
        for (int i = 0; i < 6; ++i) style.AddColour(i, Colour::Grey, std::string("Rejected\n") + kind);
    }
    EXPECT_EQ(artist_.GetKeyWidth(dc_, style), 0);  // before Init
    for (const int size : {10, 60, 100, 206, 1000}) {
        for (const auto mode : {DopArt::GPSOnly, DopArt::GlonassOnly, DopArt::Both}) {
            SCOPED_TRACE(testing::Message() << size << " pixels, mode " << mode);
            artist_.Init(dc_, style, size, 1000);
            artist_.SetMode(mode);
            dc_.Forget();
            artist_.DrawKey(dc_, style);
            const auto& calls = dc_.Calls();
            ASSERT_EQ(calls.size(), mode == DopArt::GPSOnly ? 26U : 28U);
            EXPECT_EQ(dc_.Calls(DrawCall::Polygon).size(), mode == DopArt::GPSOnly ? 0U : 1U);
            const Rect whole{{0, 0}, {artist_.GetKeyWidth(dc_, style), std::max(size, 19)}};
            int right = 0;
            for (std::size_t i = 0; i < calls.size(); ++i) {
                EXPECT_TRUE(whole.Contains(calls[i].bounds)) << calls[i];
                right = std::max(right, calls[i].bounds.BottomRight().x);
                EXPECT_EQ(Overlaps(calls, i), 0) << calls[i];
            }
            EXPECT_EQ(right, whole.size.width);
        }
    }
}

}  // namespace
