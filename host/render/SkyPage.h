// Host::SkyPage: a sky plot with its key and tables on one page.
#pragma once

#include <string>
#include <vector>

#include "gnss/display/ConstellationArtist.h"
#include "gnss/display/ConstellationStyle.h"
#include "gnss/display/ConstellationTable.h"
#include "gnss/display/DOPTable.h"
#include "gnss/display/DopArt.h"
#include "gnss/platform/DC.h"
#include "gnss/position/Constellation.h"
#include "gnss/position/DOP.h"
#include "host/render/Palette.h"

namespace Host {

// What a page shows.
struct SkyPageContent {
    std::vector<std::string> heading;  // lines of UTF-8; the first stands out
    GNSS::Constellation constellation;
    GNSS::DOP dop;
    GNSS::DopArt::Mode mode = GNSS::DopArt::Both;
    // Without its colours, which are the palette's.
    GNSS::ConstellationArtist::Style style;
    int plotSize = 600;  // pixels, of the plot's side
    int fontPoints = 10;
    bool isDark = false;
};

// The heading, under it the plot, right of that the DOP table over the key, and right of these the satellites. Whatever
// the sizes are, nothing is cut and nothing covers anything: the page is as large as its parts need.
//
// The digits of the plot are black. Where nothing stands behind them (a style without circles), the plot of a dark page
// is light.
class SkyPage {
public:
    // Lays the page out by the fonts of a context of the kind that it will be drawn on. The content must outlive this.
    SkyPage(Corvane::DC& dc, const SkyPageContent& content);

    // May be too large to be made (see CairoDC::Check), never negative.
    [[nodiscard]] Corvane::Size GetSize() const { return size_; }
    // On the whole of a surface of that size.
    void Draw(Corvane::DC& dc);

private:
    [[nodiscard]] Corvane::Font HeadingFont(const Corvane::DC& dc, std::size_t line) const;

    const SkyPageContent& content_;
    const Palette& palette_;
    const Palette& plotPalette_;
    GNSS::ConstellationArtist::Style style_;
    GNSS::ConstellationArtist artist_;
    GNSS::ConstellationTable satellites_;
    GNSS::DOPTable dop_;
    Corvane::Size size_;
    Corvane::Point plotAt_;
    Corvane::Point dopAt_;
    Corvane::Point keyAt_;
    Corvane::Point satellitesAt_;
    int margin_ = 0;
};

}  // namespace Host
