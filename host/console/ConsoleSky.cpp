#include "host/console/ConsoleSky.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include "gnss/display/ConstellationArtist.h"
#include "gnss/display/ConstellationStyle.h"
#include "gnss/display/DopArt.h"
#include "host/console/ConsoleJson.h"
#include "host/render/CairoDC.h"
#include "host/render/Palette.h"

namespace Host {

using GNSS::Constellation;
using GNSS::ConstellationArtist;
using Style = ConstellationArtist::Style;

namespace {

struct Request {
    GNSS::DopArt::Mode mode = GNSS::DopArt::Both;
    bool isOddTurn = false;
    std::array<bool, 6> parts{true, true, true, true, false, false};  // in the order of Parts
    Style::AziStyle azimuths = Style::AziNESW;
    bool isDark = false;
    bool hasKey = false;
    int size = 600;
    int font = 10;

    // The same for the same picture.
    [[nodiscard]] std::string Name() const {
        std::string name;
        for (const int value : {int{mode}, int{isOddTurn}, int{azimuths}, int{isDark}, int{hasKey}, size, font})
            name += std::to_string(value) + ' ';
        for (const bool part : parts) name += part ? '1' : '0';
        return name;
    }
};
constexpr std::array<std::string_view, 6> Parts{"border", "circles", "squares", "elevations", "diagonals", "norvi"};

template <typename Value, std::size_t Nmr>
std::optional<Value> Find(const std::array<std::pair<std::string_view, Value>, Nmr>& choices, std::string_view name) {
    for (const auto& [known, value] : choices)
        if (known == name) return value;
    return std::nullopt;
}

std::optional<std::int64_t> Whole(std::string_view text, std::int64_t low, std::int64_t high) {
    std::int64_t value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
    return value >= low && value <= high ? std::optional(value) : std::nullopt;
}

// False for a parameter that there is not, or with a value that it has not.
bool Understand(std::string_view name, std::string_view value, Request& request) {
    constexpr std::int64_t Most = std::numeric_limits<std::int64_t>::max();
    constexpr std::array<std::pair<std::string_view, GNSS::DopArt::Mode>, 4> Modes{
        {{"gps", GNSS::DopArt::GPSOnly},
         {"glonass", GNSS::DopArt::GlonassOnly},
         {"both", GNSS::DopArt::Both},
         {"alternate", GNSS::DopArt::Both}}};
    constexpr std::array<std::pair<std::string_view, Style::AziStyle>, 5> Azimuths{{{"none", Style::AziNone},
                                                                                    {"letters", Style::AziNESW},
                                                                                    {"upright", Style::AziUpright},
                                                                                    {"turned1", Style::AziRing},
                                                                                    {"turned2", Style::AziEastUp}}};
    constexpr std::array<std::pair<std::string_view, bool>, 2> Palettes{{{"light", false}, {"dark", true}}};
    constexpr std::array<std::pair<std::string_view, bool>, 2> Switch{{{"0", false}, {"1", true}}};
    const auto take = [](auto& to, const auto& found) {
        if (found) to = static_cast<std::remove_reference_t<decltype(to)>>(*found);
        return found.has_value();
    };
    if (name == "mode") return take(request.mode, Find(Modes, value));
    if (name == "azimuths") return take(request.azimuths, Find(Azimuths, value));
    if (name == "palette") return take(request.isDark, Find(Palettes, value));
    if (name == "key") return take(request.hasKey, Find(Switch, value));
    if (name == "size") return take(request.size, Whole(value, 100, ConsoleSky::MaxSize));
    if (name == "font") return take(request.font, Whole(value, 6, 40));
    if (name == "turn") {
        const auto turn = Whole(value, 0, Most);
        if (turn) request.isOddTurn = *turn % 2 == 1;
        return turn.has_value();
    }
    const auto* const part = std::find(Parts.begin(), Parts.end(), name);
    return part != Parts.end() &&
           take(request.parts.at(static_cast<std::size_t>(part - Parts.begin())), Find(Switch, value));
}

// Empty, with the reason, when it cannot be drawn.
std::string Draw(const Request& request, const Constellation& constellation, std::string& reason) {
    const auto& [border, circles, squares, elevations, diagonals, norvi] = request.parts;
    const Palette& palette = request.isDark ? Palette::Dark : Palette::Light;
    // The digits are black: where nothing stands behind them the ground is light.
    const Palette& ground = circles ? palette : Palette::Light;
    Style style(border, circles, request.azimuths, diagonals, elevations, norvi, squares);
    for (const Palette::State& state : palette.states) {
        if (state.code != Constellation::HealthyGPS || GNSS::DopArt::ShowsGPS(request.mode))
            style.AddColour(state.code, state.colour, state.name);
    }
    ConstellationArtist artist(constellation);
    artist.SetMode(request.mode);
    const Corvane::Font font{{}, request.font};
    // The order of the satellites is that of the turn, and nothing but a turn changes it.
    const auto init = [&](Corvane::DC& dc) {
        artist.Init(dc, style, request.size, std::numeric_limits<int>::max());
        artist.ResetTimer();
    };
    Corvane::Size size{request.size, request.size};
    if (request.hasKey) {
        const auto measure = CairoDC::Make(PictureKind::Svg, {1, 1});
        if (measure == nullptr) return reason = "there is not enough memory", std::string();
        const Corvane::DC::Scope scope(*measure);
        measure->SetMetricFont(font);
        init(*measure);
        size.width += artist.GetKeyWidth(*measure, style) + request.size / 30;
        size.height = std::max(size.height, artist.GetKeyHeight(*measure, style));
    }
    const auto picture = CairoDC::Make(PictureKind::Svg, size);
    if (picture == nullptr) return reason = "there is not enough memory", std::string();
    {
        const Corvane::DC::Scope scope(*picture);
        picture->SetMetricFont(font);
        palette.Begin(*picture);
        picture->SetTextColour(ground.text);
        picture->SetBackColour(ground.ground);
        if (request.isOddTurn) artist.Reverse();
        init(*picture);
        artist.Draw(*picture, style, false);
        if (request.hasKey) {
            const Corvane::DC::Scope key(*picture, {request.size + request.size / 30, 0});
            picture->SetTextColour(palette.text);
            artist.DrawKey(*picture, style);
        }
    }
    std::string svg;
    if (!picture->Encode(svg, reason)) svg.clear();
    return svg;
}

template <typename Entries>
bool LooksAlike(const Entries& a, const Entries& b) {
    const auto isNear = [](Corvane::Angle x, Corvane::Angle y, double scale) {
        const double turns = std::remainder(x.Degrees() - y.Degrees(), 360.0) * scale;
        // What is no number is not drawn.
        return std::isfinite(turns) ? std::abs(turns) <= ConsoleSky::LeastMove
                                    : std::isfinite(x.Degrees()) == std::isfinite(y.Degrees());
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](const auto& x, const auto& y) {
        // About the zenith the azimuth hardly moves anything.
        const double scale = std::isfinite(x.GetElevation().Degrees()) ? std::cos(x.GetElevation().Radians()) : 1.0;
        return x.GetId() == y.GetId() && x.GetState() == y.GetState() &&
               isNear(x.GetElevation(), y.GetElevation(), 1.0) && isNear(x.GetAzimuth(), y.GetAzimuth(), scale);
    });
}

bool LooksAlike(const Constellation& a, const Constellation& b) {
    return LooksAlike(a.GetSVs(), b.GetSVs()) && LooksAlike(a.GetGlonassSVs(), b.GetGlonassSVs());
}

}  // namespace

std::int64_t ConsoleSky::Set(const Constellation& constellation) {
    if (constellation_ && LooksAlike(*constellation_, constellation)) return changed_;
    auto next = std::make_shared<const Constellation>(constellation);
    const std::lock_guard lock(mutex_);
    constellation_ = std::move(next);
    return ++changed_;
}

ConsoleAnswer ConsoleSky::Get(const std::map<std::string, std::string>& parameters) {
    Request request;
    for (const auto& [name, value] : parameters) {
        // A number that makes a browser ask anew.
        if (name == "changed") continue;
        if (!Understand(name, value, request))
            return {400, "application/json", ConsoleJson::Error(fmt::format("the picture has no {}={}", name, value))};
    }
    if (const auto mode = parameters.find("mode"); mode == parameters.end() || mode->second != "alternate")
        request.isOddTurn = false;

    const std::lock_guard drawing(drawing_);
    std::shared_ptr<const Constellation> constellation;
    std::int64_t changed = 0;
    {
        const std::lock_guard lock(mutex_);
        constellation = constellation_;
        changed = changed_;
    }
    if (changed != drawn_) kept_.clear();
    drawn_ = changed;
    const std::string name = request.Name();
    const auto found = std::find_if(kept_.begin(), kept_.end(), [&](const auto& kept) { return kept.first == name; });
    if (found != kept_.end()) {
        kept_.splice(kept_.begin(), kept_, found);
        return {200, "image/svg+xml", *kept_.front().second};
    }
    std::string reason;
    std::string svg = Draw(request, constellation ? *constellation : Constellation(), reason);
    if (svg.empty()) return {500, "application/json", ConsoleJson::Error(reason)};
    kept_.emplace_front(name, std::make_shared<const std::string>(svg));
    if (kept_.size() > MaxKept) kept_.pop_back();
    return {200, "image/svg+xml", std::move(svg)};
}

}  // namespace Host
