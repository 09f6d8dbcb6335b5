#include "host/render/Palette.h"

namespace Host {

namespace {

using Corvane::Colour;
using GNSS::Constellation;

// From the colours of Okabe and Ito ("Color universal design", 2008), moved until each bears black digits and all of
// them, with either ground, stay apart for protanopes, deuteranopes and tritanopes. The same on both grounds: an
// operator learns one code.
constexpr std::array<Palette::State, 6> States = {{
    {Constellation::HealthyGPS, Colour{8, 135, 106}, "GPS healthy"},
    {Constellation::HealthyGlonass, Colour{113, 200, 255}, "GLONASS healthy"},
    {Constellation::Unhealthy, Colour{217, 64, 9}, "Unhealthy"},
    {Constellation::BelowMask, Colour{165, 175, 175}, "Below mask"},
    {Constellation::Disabled, Colour{232, 205, 96}, "Disabled"},
    {Constellation::Rejected, Colour{174, 94, 168}, "Rejected"},
}};

}  // namespace

constexpr Palette Palette::Light = {Colour::White, {26, 26, 26},    {105, 105, 105},
                                    {184, 58, 0},  {140, 140, 140}, States};
constexpr Palette Palette::Dark = {{24, 26, 30},   {236, 238, 240}, {158, 162, 166},
                                   {255, 138, 76}, {118, 122, 126}, States};

void Palette::Begin(Corvane::DC& dc) const {
    dc.SetBackColour(ground);
    dc.SetTextColour(text);
    dc.SetTextPen();
    dc.SetBrush(Corvane::Brush::None);
    dc.Clear();
}

void Palette::AddTo(GNSS::ConstellationArtist::Style& style) const {
    for (const State& state : states) style.AddColour(state.code, state.colour, state.name);
}

Corvane::Style::List Palette::MakeStyles() const {
    using Corvane::Style;
    Style::List styles(text, ground);
    const auto change = [&styles](Style::Part part, auto set) {
        Style style = styles.Get(part);
        set(style);
        styles.Set(part, style);
    };
    change(Style::Alert, [this](Style& style) { style.text = alert; });
    change(Style::Faint, [this](Style& style) { style.text = faint; });
    change(Style::Rule, [this](Style& style) { style.pen = Corvane::Pen{rule}; });
    return styles;
}

}  // namespace Host
