#include "host/render/Palette.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/support/RecordingDC.h"

namespace {

using Corvane::Colour;
using Host::Palette;
using Triple = std::array<double, 3>;

Triple Linear(Colour c) {
    const auto part = [](std::uint8_t v) {
        const double x = v / 255.0;
        return x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
    };
    return {part(c.red), part(c.green), part(c.blue)};
}

// WCAG 2.1, contrast ratio.
double Contrast(Colour a, Colour b) {
    const auto luminance = [](const Triple& rgb) { return 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2]; };
    const double la = luminance(Linear(a)) + 0.05;
    const double lb = luminance(Linear(b)) + 0.05;
    return std::max(la, lb) / std::min(la, lb);
}

using Matrix = std::array<Triple, 3>;

Triple Times(const Matrix& m, const Triple& v) {
    Triple out{};
    for (std::size_t i = 0; i < 3; ++i) out[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
    return out;
}

// Normal vision, and protanopia, deuteranopia and tritanopia after Machado, Oliveira and Fernandes, "A physiologically
// based model for simulation of color vision deficiency", 2009, severity 1.
constexpr std::array<Matrix, 4> Visions = {
    {{{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}},
     {{{0.152286, 1.052583, -0.204868}, {0.114503, 0.786281, 0.099216}, {-0.003882, -0.048116, 1.051998}}},
     {{{0.367322, 0.860646, -0.227968}, {0.280085, 0.672501, 0.047413}, {-0.011820, 0.042940, 0.968881}}},
     {{{1.255528, -0.076749, -0.178779}, {-0.078411, 0.930809, 0.147602}, {0.004733, 0.691367, 0.303900}}}}};

// CIE L*a*b* under D65 as one sees it.
Triple Lab(Colour c, const Matrix& vision) {
    Triple rgb = Times(vision, Linear(c));
    for (double& v : rgb) v = std::clamp(v, 0.0, 1.0);
    const Triple xyz = Times(
        {{{0.4124564, 0.3575761, 0.1804375}, {0.2126729, 0.7151522, 0.0721750}, {0.0193339, 0.1191920, 0.9503041}}},
        rgb);
    const auto f = [](double t) { return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0; };
    const double x = f(xyz[0] / 0.95047);
    const double y = f(xyz[1]);
    const double z = f(xyz[2] / 1.08883);
    return {116.0 * y - 16.0, 500.0 * (x - y), 200.0 * (y - z)};
}

// The colour difference of CIE 1976.
double Difference(const Triple& p, const Triple& q) {
    return std::hypot(q[0] - p[0], q[1] - p[1], q[2] - p[2]);
}

TEST(Palette, IsReadWithAnyColourVision) {
    for (const Palette* palette : {&Palette::Light, &Palette::Dark}) {
        for (const Colour text : {palette->text, palette->faint, palette->alert}) {
            EXPECT_GE(Contrast(text, palette->ground), 4.5);
        }
        EXPECT_GE(Contrast(palette->rule, palette->ground), 3.0);
        EXPECT_GE(Contrast(Colour::Green, palette->ground), 3.0);  // the rings of the sky plot
        double nearest = 1000.0;
        for (const auto& state : palette->states) {
            EXPECT_GE(Contrast(Colour::Black, state.colour), 4.5) << state.name;
            for (const Matrix& vision : Visions) {
                nearest = std::min(nearest, Difference(Lab(state.colour, vision), Lab(palette->ground, vision)));
                for (const auto& other : palette->states) {
                    if (&other == &state) continue;
                    nearest = std::min(nearest, Difference(Lab(state.colour, vision), Lab(other.colour, vision)));
                }
            }
        }
        // Of patches side by side 2 is just seen; from 15 on they are told apart from memory. (CIEDE2000 says 18.8.)
        EXPECT_GE(nearest, 20.0);
    }
}

TEST(Palette, GivesItsColoursToPlotAndTables) {
    const Palette& dark = Palette::Dark;
    GNSS::ConstellationArtist::Style style;
    dark.AddTo(style);
    ASSERT_EQ(style.NmrColour(), 6);
    for (int i = 0; i < 6; ++i) {
        const auto& colour = style.GetStyleColour(i);
        EXPECT_EQ(colour.GetName().StartsWith("GLONASS"), colour.GetIdent() == GNSS::Constellation::HealthyGlonass);
    }

    const Corvane::Style::List styles = dark.MakeStyles();
    EXPECT_EQ(styles.Get(Corvane::Style::Background).brush.colour, dark.ground);
    EXPECT_EQ(styles.Get(Corvane::Style::Faint).text, dark.faint);
    EXPECT_EQ(styles.Get(Corvane::Style::Rule).pen, Corvane::Pen{dark.rule});

    tests::RecordingDC dc({20, 10});
    dark.Begin(dc);
    EXPECT_EQ(dc.Lines().at(0), "rectangle (0,0) 19x9 pen #181a1e brush #181a1e");
    EXPECT_EQ(dc.GetPen(), Corvane::Pen{dark.text});
    EXPECT_TRUE(dc.GetBrush().IsNone());
}

}  // namespace
