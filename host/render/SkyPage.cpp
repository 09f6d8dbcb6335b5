#include "host/render/SkyPage.h"

#include <algorithm>

#include "gnss/platform/Number.h"
#include "gnss/platform/String.h"

namespace Host {

using Corvane::DC;
using Corvane::Font;
using Corvane::Point;
using Corvane::Saturate;
using Corvane::Size;
using Corvane::String;
using GNSS::Constellation;

SkyPage::SkyPage(DC& dc, const SkyPageContent& content)
    : content_(content),
      palette_(content.isDark ? Palette::Dark : Palette::Light),
      plotPalette_(content.style.HasCircles() ? palette_ : Palette::Light),
      style_(content.style),
      artist_(content.constellation),
      dop_(content.dop) {
    const DC::Scope scope(dc);
    dc.SetMetricFont({{}, content.fontPoints});
    style_.ResetColour();
    for (const Palette::State& state : palette_.states) {
        // The key itself leaves out what is of GLONASS alone where that is not shown.
        const bool isOfGPS = state.code == Constellation::HealthyGPS && !GNSS::DopArt::ShowsGPS(content.mode);
        // A sky without a fix has no satellites that a test rejected.
        const bool isUnused =
            state.code == Constellation::Rejected && content.constellation.NmrState(state.code, true) == 0;
        if (!isOfGPS && !isUnused) style_.AddColour(state.code, state.colour, String(state.name));
    }
    artist_.SetMode(content.mode);
    satellites_.SetMode(content.mode);
    satellites_.SetConstellation(content.constellation);
    artist_.Init(dc, style_, std::max(content.plotSize, 1), GNSS::ConstellationArtist::DefaultDelay);
    const Corvane::Style::List styles = palette_.MakeStyles();
    satellites_.Calc(dc, styles);
    dop_.Calc(dc, styles);
    const Size key{artist_.GetKeyWidth(dc, style_), artist_.GetKeyHeight(dc, style_)};

    margin_ = std::max(8, dc.GetFontMetrics().LineHeight());
    Size heading;
    for (std::size_t i = 0; i < content.heading.size(); ++i) {
        const Size line = dc.TextExtent(String::FromUTF8(content.heading[i]), HeadingFont(dc, i));
        heading = {std::max(heading.width, line.width), Saturate(std::int64_t{heading.height} + line.height)};
    }
    const std::int64_t margin = margin_;
    const std::int64_t top = margin + (heading.height > 0 ? heading.height + margin : 0);
    const std::int64_t plot = artist_.GetHeight();
    const std::int64_t middle = margin + plot + margin;
    const std::int64_t right = middle + std::max(dop_.GetSize().width, key.width) + margin;
    const std::int64_t keyTop = top + dop_.GetSize().height + margin;
    const auto at = [](std::int64_t x, std::int64_t y) { return Point{Saturate(x), Saturate(y)}; };
    plotAt_ = at(margin, top);
    dopAt_ = at(middle, top);
    keyAt_ = at(middle, keyTop);
    satellitesAt_ = at(right, top);
    const std::int64_t width = std::max(margin + heading.width, right + satellites_.GetWidth());
    const std::int64_t height = std::max({top + plot, keyTop + key.height, top + satellites_.GetHeight()});
    size_ = {Saturate(width + margin), Saturate(height + margin)};
}

Font SkyPage::HeadingFont(const DC& dc, std::size_t line) const {
    return line == 0 ? Font{{}, dc.GetMetricFont().points + 2, true} : Font{{}, dc.GetMetricFont().points};
}

void SkyPage::Draw(DC& dc) {
    const DC::Scope scope(dc);
    dc.SetMetricFont({{}, content_.fontPoints});
    palette_.Begin(dc);
    std::int32_t y = margin_;
    for (std::size_t i = 0; i < content_.heading.size(); ++i) {
        const String line = String::FromUTF8(content_.heading[i]);
        dc.SelectFont(HeadingFont(dc, i));
        dc.SetTextColour(i == 0 ? palette_.text : palette_.faint);
        dc.DrawText({margin_, y}, line);
        y += dc.TextExtent(line).height;
    }
    dc.RevertFont();
    dc.SetTextColour(palette_.text);
    {
        const DC::Scope plot(dc, plotAt_);
        dc.SetTextColour(plotPalette_.text);
        dc.SetBackColour(plotPalette_.ground);
        artist_.Draw(dc, style_, false);
    }
    {
        const DC::Scope key(dc, keyAt_);
        artist_.DrawKey(dc, style_);
    }
    const Corvane::Style::List styles = palette_.MakeStyles();
    {
        const DC::Scope dop(dc, dopAt_);
        dop_.Draw(dc, styles);
    }
    const DC::Scope table(dc, satellitesAt_);
    satellites_.Draw(dc, styles);
}

}  // namespace Host
