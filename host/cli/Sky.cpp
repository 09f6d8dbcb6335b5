// gnss sky: the satellites above a place at a time, as tables and as a sky plot.
#include <array>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "gnss/position/DOP.h"
#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/OrbitFiles.h"
#include "host/cli/RowTable.h"
#include "host/cli/SkyOptions.h"
#include "host/fix/SkyScan.h"
#include "host/render/PictureFile.h"
#include "host/render/SkyPage.h"
#include "host/text/PlaceText.h"
#include "host/text/Satellites.h"
#include "host/text/TimeText.h"

namespace Host {

using GNSS::Constellation;
using GNSS::DOP;
using GNSS::GPSTime;

namespace {

struct Options {
    std::vector<std::string> files;
    std::string at;
    std::string time;
    std::string date;
    std::string form = "table";
    std::string rule = "nearest";
    std::string shift = "none";
    std::string output;
    SkyOptions sky;
    SkyPictureOptions picture;
    bool allWarnings = false;
    bool hasTime = false;
    bool hasDate = false;
};

struct Request {
    GNSS::Geog place;
    std::optional<GPSTime> time;
    Form form = Form::Table;
    Selection rule = Selection::Nearest;
    const GNSS::HelmertShift* shift = nullptr;
    SkyRules sky;
    OrbitFileOptions files;
    SkyPageContent page;
};

// Empty, or what is wrong with the options.
std::string ReadRequest(const Options& options, Request& request) {
    const auto place = ParsePlace(options.at);
    if (!place) return "--at: " + Quoted(options.at) + " is no place; write LAT,LON,HEIGHT or X,Y,Z";
    request.place = *place;
    if (options.hasTime) {
        request.time = ParseTime(options.time);
        if (!request.time) return "--time: " + Quoted(options.time) + " is not a time";
    }
    if (options.hasDate) {
        request.files.date = ParseTime(options.date);
        if (!request.files.date) return "--date: " + Quoted(options.date) + " is not a time";
    }
    request.files.allWarnings = options.allWarnings;
    if (!ParseForm(options.form, request.form)) return "--form is table, csv or ndjson";
    if (!ParseSelection(options.rule, request.rule)) return "--rule is received or nearest";
    request.shift = FindShift(options.shift);
    if (request.shift == nullptr) return "--shift is none, pe90 or novatel";
    if (!options.output.empty() && !KindOfPicture(options.output))
        return "--output: " + Quoted(options.output) + " does not end in .svg, .png or .pdf";
    if (std::string fault = ReadSkyRules(options.sky, request.sky); !fault.empty()) return fault;
    return ReadPageStyle(options.picture, request.page);
}

const char* Name(Constellation::State state) {
    switch (state) {
        case Constellation::BelowMask:
            return "below mask";
        case Constellation::HealthyGPS:
        case Constellation::HealthyGlonass:
            return "healthy";
        case Constellation::Disabled:
            return "disabled";
        case Constellation::Rejected:
            return "rejected";
        case Constellation::Unhealthy:
            break;
    }
    return "unhealthy";
}

void WriteTables(const std::vector<SkySatellite>& sky, const DOP& dop, Form form, Sink& sink) {
    RowTable satellites("satellite", nullptr, form,
                        {{"sat", "", 3, 0, true},
                         {"elevation", "deg", 9, 2},
                         {"azimuth", "deg", 7, 2},
                         {"range", "km", 8, 1},
                         {"state", "", 10, 0, true},
                         {"orbit", "", 9, 0, true},
                         {"health", "", 6},
                         {"age", "h", 8, 2}},
                        sink);
    for (const SkySatellite& satellite : sky) {
        const std::string name = PrintSatellite(satellite.system, satellite.number);
        const GNSS::Grid::Polar& direction = satellite.sight.direction;
        satellites.Write({std::string_view(name), direction.GetElevation().Degrees(), direction.GetAzimuth().Degrees(),
                          satellite.sight.range / 1e3, std::string_view(Name(satellite.state)),
                          std::string_view(Name(satellite.orbit.origin)), std::int64_t{satellite.orbit.health},
                          satellite.orbit.age / 3600.0});
    }
    RowTable figures(
        "dop", nullptr, form,
        {{"gdop", "", 8, 3}, {"pdop", "", 8, 3}, {"hdop", "", 8, 3}, {"vdop", "", 8, 3}, {"tdop", "", 8, 3}}, sink);
    const auto cell = [&dop](double figure) { return dop.IsValid() ? Cell(figure) : Cell(); };
    figures.Write(
        {cell(dop.GetGDOP()), cell(dop.GetPDOP()), cell(dop.GetHDOP()), cell(dop.GetVDOP()), cell(dop.GetTDOP())});
}

// Whether a satellite of the mode has an orbit at the time, above the horizon or below.
bool HasOrbits(const OrbitSource& source, GNSS::DopArt::Mode mode, const GPSTime& t) {
    const auto has = [&](char system, int nmr) {
        for (int number = 1; number <= nmr; ++number) {
            if (source.Calculate(system, number, t).origin != OrbitOrigin::None) return true;
        }
        return false;
    };
    return (GNSS::DopArt::ShowsGPS(mode) && has('G', EphemerisSet::NmrGPS)) ||
           (GNSS::DopArt::ShowsGlonass(mode) && has('R', EphemerisSet::NmrGlonass));
}

// What the operator has to know about the numbers.
void TellDoubts(const Request& request, const OrbitSource& source, const std::vector<SkySatellite>& sky,
                const DOP& dop) {
    for (const std::string& line : DescribeMissing(source, request.sky.mode, *request.time)) Complain(line);
    std::string byAlmanac;
    for (const SkySatellite& satellite : sky) {
        if (satellite.orbit.origin == OrbitOrigin::Almanac)
            byAlmanac += ' ' + PrintSatellite(satellite.system, satellite.number);
    }
    if (!byAlmanac.empty()) Complain("by the almanac, to about a degree while it is fresh:" + byAlmanac);
    if (!dop.IsValid()) Complain("no DOP: the satellites that can be used do not determine a position");
}

std::vector<std::string> MakeHeading(const Request& request, const std::vector<SkySatellite>& sky) {
    int gps = 0;
    int glonass = 0;
    for (const SkySatellite& satellite : sky) {
        if (satellite.IsUsable()) ++(satellite.system == 'G' ? gps : glonass);
    }
    std::string used;
    if (GNSS::DopArt::ShowsGPS(request.sky.mode)) used = fmt::format("{} GPS", gps);
    if (GNSS::DopArt::ShowsGlonass(request.sky.mode))
        used += fmt::format("{}{} GLONASS", used.empty() ? "" : " + ", glonass);
    return {PrintTime(*request.time) + " GPST", PrintPlace(request.place),
            fmt::format("DOP of {} above {:g}\u00b0{}", used, request.sky.mask.Degrees(),
                        request.sky.heightAid ? ", height-aided" : "")};
}

// Empty, or why there is no picture.
std::string DrawPicture(const std::string& path, int density, SkyPageContent& content) {
    const auto ruler = CairoDC::Make(*KindOfPicture(path), {1, 1});
    if (!ruler) return path + ": not enough memory";
    SkyPage page(*ruler, content);
    PictureFile file(path, page.GetSize(), density);
    if (file.IsOpen()) page.Draw(file.GetDC());
    return file.Save();
}

int Run(const Options& options) {
    Request request;
    const std::string fault = ReadRequest(options, request);
    if (!fault.empty()) return Complain(fault), 2;

    OrbitSource source;
    source.SetSelection(request.rule);
    source.SetShift(*request.shift);
    LeapRule leaps;
    if (!ReadOrbits(options.files, request.files, source, leaps)) return 1;
    if (!request.time) {
        const auto span = source.GetSpan();
        Complain(fmt::format("--time: say for which time; the orbits are those of {} to {}", PrintTime(span->first),
                             PrintTime(span->last)));
        return 2;
    }
    leaps.SetFor(*request.time);
    if (!HasOrbits(source, request.sky.mode, *request.time)) {
        const auto span = source.GetSpan();
        return Complain(fmt::format("no satellite of --mode {} has an orbit at {}; the files' orbits are of {} to {}",
                                    options.sky.mode, PrintTime(*request.time), PrintTime(span->first),
                                    PrintTime(span->last))),
               1;
    }

    std::vector<SkySatellite> sky;
    ScanSky(source, GNSS::LocalGrid(request.place, GNSS::Spheroid::WGS84), *request.time, request.sky, sky);
    const DOP dop(MakeConstellation(sky, SkyPart::Usable), GNSS::DopArt::ShowsGlonass(request.sky.mode),
                  request.sky.heightAid);
    TellDoubts(request, source, sky, dop);
    Sink sink("");
    WriteTables(sky, dop, request.form, sink);
    if (const std::string failure = sink.Close(); !failure.empty()) return Complain(failure), 1;
    if (options.output.empty()) {
        Complain("--output sky.svg (or .png, .pdf) draws it");
        return 0;
    }
    request.page.heading = MakeHeading(request, sky);
    request.page.constellation = MakeConstellation(sky, SkyPart::All);
    request.page.dop = dop;
    request.page.mode = request.sky.mode;
    const std::string failure = DrawPicture(options.output, options.picture.density, request.page);
    if (!failure.empty()) return Complain(failure), 1;
    return 0;
}

}  // namespace

void AddSkyCommand(CLI::App& program, int& exitCode) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("sky", "the satellites above a place at a time: tables and sky plot");
    command
        ->add_option(
            "FILE", options->files,
            "RINEX navigation files, logs (UBX, NovAtel OEM, RTCM 3) and almanac files (.alm), plain or gzip; - is "
            "standard input")
        ->required();
    command->add_option("--at", options->at, PlaceHelp)->required();
    const CLI::Option* time = command->add_option("--time", options->time,
                                                  "2010-07-01T06:30:00 (GPS time; Z behind it: UTC) or week:seconds");
    command->add_option("--output", options->output, "the picture: FILE.svg, FILE.png or FILE.pdf");
    AddSkyOptions(*command, options->sky);
    AddSkyPictureOptions(*command, options->picture);
    command
        ->add_option("--rule", options->rule,
                     "which ephemeris answers: nearest (in reference time) or received (the last one sent by then)")
        ->capture_default_str();
    command->add_option("--shift", options->shift, ShiftHelp)->capture_default_str();
    command->add_option("--form", options->form, "of the tables: table, csv or ndjson")->capture_default_str();
    const CLI::Option* date = command->add_option(
        "--date", options->date, "about when it was, to half a week: for streams that tell no week (RTCM 3)");
    command->add_flag("--warnings", options->allWarnings, "every warning about the files, not only the first few");
    command->footer(
        "Directions are those that signals come from that arrive at the time, without refraction. Where no ephemeris "
        "is "
        "valid the almanac answers. DOP counts the healthy satellites that are above the mask and not disabled; with "
        "GLONASS it has a clock for each system. Age counts from the reference time of the orbit.");
    command->callback([=, &exitCode] {
        options->hasTime = time->count() > 0;
        options->hasDate = date->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
