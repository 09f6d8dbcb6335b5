// Host::Palette: the colours of pictures, on a light and on a dark ground.
#pragma once

#include <array>

#include "gnss/display/ConstellationStyle.h"
#include "gnss/platform/Colour.h"
#include "gnss/platform/DC.h"
#include "gnss/platform/Style.h"
#include "gnss/position/Constellation.h"

namespace Host {

// Colours that stay apart for every colour vision. Text has a contrast of 4.5 to 1 and more to its ground, and so have
// the black digits to the disc of each state (WCAG 2.1, 1.4.3); lines have 3 to 1 (1.4.11).
struct Palette {
    // A state of a satellite: what it is called in the key of the sky plot, and its colour there. The key leaves out
    // what begins with "GLONASS" when it shows GPS alone.
    struct State {
        GNSS::Constellation::State code;
        Corvane::Colour colour;
        const char* name;
    };

    Corvane::Colour ground;
    Corvane::Colour text;
    Corvane::Colour faint;  // text that matters less
    Corvane::Colour alert;  // text that must not be overlooked
    Corvane::Colour rule;   // lines of tables and plots
    std::array<State, 6> states;

    // Clears the surface and sets the colours of text, lines and ground.
    void Begin(Corvane::DC& dc) const;
    // Adds the states to the colours of a sky plot.
    void AddTo(GNSS::ConstellationArtist::Style& style) const;
    // For tables.
    [[nodiscard]] Corvane::Style::List MakeStyles() const;

    static const Palette Light;
    static const Palette Dark;
};

}  // namespace Host
