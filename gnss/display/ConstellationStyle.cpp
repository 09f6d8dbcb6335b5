#include "gnss/display/ConstellationStyle.h"

#include <algorithm>
#include <cstddef>

namespace GNSS {

void ConstellationArtist::Style::Init(bool border, bool circles, AziStyle aziStyle, bool diag, bool elev, bool norvi,
                                      bool squares) {
    border_ = border;
    circles_ = circles;
    aziStyle_ = aziStyle;
    diag_ = diag;
    elev_ = elev;
    norvi_ = norvi;
    squares_ = squares;
}

void ConstellationArtist::Style::AddColour(int ident, const Corvane::Colour& colour, const Corvane::String& name) {
    colours_.emplace_back(ident, colour, name);
}

const ConstellationArtist::Style::Colour& ConstellationArtist::Style::GetStyleColour(int i) const {
    static const Colour none;
    return i >= 0 && i < NmrColour() ? colours_[static_cast<std::size_t>(i)] : none;
}

Corvane::Colour ConstellationArtist::Style::GetColour(int ident) const {
    const auto found = std::find_if(colours_.begin(), colours_.end(),
                                    [ident](const Colour& colour) { return colour.GetIdent() == ident; });
    return found == colours_.end() ? Corvane::Colour::White : found->GetColour();
}

}  // namespace GNSS
