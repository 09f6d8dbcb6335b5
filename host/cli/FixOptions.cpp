#include "host/cli/FixOptions.h"

#include <array>
#include <cmath>
#include <utility>

#include <CLI/CLI.hpp>

#include "host/cli/Inputs.h"
#include "host/cli/Satellites.h"

namespace Host {

using Corvane::LLSq;

namespace {

// The level of one of a few names; false when there is none.
template <typename Value, typename Key, std::size_t Size>
bool Choose(const std::array<std::pair<Key, Value>, Size>& choices, const Key& key, Value& value) {
    for (const auto& [name, choice] : choices) {
        if (name == key) {
            value = choice;
            return true;
        }
    }
    return false;
}

constexpr std::array<std::pair<double, LLSq::Confidence>, 4> Confidences{
    {{90.0, LLSq::Confidence90}, {95.0, LLSq::Confidence95}, {99.0, LLSq::Confidence99}, {99.9, LLSq::Confidence99_9}}};
constexpr std::array<std::pair<double, LLSq::Power>, 4> Powers{
    {{70.0, LLSq::Power70}, {80.0, LLSq::Power80}, {90.0, LLSq::Power90}, {95.0, LLSq::Power95}}};

}  // namespace

void AddFixOptions(CLI::App& command, FixOptions& options) {
    const std::string group = "Fix";
    const auto option = [&](const char* name, auto& value, const char* what) {
        return command.add_option(name, value, what)->group(group)->capture_default_str();
    };
    const auto off = [&](const char* name, bool& value, const char* what) {
        command.add_flag(std::string(name) + "{false}", value, what)->group(group);
    };
    option("--mode", options.mode, "gps, glonass or both");
    option("--ranges", options.ranges,
           "l1: C/A on L1; iono-free: the combination of both frequencies, without the ionosphere");
    option("--mask", options.mask, "lowest elevation of a satellite that is used, degrees");
    option("--snr-mask", options.snrMask, "weakest signal that is used, dB-Hz");
    off("--no-ionosphere", options.ionosphere, "do not take the broadcast ionosphere off");
    off("--no-troposphere", options.troposphere, "do not take the standard troposphere off");
    option("--shift", options.shift, ShiftHelp);
    command
        .add_option("--height-aid", options.heightAid,
                    "a known height above the ellipsoid and, if not 1, its standard deviation: H,SD, metres")
        ->delimiter(',')
        ->expected(1, 2)
        ->group(group);
    option("--confidence", options.confidence, "of the statistical tests, percent: 90, 95, 99 or 99.9");
    option("--power", options.power, "of the statistical tests, percent: 70, 80, 90 or 95");
    off("--no-reject", options.rejects, "test, but reject no satellite");
    off("--no-velocity", options.velocity, "no velocity from Doppler");
    command.add_option("--disable", options.disabled, "satellites that are not used: G05,R03 ...")
        ->delimiter(',')
        ->group(group);
}

std::string ReadFixOptions(const FixOptions& options, RunRequest& request) {
    FixSettings& settings = request.settings;
    constexpr std::array<std::pair<std::string_view, FixSettings::Systems>, 3> Modes{
        {{"gps", FixSettings::Systems::GPS},
         {"glonass", FixSettings::Systems::Glonass},
         {"both", FixSettings::Systems::Both}}};
    if (!Choose(Modes, std::string_view(options.mode), settings.systems)) return "--mode is gps, glonass or both";
    constexpr std::array<std::pair<std::string_view, FixSettings::Ranges>, 2> Kinds{
        {{"l1", FixSettings::Ranges::L1}, {"iono-free", FixSettings::Ranges::IonosphereFree}}};
    if (!Choose(Kinds, std::string_view(options.ranges), settings.ranges)) return "--ranges is l1 or iono-free";
    if (!(options.mask >= 0.0 && options.mask < 90.0)) return "--mask: an elevation from 0 to less than 90 degrees";
    settings.elevationMask = options.mask;
    if (!(options.snrMask >= 0.0 && options.snrMask <= 70.0)) return "--snr-mask: from 0 to 70 dB-Hz";
    settings.signalMask = options.snrMask;
    settings.ionosphere = options.ionosphere ? FixSettings::Ionosphere::WhenReceived : FixSettings::Ionosphere::Off;
    settings.troposphere = options.troposphere ? FixSettings::Troposphere::Standard : FixSettings::Troposphere::Off;
    if (options.shift != "none") {
        settings.glonassShift = FindShift(options.shift);
        if (settings.glonassShift == nullptr) return "--shift is none, pe90 or novatel";
    }
    if (!options.heightAid.empty()) {
        settings.heightAid = true;
        settings.height = options.heightAid[0];
        if (options.heightAid.size() > 1) settings.heightSD = options.heightAid[1];
        if (!(std::abs(settings.height) <= 1e5)) return "--height-aid: a height within 100 km of the ellipsoid";
        if (!(settings.heightSD >= 1e-3 && settings.heightSD <= 1e4))
            return "--height-aid: a standard deviation from 1 mm to 10 km";
    }
    if (!Choose(Confidences, options.confidence, settings.confidence)) return "--confidence is 90, 95, 99 or 99.9";
    if (!Choose(Powers, options.power, settings.power)) return "--power is 70, 80, 90 or 95";
    settings.rejects = options.rejects;
    settings.velocity = options.velocity;
    for (const std::string& text : options.disabled) {
        const auto satellite = ParseSatellite(text);
        if (!satellite || satellite->number == 0)
            return "--disable: " + Quoted(text) + " is no satellite; write G01 to G32 or R01 to R24";
        if (satellite->system == 'G') {
            request.disabledGPS.emplace_back(satellite->number);
        } else {
            request.disabledGlonass.emplace_back(satellite->number);
        }
    }
    return "";
}

}  // namespace Host
