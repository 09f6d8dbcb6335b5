// gnss plan: satellites in view, their rises and sets, and DOP at a place over a span of time.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/OrbitFiles.h"
#include "host/cli/PlanTables.h"
#include "host/cli/PlanText.h"
#include "host/cli/SkyOptions.h"
#include "host/fix/OrbitSource.h"
#include "host/plan/PlanPlot.h"
#include "host/plan/VisibilityPlan.h"
#include "host/render/Palette.h"
#include "host/render/PictureFile.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"
#include "host/text/PlaceText.h"
#include "host/text/TimeText.h"

namespace Host {

using GNSS::DopArt;
using GNSS::GPSTime;

namespace {

struct Options {
    std::vector<std::string> files;
    std::string at;
    std::string from;
    std::string to;
    std::string step = "1min";
    SkyOptions sky;
    double hdopLimit = PlanSettings().hdopLimit;
    double pdopLimit = PlanSettings().pdopLimit;
    int least = PlanSettings().leastSatellites;
    std::string form = "summary";
    std::string rows = "steps";
    std::string output;
    std::string plot;
    std::string palette = "light";
    int density = 1;
    std::string date;
    bool allWarnings = false;
    bool hasTo = false;
    bool hasDate = false;
    bool hasRows = false;
};

// What the options say, checked.
struct Request {
    PlanSettings settings;
    GNSS::Geog place;
    SkyRules rules;
    OrbitFileOptions files;
    std::optional<Form> form;  // the summary without one
    PlanRows rows = PlanRows::Steps;
    const Palette* palette = &Palette::Light;
};

// The functions below give a text for what is wrong with the options.
std::string ReadTimes(const Options& options, Request& request) {
    const auto read = [](const char* option, const std::string& text, std::optional<GPSTime>& time) -> std::string {
        time = ParseTime(text);
        return time ? "" : std::string(option) + ": " + Quoted(text) + " is not a time (of whole microseconds)";
    };
    std::optional<GPSTime> from;
    std::optional<GPSTime> to;
    if (std::string fault = read("--from", options.from, from); !fault.empty()) return fault;
    if (!options.hasTo)
        to = *from + Corvane::Time::Day;
    else if (std::string fault = read("--to", options.to, to); !fault.empty())
        return fault;
    if (*to < *from) return "--to lies before --from";
    const auto step = ParseSpan(options.step);
    if (!step) return "--step: " + Quoted(options.step) + " is not a span of time (of whole microseconds, above zero)";
    PlanSettings& settings = request.settings;
    settings.from = *from;
    settings.span = *to - *from;
    settings.step = *step;
    if (settings.NmrScans() > PlanSettings::MostScans) {
        return fmt::format("from {} to {} in steps of {:g} s: more than {} times; ask for fewer days{}",
                           PrintTime(*from), PrintTime(*to), step->Seconds(), PlanSettings::MostScans,
                           *step < PlanSettings::LongestScan ? " or a longer step" : "");
    }
    if (options.hasDate) {
        if (std::string fault = read("--date", options.date, request.files.date); !fault.empty()) return fault;
    }
    return "";
}

std::string ReadGeometry(const Options& options, Request& request) {
    const auto place = ParsePlace(options.at);
    if (!place) return "--at: " + Quoted(options.at) + " is no place within 20 km of the ellipsoid: LAT,LON,HEIGHT";
    request.place = *place;
    PlanSettings& settings = request.settings;
    if (std::string fault = ReadSkyRules(options.sky, request.rules); !fault.empty()) return fault;
    settings.mask = request.rules.mask;
    settings.mode = request.rules.mode;
    settings.isHeightAided = request.rules.heightAid;
    for (const double limit : {options.hdopLimit, options.pdopLimit}) {
        if (!(limit > 0.0 && std::isfinite(limit))) return "--hdop-limit and --pdop-limit: above zero";
    }
    if (options.least < 0 || options.least > 56) return "--least: from 0 to 56 satellites";
    settings.hdopLimit = options.hdopLimit;
    settings.pdopLimit = options.pdopLimit;
    settings.leastSatellites = options.least;
    return "";
}

std::string ReadOutputs(const Options& options, Request& request) {
    Form form = Form::Table;
    if (ParseForm(options.form, form))
        request.form = form;
    else if (options.form != "summary")
        return "--form is summary, table, csv or ndjson";
    if (options.hasRows && !request.form) return "--rows goes with --form table, csv or ndjson";
    if (!ParsePlanRows(options.rows, request.rows)) return "--rows is steps, passes or windows";
    if (options.palette == "dark")
        request.palette = &Palette::Dark;
    else if (options.palette != "light")
        return "--palette is light or dark";
    // The size is known later; this is about the name and the density.
    return options.plot.empty() ? "" : PictureFile::Check(options.plot, {1, 1}, options.density);
}

// Those of the mode that are not disabled.
std::vector<PlanSatellite> ChooseSatellites(const SkyRules& rules) {
    std::vector<PlanSatellite> chosen;
    const auto add = [&chosen](char system, int nmr, std::uint64_t disabled) {
        for (int number = 1; number <= nmr; ++number) {
            if ((disabled >> static_cast<unsigned>(number) & 1U) == 0) chosen.push_back({system, number});
        }
    };
    if (DopArt::ShowsGPS(rules.mode)) add('G', EphemerisSet::NmrGPS, rules.disabledGPS);
    if (DopArt::ShowsGlonass(rules.mode)) add('R', EphemerisSet::NmrGlonass, rules.disabledGlonass);
    return chosen;
}

// Whether the systems of the mode have orbits; what is missing is said on standard error.
bool HasOrbits(const OrbitSource& source, DopArt::Mode mode) {
    const auto has = [&source](char system, int nmr) {
        for (int number = 1; number <= nmr; ++number) {
            if (source.HasRecords(system, number)) return true;
        }
        return false;
    };
    const bool lacksGPS = DopArt::ShowsGPS(mode) && !has('G', EphemerisSet::NmrGPS);
    const bool lacksGlonass = DopArt::ShowsGlonass(mode) && !has('R', EphemerisSet::NmrGlonass);
    if (lacksGPS) Complain("the files hold no orbits of GPS satellites");
    if (lacksGlonass) Complain("the files hold no orbits of GLONASS satellites");
    return mode == DopArt::Both ? !(lacksGPS && lacksGlonass) : !lacksGPS && !lacksGlonass;
}

// A satellite that has no orbit in the whole plan.
bool IsWithoutOrbit(const PlanGap& gap) {
    return gap.kind == PlanGap::Kind::NoOrbit && gap.isFromStart && gap.isToEnd;
}

std::string DrawPlot(const VisibilityPlan& plan, const std::string& title, const Options& options,
                     const Palette& palette) {
    std::string subtitle = PrintTime(plan.settings.from) + " to " + PrintTime(plan.End()) + ", GPS time";
    if (const auto nmr = std::ranges::count_if(plan.gaps, IsWithoutOrbit); nmr > 0)
        subtitle += fmt::format("; {} satellite{} without an orbit", nmr, nmr == 1 ? "" : "s");
    const PlanPlot plot(plan, Corvane::String::FromUTF8(title), Corvane::String::FromUTF8(subtitle));
    PictureFile picture(options.plot, plot.PreferredSize(), options.density);
    if (picture.IsOpen()) plot.Draw(picture.GetDC(), palette);
    return picture.Save();
}

// The gaps on standard error, for output that does not hold them: the first few.
void ComplainOfGaps(const VisibilityPlan& plan) {
    constexpr std::size_t Few = 6;
    const std::vector<std::string> gaps = DescribeGaps(plan);
    for (std::size_t i = 0; i < gaps.size() && i < Few; ++i) Complain(gaps[i]);
    if (gaps.size() > Few)
        Complain(fmt::format("and {} more lines about orbits; --form summary has them all", gaps.size() - Few));
}

int Run(const Options& options) {
    Request request;
    std::string fault = ReadTimes(options, request);
    if (fault.empty()) fault = ReadGeometry(options, request);
    if (fault.empty()) fault = ReadOutputs(options, request);
    if (!fault.empty()) return Complain(fault), 2;
    if (!IsReadOnce(options.files)) return 2;

    OrbitSource source;
    LeapRule leaps;
    request.files.allWarnings = options.allWarnings;
    if (!ReadOrbits(options.files, request.files, source, leaps)) return 1;
    if (!HasOrbits(source, request.settings.mode)) return 1;

    // A second more or less of UTC within the plan does not change who is in view.
    leaps.SetFor(request.settings.from);
    const GNSS::LocalGrid place(request.place, GNSS::Spheroid::WGS84);
    const PlanLook look = [&](const PlanSatellite& satellite, const GPSTime& t) {
        PlanSight sight;
        OrbitState state;
        const auto sightLine = source.Look(satellite.system, satellite.number, place, t, state);
        if (!sightLine) return sight;
        sight.orbit = state.origin == OrbitOrigin::Almanac ? PlanSight::Orbit::Almanac : PlanSight::Orbit::Ephemeris;
        sight.isHealthy = state.isHealthy;
        sight.elevation = sightLine->direction.GetElevation();
        sight.azimuth = sightLine->direction.GetAzimuth();
        return sight;
    };
    const std::vector<PlanSatellite> satellites = ChooseSatellites(request.rules);
    if (satellites.empty()) return Complain("all satellites are disabled"), 1;
    const VisibilityPlan plan = MakePlan(request.settings, satellites, look);
    if (std::ranges::count_if(plan.gaps, IsWithoutOrbit) == std::ssize(satellites)) {
        const auto span = source.GetSpan();
        return Complain(fmt::format("no satellite has an orbit between {} and {}{}", PrintTime(plan.settings.from),
                                    PrintTime(plan.End()),
                                    span ? fmt::format("; the files' orbits are of {} to {}", PrintTime(span->first),
                                                       PrintTime(span->last))
                                         : "")),
               1;
    }

    const std::string title = DescribePlan(plan, PrintPlace(request.place));
    Sink sink(options.output);
    if (request.form) {
        ComplainOfGaps(plan);
        WritePlanRows(plan, request.rows, *request.form, sink);
    } else {
        WritePlanSummary(plan, PrintPlace(request.place), sink);
    }
    std::string failure = sink.Close();
    if (failure.empty() && !options.plot.empty()) failure = DrawPlot(plan, title, options, *request.palette);
    if (!failure.empty()) return Complain(failure), 1;
    return 0;
}

}  // namespace

void AddPlanCommand(CLI::App& program, int& exitCode) {
    const auto options = std::make_shared<Options>();
    CLI::App* command =
        program.add_subcommand("plan", "satellites in view, rises and sets, and DOP at a place over a span of time");
    command
        ->add_option("FILE", options->files, "navigation files, receiver logs and almanac files; - for standard input")
        ->required();
    command->add_option("--at", options->at, PlaceHelp)->required();
    command->add_option("--from", options->from, "start: 2020-06-25T06:30 (GPS time; Z behind it: UTC) or week:seconds")
        ->required();
    const CLI::Option* to = command->add_option("--to", options->to, "end; a day after the start without it");
    command->add_option("--step", options->step, "span between the steps: 30s, 1min, 1h")->capture_default_str();
    AddSkyOptions(*command, options->sky);
    command->add_option("--hdop-limit", options->hdopLimit, "bad above this")->capture_default_str();
    command->add_option("--pdop-limit", options->pdopLimit, "bad above this")->capture_default_str();
    command->add_option("--least", options->least, "bad with fewer satellites")->capture_default_str();
    command->add_option("--form", options->form, "summary for people, or rows as table, csv or ndjson")
        ->capture_default_str();
    const CLI::Option* rows =
        command->add_option("--rows", options->rows, "which rows: steps, passes or windows")->capture_default_str();
    command->add_option("--output", options->output, "file instead of standard output");
    command->add_option("--plot", options->plot, "draw the plan, too, into a file .svg, .png or .pdf");
    command->add_option("--palette", options->palette, "colours of the plot: light or dark")->capture_default_str();
    command->add_option("--density", options->density, "pixels of a .png for each of a normal screen, 1 to 4")
        ->capture_default_str();
    const CLI::Option* date = command->add_option(
        "--date", options->date, "about when logs without a week (RTCM 3) were recorded, to half a week");
    command->add_flag("--warnings", options->allWarnings, "every warning about the files, not only the first few");
    command->footer(
        "All times are GPS time. Ephemerides answer for hours about their own time, before and after; otherwise the\n"
        "almanac does, and without one the satellite has no orbit, which the plan says. Unhealthy satellites are left\n"
        "out. Rises and sets are exact to the second for the orbits in use, windows of bad geometry likewise where "
        "they\n"
        "hold a step; one between two steps is not seen. No terrain, no refraction.");
    command->callback([=, &exitCode] {
        options->hasTo = to->count() > 0;
        options->hasRows = rows->count() > 0;
        options->hasDate = date->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
