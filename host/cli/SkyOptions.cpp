#include "host/cli/SkyOptions.h"

#include <algorithm>
#include <array>
#include <utility>

#include <CLI/CLI.hpp>

#include "host/render/CairoDC.h"
#include "host/text/Satellites.h"

namespace Host {

using Style = GNSS::ConstellationArtist::Style;

void AddSkyOptions(CLI::App& command, SkyOptions& options) {
    command.add_option("--mode", options.mode, "gps, glonass or both")->capture_default_str();
    command.add_option("--mask", options.mask, "lowest elevation of a satellite that counts, degrees")
        ->capture_default_str();
    command.add_option("--disable", options.disabled, "satellites that do not count: G05,R03 ...")->delimiter(',');
    command.add_flag("--height-aid", options.heightAid, "count a known height as one more range");
}

void AddSkyPictureOptions(CLI::App& command, SkyPictureOptions& options) {
    const std::string group = "Picture";
    const auto onOff = [&](const char* names, bool& value, const char* what) {
        command.add_flag(names, value, what)->group(group)->capture_default_str();
    };
    const auto option = [&](const char* name, auto& value, const char* what) {
        command.add_option(name, value, what)->group(group)->capture_default_str();
    };
    onOff("--border,!--no-border", options.border, "a frame around the plot (as it is without the option)");
    onOff("--circles,!--no-circles", options.circles, "a symbol behind each satellite's number (as it is)");
    onOff("--squares,!--no-squares", options.squares, "squares for GLONASS (as it is)");
    onOff("--elevations,!--no-elevations", options.elevations, "labels on the rings (as it is)");
    onOff("--diagonals,!--no-diagonals", options.diagonals, "the two diagonals");
    onOff("--norvi-ring,!--no-norvi-ring", options.norviRing, "a ring 7 degrees about the zenith");
    option("--azimuths", options.azimuths,
           "labels at the compass points: none, letters, upright, turned1 (with the ring) or turned2 (east and west "
           "alike)");
    option("--north", options.north, "text of a compass point that is not a letter, instead of 360\u00b0");
    option("--east", options.east, "instead of 90\u00b0");
    option("--south", options.south, "instead of 180\u00b0");
    option("--west", options.west, "instead of 270\u00b0");
    option("--palette", options.palette, "light or dark");
    option("--size", options.size, "side of the plot, pixels");
    option("--density", options.density, "pixels of a PNG for each of these: 2 for a screen of double density");
    option("--font-size", options.fontSize, "points");
}

std::string ReadSkyRules(const SkyOptions& options, SkyRules& rules) {
    if (options.mode == "gps") {
        rules.mode = GNSS::DopArt::GPSOnly;
    } else if (options.mode == "glonass") {
        rules.mode = GNSS::DopArt::GlonassOnly;
    } else if (options.mode == "both") {
        rules.mode = GNSS::DopArt::Both;
    } else {
        return "--mode is gps, glonass or both";
    }
    if (!(options.mask >= 0.0 && options.mask < 90.0)) return "--mask: an elevation from 0 to less than 90 degrees";
    rules.mask = Corvane::Angle::FromDegrees(options.mask);
    rules.heightAid = options.heightAid;
    for (const std::string& text : options.disabled) {
        const auto satellite = ParseSatellite(text);
        if (!satellite || satellite->number == 0)
            return "--disable: " + Quoted(text) + " is no satellite; write G01 to G32 or R01 to R24";
        (satellite->system == 'G' ? rules.disabledGPS : rules.disabledGlonass) |=
            std::uint64_t{1} << static_cast<unsigned>(satellite->number);
    }
    return "";
}

std::string ReadPageStyle(const SkyPictureOptions& options, SkyPageContent& page) {
    constexpr std::array<std::pair<const char*, Style::AziStyle>, 5> AziStyles{{{"none", Style::AziNone},
                                                                                {"letters", Style::AziNESW},
                                                                                {"upright", Style::AziUpright},
                                                                                {"turned1", Style::AziRing},
                                                                                {"turned2", Style::AziEastUp}}};
    const auto* const aziStyle = std::find_if(AziStyles.begin(), AziStyles.end(),
                                              [&](const auto& named) { return options.azimuths == named.first; });
    if (aziStyle == AziStyles.end()) return "--azimuths is none, letters, upright, turned1 or turned2";
    page.style.Init(options.border, options.circles, aziStyle->second, options.diagonals, options.elevations,
                    options.norviRing, options.squares);
    const auto set = [&page](const std::string& text, void (Style::*setter)(const Corvane::String&)) {
        if (!text.empty()) (page.style.*setter)(Corvane::String::FromUTF8(text));
    };
    set(options.north, &Style::SetNorth);
    set(options.east, &Style::SetEast);
    set(options.south, &Style::SetSouth);
    set(options.west, &Style::SetWest);
    if (options.palette != "light" && options.palette != "dark") return "--palette is light or dark";
    page.isDark = options.palette == "dark";
    if (options.size < 1) return "--size: the plot has no area";
    if (options.density < 1 || options.density > CairoDC::MaxDensity)
        return "--density is 1 to " + std::to_string(CairoDC::MaxDensity);
    constexpr int MostPoints = 100;
    if (options.fontSize < 1 || options.fontSize > MostPoints) return "--font-size is 1 to 100 points";
    page.plotSize = options.size;
    page.fontPoints = options.fontSize;
    return "";
}

}  // namespace Host
