// gnss orbit: satellite positions, velocities and clocks from navigation files.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/Progress.h"
#include "host/receiver/EphemerisSet.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"
#include "host/text/Satellites.h"
#include "host/text/TimeText.h"

namespace Host {

using GNSS::GPSTime;

namespace {

struct Options {
    std::vector<std::string> navigation;
    std::string time;
    std::string from;
    std::string to;
    std::string every = "15min";
    std::string rule = "received";
    std::string form = "table";
    std::string output;
    std::string shift = "none";
    std::vector<std::string> satellites;
    bool allWarnings = false;
    // Which of those with a default, or without one, are given.
    bool hasTime = false;
    bool hasFrom = false;
    bool hasTo = false;
    bool hasEvery = false;
};

// What the options say, checked.
struct Request {
    std::optional<GPSTime> first;  // without one the first record's
    std::int64_t nmrEpochs = 1;
    Corvane::Time every{1.0};
    Selection rule = Selection::Received;
    Form form = Form::Table;
    const GNSS::HelmertShift* shift = nullptr;
    std::vector<Satellite> satellites;
};

// Days of output; more is a mistake in the span.
constexpr double MostEpochs = 1e9;

// The time that is asked for: one, or a row of them. A text for what is wrong.
std::string ReadTimes(const Options& options, Request& request) {
    if (options.hasTime && (options.hasFrom || options.hasTo)) return "--time is one time, --from and --to are many";
    if (options.hasFrom != options.hasTo) return "--from and --to go together";
    if (options.hasEvery && !options.hasFrom) return "--every goes with --from and --to";
    const auto read = [](const char* option, const std::string& text, std::optional<GPSTime>& time) -> std::string {
        time = ParseTime(text);
        return time ? "" : std::string(option) + ": " + Quoted(text) + " is not a time (of whole microseconds)";
    };
    if (options.hasTime) return read("--time", options.time, request.first);
    if (!options.hasFrom) return "";

    std::optional<GPSTime> to;
    if (std::string fault = read("--from", options.from, request.first); !fault.empty()) return fault;
    if (std::string fault = read("--to", options.to, to); !fault.empty()) return fault;
    const auto every = ParseSpan(options.every);
    if (!every) return "--every: " + Quoted(options.every) + " is not a span of time (of whole microseconds)";
    if (*to < *request.first) return "--to lies before --from";
    request.every = *every;
    const double steps = std::floor((*to - *request.first) / *every + 1e-9);
    if (!(steps < MostEpochs)) return fmt::format("--every: more than {:.0f} times", MostEpochs);
    request.nmrEpochs = Corvane::ToInt64(steps) + 1;
    return "";
}

std::string ReadSatellites(const Options& options, Request& request) {
    for (const std::string& text : options.satellites) {
        const auto satellite = ParseSatellite(text);
        if (!satellite) return "--sat: " + Quoted(text) + " is no satellite; write G, R, G01 to G32 or R01 to R24";
        request.satellites.push_back(*satellite);
    }
    return "";
}

void WriteRows(const Request& request, const EphemerisSet& set, LeapRule& leaps, Sink& sink) {
    const GPSTime first = *request.first;
    const auto timeAt = [&](std::int64_t epoch) { return first + request.every * static_cast<double>(epoch); };
    const std::size_t timeWidth = std::max({std::size_t{23}, PrintTime(first).size(), PrintTime(timeAt(1)).size()});
    std::vector<std::string> names;
    for (const Satellite& satellite : request.satellites)
        names.push_back(PrintSatellite(satellite.system, satellite.number));
    const auto writer = RowWriter::Make(request.form,
                                        {{"time", "", static_cast<int>(timeWidth)},
                                         {"sat", "", 3},
                                         {"state", "", 9},
                                         {"x", "m", 15, 4},
                                         {"y", "m", 15, 4},
                                         {"z", "m", 15, 4},
                                         {"vx", "m/s", 12, 5},
                                         {"vy", "m/s", 12, 5},
                                         {"vz", "m/s", 12, 5},
                                         {"clock", "us", 15, 7},
                                         {"drift", "ns/s", 10, 5},
                                         {"health", "", 6},
                                         {"issue", "", 5},
                                         {"age", "s", 8, 1}},
                                        sink);
    Progress progress("positions", request.nmrEpochs);
    for (std::int64_t epoch = 0; epoch < request.nmrEpochs && sink.IsGood(); ++epoch) {
        const GPSTime t = timeAt(epoch);
        const std::string time = PrintTime(t);
        leaps.SetFor(t);
        for (std::size_t i = 0; i < names.size(); ++i) {
            const Satellite& satellite = request.satellites[i];
            SatelliteState state = set.Calculate(satellite.system, satellite.number, t, request.rule);
            std::array<Cell, 14> row{std::string_view(time), std::string_view(names[i]),
                                     std::string_view(Name(state.standing))};
            if (state.hasPosn) {
                if (satellite.system == 'R') request.shift->Forward(state.posn, state.posn);
                row[3] = state.posn.GetX();
                row[4] = state.posn.GetY();
                row[5] = state.posn.GetZ();
                row[6] = state.vely.GetX();
                row[7] = state.vely.GetY();
                row[8] = state.vely.GetZ();
                row[9] = state.clock * 1e6;
                row[10] = state.clockDrift * 1e9;
            }
            if (state.standing != Standing::None) {
                row[11] = std::int64_t{state.health};
                row[12] = std::int64_t{state.issue};
                row[13] = state.age;
            }
            writer->Write(row);
        }
        if (epoch % 64 == 0) progress.SetDone(epoch);
    }
}

int Run(const Options& options) {
    Request request;
    if (!ParseForm(options.form, request.form)) return Complain("--form is table, csv or ndjson"), 2;
    if (!ParseSelection(options.rule, request.rule)) return Complain("--rule is received or nearest"), 2;
    request.shift = FindShift(options.shift);
    if (request.shift == nullptr) return Complain("--shift is none, pe90 or novatel"), 2;

    std::string fault = ReadTimes(options, request);
    if (fault.empty()) fault = ReadSatellites(options, request);
    if (!fault.empty()) return Complain(fault), 2;

    EphemerisSet set;
    LeapRule leaps;
    if (!ReadNavigation(options.navigation, options.allWarnings, set, leaps)) return 1;
    for (const Satellite& wanted : request.satellites) {
        if (ChooseSatellites({wanted}, set).empty())
            Complain(fmt::format("the navigation files hold no records of system {}", wanted.system));
    }
    request.satellites = ChooseSatellites(request.satellites, set);
    if (request.satellites.empty()) return 1;
    if (!request.first) request.first = set.GetFirst();
    const GPSTime first = *request.first;
    Complain(leaps.Print(first, first + request.every * static_cast<double>(request.nmrEpochs - 1)));

    Sink sink(options.output);
    if (sink.IsGood()) WriteRows(request, set, leaps, sink);
    const std::string failure = sink.Close();
    if (!failure.empty()) return Complain(failure), 1;
    return 0;
}

}  // namespace

void AddOrbitCommand(CLI::App& program, int& exitCode) {
    const auto options = std::make_shared<Options>();
    CLI::App* command =
        program.add_subcommand("orbit", "satellite positions, velocities and clocks from navigation files");
    command->add_option("NAV", options->navigation, "RINEX navigation files, plain or gzip")->required();
    const CLI::Option* time = command->add_option(
        "--time", options->time, "one time: 2010-07-01T06:30:00 (GPS time; Z behind it: UTC) or week:seconds");
    const CLI::Option* from = command->add_option("--from", options->from, "first of a row of times");
    const CLI::Option* to = command->add_option("--to", options->to, "last of a row of times");
    const CLI::Option* every =
        command->add_option("--every", options->every, "span between the times: 30s, 15min, 1h")->capture_default_str();
    command
        ->add_option("--rule", options->rule,
                     "which record answers: received (the last one sent by then) or nearest (in reference time)")
        ->capture_default_str();
    command->add_option("--sat", options->satellites, "only these: G, R, G05, R14 ...");
    command->add_option("--form", options->form, "table, csv or ndjson")->capture_default_str();
    command->add_option("--output", options->output, "file instead of standard output");
    command->add_option("--shift", options->shift, ShiftHelp)->capture_default_str();
    command->add_flag("--warnings", options->allWarnings, "every warning about the files, not only the first few");
    command->footer(
        "Positions are earth-fixed at GPS system time, GPS in WGS 84, GLONASS in PZ-90 plus --shift. The clock is\n"
        "satellite minus system time, relativity included, group delay not. Issue is the IODE, or tb in quarters of "
        "an\n"
        "hour of the Moscow day; age counts from the record's reference time. Drift leaves the relativistic term out.\n"
        "Around a leap second GLONASS may be one second, or 3 km, off where a record from one side of it answers for\n"
        "a time on the other: for seconds at the leap, and until the next record where it is not at a week's end.");
    command->callback([=, &exitCode] {
        options->hasTime = time->count() > 0;
        options->hasFrom = from->count() > 0;
        options->hasTo = to->count() > 0;
        options->hasEvery = every->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
