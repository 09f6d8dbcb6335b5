#include "host/run/RunSettings.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "host/live/SourceAddress.h"
#include "host/run/SettingKinds.h"
#include "host/text/PlaceText.h"
#include "host/text/Satellites.h"

namespace Host {

namespace {

using namespace SettingKinds;  // NOLINT: made for this file
using Corvane::LLSq;
using Kind = Setting::Kind;

Setting Sources() {
    Setting setting =
        Make({"sources", "files", "SOURCE",
              "logs (UBX, NovAtel OEM, RTCM 3) and RINEX observation and navigation files, plain or gzip; "
              "- is standard input; or live: tcp://HOST:PORT, tcp-listen://PORT, udp://PORT, ntrip://USER@HOST/MOUNT, "
              "serial:///dev/ttyUSB0?baud=115200, simulator (which none at all means, too)"},
             Kind::List, "a list of file names");
    setting.print = [](const RunSettings& s) {
        std::string list;
        for (const std::string& input : s.request.inputs)
            list += (list.empty() ? "" : ", ") + QuoteText(SourceAddress::IsLive(input) ? MaskPassword(input) : input);
        return "[" + list + "]";
    };
    setting.set = [](RunSettings& s, const SettingValue& value) {
        const auto* names = std::get_if<std::vector<std::string>>(&value);
        const auto isName = [](const std::string& name) {
            return !name.empty() && name.find('\0') == std::string::npos;
        };
        if (names == nullptr || !std::all_of(names->begin(), names->end(), isName)) return false;
        s.request.inputs = *names;
        return true;
    };
    return setting;
}

Setting Disabled() {
    Setting setting = Make({"satellites", "disabled", "--disable", "satellites that are not used"}, Kind::List,
                           "a list of satellites, G01 to G32 and R01 to R24: G05,R03");
    setting.print = [](const RunSettings& s) {
        std::string list;
        const auto add = [&list](char system, int number) {
            list += (list.empty() ? "\"" : ", \"") + PrintSatellite(system, number) + '"';
        };
        for (const GNSS::PRN& prn : s.request.disabledGPS) add('G', prn);
        for (const GNSS::Glonass::Slot& slot : s.request.disabledGlonass) add('R', slot);
        return "[" + list + "]";
    };
    setting.set = [](RunSettings& s, const SettingValue& value) {
        const auto* names = std::get_if<std::vector<std::string>>(&value);
        if (names == nullptr) return false;
        std::array<bool, EphemerisSet::NmrGPS + 1> gps{};
        std::array<bool, EphemerisSet::NmrGlonass + 1> glonass{};
        for (const std::string& name : *names) {
            const std::optional<Satellite> satellite = ParseSatellite(name);
            if (!satellite || satellite->number == 0) return false;
            const auto index = static_cast<std::size_t>(satellite->number);
            (satellite->system == 'G' ? gps.at(index) : glonass.at(index)) = true;
        }
        s.request.disabledGPS.clear();
        s.request.disabledGlonass.clear();
        for (std::size_t i = 1; i < gps.size(); ++i)
            if (gps.at(i)) s.request.disabledGPS.emplace_back(static_cast<int>(i));
        for (std::size_t i = 1; i < glonass.size(); ++i)
            if (glonass.at(i)) s.request.disabledGlonass.emplace_back(static_cast<int>(i));
        return true;
    };
    return setting;
}

// A number, or none.
Setting HeightAid() {
    constexpr Range Heights{-1e5, 1e5};
    Setting setting = Make({"height-aid", "height", "--height-aid",
                            "a known height above the ellipsoid that counts as one more observation"},
                           Kind::Number, "\"none\" or a number from -100000 to 100000", "metres");
    setting.print = [](const RunSettings& s) {
        return s.request.settings.heightAid ? PrintValue(s.request.settings.height) : std::string("\"none\"");
    };
    setting.set = [Heights](RunSettings& s, const SettingValue& value) {
        FixSettings& fix = s.request.settings;
        const auto* text = std::get_if<std::string>(&value);
        const std::optional<double> number = AsNumber(value);
        if (text != nullptr ? *text != "none" : !number || !IsIn(Heights, *number)) return false;
        fix.heightAid = number.has_value();
        fix.height = number.value_or(0.0) + 0.0;
        return true;
    };
    return setting;
}

Setting Reference() {
    Setting setting = Make({"output", "reference", "--reference",
                            "the true position, for differences; without it they are from the run's own mean"},
                           Kind::Text,
                           "\"LAT,LON,HEIGHT\" in degrees and metres above the ellipsoid, or \"X,Y,Z\" in metres; \"\" "
                           "for none");
    setting.print = [](const RunSettings& s) { return QuoteText(s.reference); };
    setting.set = [](RunSettings& s, const SettingValue& value) {
        const auto* text = std::get_if<std::string>(&value);
        if (text == nullptr) return false;
        const std::optional<GNSS::Geog> place = ParsePlace(*text, true);
        if (!place && !text->empty()) return false;
        s.reference = *text;
        s.referencePlace.reset();
        if (place) s.referencePlace = GNSS::LocalGrid(*place, GNSS::Spheroid::WGS84).GetOriginECEF();
        return true;
    };
    return setting;
}

// Whether it may be an address or a port, and is not the name of a source that stands behind the option. The server
// knows the rest.
bool LooksLikeAddress(std::string_view text) {
    constexpr std::string_view Digits = "0123456789";
    if (text.find_first_of("/\\ \t\r\n") != std::string_view::npos) return false;
    const std::size_t colon = text.rfind(':');
    const std::string_view port = colon == std::string_view::npos ? std::string_view() : text.substr(colon + 1);
    if (!port.empty() && port.find_first_not_of(Digits) == std::string_view::npos) return true;
    return text.empty() || text.front() == '[' || text == "localhost" || text == "*" ||
           text.find_first_not_of("0123456789.") == std::string_view::npos;
}

// Where the operator's page is.
Setting ConsoleAddress() {
    Setting setting = Make({"console", "address", "--console",
                            "a page for browsers at this address, 127.0.0.1:8080 where only --console stands, on which "
                            "a run is watched and steered; beyond this machine a token is needed"},
                           Kind::Text, "ADDRESS:PORT, ADDRESS or PORT, and no source; \"\" for none");
    setting.implied = ConsoleChoices::Usual;
    setting.print = [](const RunSettings& s) { return QuoteText(s.console.address); };
    setting.set = [](RunSettings& s, const SettingValue& value) {
        const auto* number = std::get_if<std::int64_t>(&value);
        const std::string* text = AsName(value);
        if (text == nullptr && number == nullptr) return false;
        const std::string written = text != nullptr ? *text : std::to_string(*number);
        if (!LooksLikeAddress(written)) return false;
        s.console.address = written;
        return true;
    };
    return setting;
}

Setting ConsoleHosts() {
    Setting setting = Make({"console", "hosts", "--console-hosts",
                            "names and addresses, beside its own, under which the page may be asked for"},
                           Kind::List, "a list of hosts, with a port or for any: bridge.example,10.0.0.5:8080");
    setting.print = [](const RunSettings& s) {
        std::string list;
        for (const std::string& host : s.console.hosts) list += (list.empty() ? "" : ", ") + QuoteText(host);
        return "[" + list + "]";
    };
    setting.set = [](RunSettings& s, const SettingValue& value) {
        const auto* hosts = std::get_if<std::vector<std::string>>(&value);
        if (hosts != nullptr) s.console.hosts = *hosts;
        return hosts != nullptr;
    };
    return setting;
}

std::vector<Setting> MakeConsoleSettings() {
    return {
        ConsoleAddress(),
        ConsoleHosts(),
        Switch({"console", "token_always", "--console-token-always",
                "nobody is let in without a token, not even from this machine: for use behind a proxy"},
               &ConsoleChoices::tokenAlways),
        Name({"console", "view_token_file", "--console-view-token-file",
              "a file, readable by its owner alone, whose first line is the token of those who may look"},
             &ConsoleChoices::viewTokenFile, "a file name; \"\" for none"),
        Name({"console", "steer_token_file", "--console-steer-token-file", "likewise of those who may steer as well"},
             &ConsoleChoices::steerTokenFile, "a file name; \"\" for none"),
        Hidden({"console", "view_token", "",
                "the token of those who may look, when no file has it; the configuration file must then be readable by "
                "its owner alone. Shown as asterisks"},
               &ConsoleChoices::viewToken),
        Hidden({"console", "steer_token", "", "likewise of those who may steer as well"}, &ConsoleChoices::steerToken),
    };
}

constexpr const char* FileOrNone = "a file name; \"\" for standard output";

std::vector<Setting> MakeFixSettings() {
    using Fix = FixSettings;
    using Weights = RangeWeights;
    constexpr Range Metres{0.0, 1000.0};
    constexpr Range Share{0.0, 10.0};
    return {
        Choice<Fix::Systems>(
            {"fix", "mode", "--mode", "the systems whose satellites are used"}, &Fix::systems,
            {{"gps", Fix::Systems::GPS}, {"glonass", Fix::Systems::Glonass}, {"both", Fix::Systems::Both}}),
        Choice<Fix::Ranges>({"fix", "ranges", "--ranges",
                             "C/A on L1, or the combination of both frequencies that is without the ionosphere"},
                            &Fix::ranges, {{"l1", Fix::Ranges::L1}, {"iono-free", Fix::Ranges::IonosphereFree}}),
        Number({"fix", "mask", "--mask", "lowest elevation of a satellite that is used"}, &Fix::elevationMask,
               {0.0, 89.0}, "degrees"),
        Number({"fix", "snr-mask", "--snr-mask", "weakest signal that is used"}, &Fix::signalMask, {0.0, 70.0},
               "dB-Hz"),
        Either({"fix", "ionosphere", "--ionosphere",
                "take the broadcast ionosphere off, from when its coefficients are received"},
               &Fix::ionosphere, Fix::Ionosphere::WhenReceived, Fix::Ionosphere::Off),
        Either({"fix", "troposphere", "--troposphere", "take the standard troposphere off"}, &Fix::troposphere,
               Fix::Troposphere::Standard, Fix::Troposphere::Off),
        Choice<const GNSS::HelmertShift*>(
            {"fix", "shift", "--shift",
             "shift of GLONASS positions from PZ-90 to WGS 84: none (PZ-90.02 of 2007 and later agrees within "
             "decimetres), that of the first PZ-90, or that of NovAtel receivers"},
            &Fix::glonassShift,
            {{"none", nullptr}, {"pe90", &GNSS::Glonass::PE90_to_WGS84}, {"novatel", &GNSS::Glonass::NovatelShift}}),
        Switch({"fix", "velocity", "--velocity", "velocity from Doppler"}, &Fix::velocity),

        Number({"fix.weights", "code-gps", "--code-gps", "noise of a GPS range at the zenith"}, &Weights::codeGPS,
               {0.01, 1000.0}, "metres"),
        Number({"fix.weights", "code-glonass", "--code-glonass", "noise of a GLONASS range at the zenith"},
               &Weights::codeGlonass, {0.01, 1000.0}, "metres"),
        Number({"fix.weights", "strong-signal", "--strong-signal", "a weaker signal than this makes a noisier range"},
               &Weights::strongSignal, {0.0, 70.0}, "dB-Hz"),
        Number({"fix.weights", "per-doubling", "--per-doubling", "how much weaker a signal of twice the noise is"},
               &Weights::perDoubling, {1.0, 100.0}, "dB"),
        Number({"fix.weights", "orbit-gps", "--orbit-gps", "error of the orbit and clock of a GPS satellite"},
               &Weights::orbitGPS, Metres, "metres"),
        Number(
            {"fix.weights", "orbit-glonass", "--orbit-glonass", "error of the orbit and clock of a GLONASS satellite"},
            &Weights::orbitGlonass, Metres, "metres"),
        Number({"fix.weights", "ionosphere-share", "--ionosphere-share",
                "error of the broadcast ionosphere, as a share of its delay"},
               &Weights::ionosphereShare, Share),
        Number({"fix.weights", "unmodelled", "--unmodelled", "error at the zenith where no ionosphere is taken off"},
               &Weights::unmodelled, Metres, "metres"),
        Number({"fix.weights", "troposphere-share", "--troposphere-share",
                "error of the troposphere, as a share of its delay"},
               &Weights::troposphereShare, Share),
        Number({"fix.weights", "doppler", "--doppler-sd", "noise of a range rate at the zenith"}, &Fix::dopplerSD,
               {0.001, 1000.0}, "metres per second"),

        HeightAid(),
        Number({"height-aid", "sd", "--height-sd", "standard deviation of the known height"}, &Fix::heightSD,
               {0.001, 10000.0}, "metres"),

        Level<LLSq::Confidence>({"tests", "confidence", "--confidence", "level of the w-test"}, &Fix::confidence,
                                {{90.0, LLSq::Confidence90},
                                 {95.0, LLSq::Confidence95},
                                 {99.0, LLSq::Confidence99},
                                 {99.9, LLSq::Confidence99_9}}),
        Level<LLSq::Power>(
            {"tests", "power", "--power", "probability of finding a fault of the size of the MDE"}, &Fix::power,
            {{70.0, LLSq::Power70}, {80.0, LLSq::Power80}, {90.0, LLSq::Power90}, {95.0, LLSq::Power95}}),
        Choice<LLSq::FLimit>({"tests", "f-limit", "--f-limit",
                              "limit of the F-test: that of the same power as the w-test, or that of 5 % whatever the "
                              "confidence"},
                             &Fix::fLimit, {{"equal-power", LLSq::FEqualPower}, {"five-percent", LLSq::FFivePercent}}),
        Switch({"tests", "reject", "--reject", "reject the satellite of the largest w that fails, and solve again"},
               &Fix::rejects),

        Number({"limits", "hdop", "--hdop-limit", "an HDOP above this has a note"}, &Fix::hdopLimit, {0.1, 1000.0}),
        Number({"limits", "pdop", "--pdop-limit", "a PDOP above this has a note"}, &Fix::pdopLimit, {0.1, 1000.0}),
        Whole({"limits", "satellites", "--min-satellites", "fewer satellites than this have a note"},
              &Fix::minSatellites, {0.0, 56.0}),
        Number({"limits", "gdop", "--max-gdop", "with a GDOP above this there is no position"}, &Fix::maxGDOP,
               {1.0, 1e6}),
        Number({"limits", "age-gps", "--max-age-gps",
                "a GPS ephemeris is used so long before and after its reference time; from half of it there is a note"},
               &Fix::maxAgeGPS, {60.0, 86400.0}, "seconds"),
        Number({"limits", "age-glonass", "--max-age-glonass",
                "a GLONASS ephemeris is used so long before and after its reference time; from half of it there is a "
                "note"},
               &Fix::maxAgeGlonass, {60.0, 86400.0}, "seconds"),

        Disabled(),
    };
}

std::vector<Setting> MakeSettings() {
    using Folder = RunFolderOptions;
    std::vector<Setting> settings{
        Sources(),
        Time({"sources", "date", "--date", "about when it was, to half a week: for streams that tell no week (RTCM 3)"},
             &RunRequest::date),
        Switch({"sources", "as-received", "--as-received",
                "use each ephemeris of a log only from when it was received, as live; standard input is always so"},
               &RunRequest::asReceived),
    };
    for (Setting& setting : MakeFixSettings()) settings.push_back(std::move(setting));
    const std::vector<Setting> live{
        Number({"live", "duration", "--duration", "end after so much of the data's time; 0 never"},
               &LiveChoices::duration, {0.0, 1e9}, "seconds"),
        Name({"live", "record", "--record", "a folder in which the raw bytes of each source are kept as they come"},
             &LiveChoices::recordings, "the name of a folder; \"\" for none"),
        Name({"live", "almanac", "--almanac", "where the almanac is kept from run to run, in NAME.alm"},
             &LiveChoices::almanac, "a file name; \"\" for nowhere"),
        Name({"live", "ntrip-password-file", "--ntrip-password-file",
              "a file whose first line is the password for casters, readable by its owner alone; without it the "
              "variable GNSS_NTRIP_PASSWORD is asked"},
             &LiveChoices::passwordFile, "a file name; \"\" for none"),
        Hidden({"live", "ntrip-password", "",
                "the password for casters, when neither that file nor the variable has one; the configuration file "
                "must then be readable by its owner alone. Shown as asterisks"},
               &LiveChoices::password),
        Number({"live", "simulator-speed", "--simulator-speed", "how fast the simulated receiver goes, times real"},
               &LiveChoices::speed, {0.001, 10000.0}),
        Whole({"live", "simulator-seed", "--simulator-seed", "of the noise of the simulated receiver"},
              &LiveChoices::seed, {0.0, 1e9}),
    };
    settings.insert(settings.end(), live.begin(), live.end());
    for (Setting& setting : MakeConsoleSettings()) settings.push_back(std::move(setting));
    const std::vector<Setting> output{
        Name({"output", "folder", "--output",
              "a folder for everything: positions, satellites, notes and events as tables, pictures, a report; made as "
              "a "
              "whole at the end, or not at all"},
             &Folder::folder, "the name of a folder; \"\" for none"),
        Switch({"output", "overwrite", "--overwrite", "replace the folder of an earlier run"}, &Folder::overwrite),
        Reference(),
        Switch({"output", "satellites", "--satellites",
                "satellites.csv in the folder, with a row for every satellite of every epoch"},
               &Folder::satellites),
        Switch({"output", "pictures", "--pictures", "pictures and report in the folder"}, &Folder::pictures),
        Switch({"output", "png", "--png", "pictures as PNG instead of SVG; those of the report stay SVG"},
               &Folder::png),
        Choice<bool>({"output", "palette", "--palette", "colours of the pictures; the report is light"},
                     &Folder::isDark, {{"light", false}, {"dark", true}}),
        Time({"output", "sky-at", "--sky-at", "time of the sky plot; that of the last position without it"},
             &Folder::skyTime),
        Name({"output", "positions", "--positions",
              "file of the positions; of live sources, each is there at once, after those of earlier runs"},
             &RunSettings::positions, FileOrNone),
        Choice<Form>({"output", "form", "--form", "form of the positions outside the folder"}, &RunSettings::form,
                     {{"table", Form::Table}, {"csv", Form::Csv}, {"ndjson", Form::Ndjson}}),
        Switch({"output", "warnings", "--warnings", "all events, not just the first few of each source"},
               &RunSettings::allWarnings),
        Switch({"output", "quiet", "--quiet", "no summary"}, &RunSettings::quiet),
    };
    settings.insert(settings.end(), output.begin(), output.end());
    return settings;
}

}  // namespace

std::span<const Setting> GetSettings() {
    static const std::vector<Setting> settings = MakeSettings();
    return settings;
}

const char* DescribeTable(std::string_view table) {
    constexpr std::array<std::pair<std::string_view, const char*>, 10> Tables{{
        {"sources", "What is read"},
        {"fix", "How positions are computed"},
        {"fix.weights", "How good a range is taken to be"},
        {"height-aid", "A known height"},
        {"tests", "Statistical tests"},
        {"limits", "Working limits"},
        {"satellites", "The operator's list"},
        {"live", "Live sources"},
        {"console", "The operator's page"},
        {"output", "What is written"},
    }};
    for (const auto& [name, what] : Tables)
        if (name == table) return what;
    return "";
}

bool HasSayInPositions(const Setting& setting) {
    const std::string_view table = setting.table;
    return table != "output" && table != "live" && table != "console" && std::string_view(setting.key) != "files";
}

bool IsOfReplay(const Setting& setting) {
    const std::string_view table = setting.table;
    const std::string_view key = setting.key;
    if (table == "output") return key == "reference" || key == "form" || key == "warnings" || key == "quiet";
    return table != "live";
}

}  // namespace Host
