// GNSS::ConstellationArtist::Style: what a sky plot shows, and the colours of the satellites' states.
#pragma once

#include <cstdint>
#include <vector>

#include "gnss/display/ConstellationArtist.h"
#include "gnss/platform/Colour.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace GNSS {

// At first everything but the diagonals and the innermost ring is shown, with letters at the compass points, and no
// state has a colour.
class GNSS_EXPORT ConstellationArtist::Style {
public:
    // How the compass points are labelled. Any other number counts as AziUpright.
    enum AziStyle : std::int32_t {
        AziNone = 0,
        AziNESW = 1,     // the letters N, E, S and W
        AziUpright = 2,  // the four texts upright
        AziRing = 3,     // the four texts turned with the ring: south upside down, east and west outwards
        AziEastUp = 4,   // north and south upright, east and west both turned clockwise
    };

    // The colour of the satellites in one state, and its text in the key.
    class Colour {
    public:
        Colour() = default;
        Colour(int ident, const Corvane::Colour& colour, const Corvane::String& name)
            : ident_(ident), colour_(colour), name_(name) {}

        [[nodiscard]] int GetIdent() const { return ident_; }
        [[nodiscard]] const Corvane::Colour& GetColour() const { return colour_; }
        [[nodiscard]] const Corvane::String& GetName() const { return name_; }
        // An entry of the key that belongs to GLONASS alone.
        [[nodiscard]] bool IsGlonass() const { return name_.StartsWith("GLONASS"); }

    private:
        std::int32_t ident_ = 0;
        Corvane::Colour colour_ = Corvane::Colour::White;
        Corvane::String name_;
    };

    Style() = default;
    Style(bool border, bool circles, AziStyle aziStyle, bool diag, bool elev, bool norvi, bool squares) {
        Init(border, circles, aziStyle, diag, elev, norvi, squares);
    }
    // Leaves compass texts and colours as they are.
    void Init(bool border, bool circles, AziStyle aziStyle, bool diag, bool elev, bool norvi, bool squares);

    // A frame around the plot.
    [[nodiscard]] bool HasBorder() const { return border_; }
    void SetBorder(bool border) { border_ = border; }
    // A symbol in the colour of its state behind each satellite's number.
    [[nodiscard]] bool HasCircles() const { return circles_; }
    void SetCircles(bool circles) { circles_ = circles; }
    // Squares instead of discs as the symbols of GLONASS satellites, and of entries of the key that begin with GLONASS.
    [[nodiscard]] bool HasSquares() const { return squares_; }
    void SetSquares(bool squares) { squares_ = squares; }
    // The two diagonals.
    [[nodiscard]] bool HasDiag() const { return diag_; }
    void SetDiag(bool diag) { diag_ = diag; }
    // Labels on the rings of 30 and 60 degrees of elevation.
    [[nodiscard]] bool HasElev() const { return elev_; }
    void SetElev(bool elev) { elev_ = elev; }
    // A ring 7 degrees about the zenith.
    [[nodiscard]] bool ShowNorvi() const { return norvi_; }
    void SetNorvi(bool norvi) { norvi_ = norvi; }

    void SetAziStyle(AziStyle aziStyle) { aziStyle_ = aziStyle; }
    [[nodiscard]] AziStyle GetAziStyle() const { return aziStyle_; }
    [[nodiscard]] bool ShowAzi() const { return aziStyle_ != AziNone; }
    [[nodiscard]] bool UseNESW() const { return aziStyle_ == AziNESW; }
    [[nodiscard]] bool AziRot1() const { return aziStyle_ == AziRing; }
    [[nodiscard]] bool AziRot2() const { return aziStyle_ == AziEastUp; }
    [[nodiscard]] bool AziRot() const { return AziRot1() || AziRot2(); }

    // The texts of the compass points where they are not letters; written smaller where they are too long for their
    // room.
    [[nodiscard]] const Corvane::String& GetNorth() const { return north_; }
    void SetNorth(const Corvane::String& text) { north_ = text; }
    [[nodiscard]] const Corvane::String& GetEast() const { return east_; }
    void SetEast(const Corvane::String& text) { east_ = text; }
    [[nodiscard]] const Corvane::String& GetSouth() const { return south_; }
    void SetSouth(const Corvane::String& text) { south_ = text; }
    [[nodiscard]] const Corvane::String& GetWest() const { return west_; }
    void SetWest(const Corvane::String& text) { west_ = text; }

    // The colours, in the order of the key. A state that is added twice is there twice, and has the first colour.
    void AddColour(int ident, const Corvane::Colour& colour, const Corvane::String& name);
    [[nodiscard]] int NmrColour() const { return static_cast<int>(colours_.size()); }
    // By index, from 0; white without a name outside the list.
    [[nodiscard]] const Colour& GetStyleColour(int i) const;
    // Of a satellite's state; white when the state has none.
    [[nodiscard]] Corvane::Colour GetColour(int ident) const;
    // Both empty the list of colours, and leave everything else.
    void ResetColour() { colours_.clear(); }
    void Clear() { ResetColour(); }

private:
    bool border_ = true;
    bool circles_ = true;
    bool squares_ = true;
    bool diag_ = false;
    bool elev_ = true;
    bool norvi_ = false;
    AziStyle aziStyle_ = AziNESW;
    Corvane::String north_ = "360\xB0";
    Corvane::String east_ = "90\xB0";
    Corvane::String south_ = "180\xB0";
    Corvane::String west_ = "270\xB0";
    std::vector<Colour> colours_;
};

}  // namespace GNSS
