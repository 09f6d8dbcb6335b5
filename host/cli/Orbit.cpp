// gnss orbit: satellite positions, velocities and clocks from navigation files.
#include <algorithm>
#include <memory>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/Progress.h"
#include "host/cli/TimeText.h"
#include "host/receiver/EphemerisSet.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"

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
};

struct Satellite {
    char system;
    int number;
    std::string name;
};

// What the options say, checked.
struct Request {
    GPSTime first;
    std::int64_t nmrEpochs = 1;
    Corvane::Time every{1.0};
    Selection rule = Selection::Received;
    Form form = Form::Table;
    const GNSS::HelmertShift* shift = nullptr;
};

// The time that is asked for: one, or a row of them. A text for what is wrong.
std::string ReadTimes(const Options& options, const EphemerisSet& set, Request& request) {
    if (!options.time.empty()) {
        const auto time = ParseTime(options.time);
        if (!time) return "--time: '" + options.time + "' is not a time";
        request.first = *time;
        return "";
    }
    if (options.from.empty() != options.to.empty()) return "--from and --to go together";
    if (options.from.empty()) {
        request.first = *set.GetFirst();
        return "";
    }
    const auto from = ParseTime(options.from);
    const auto to = ParseTime(options.to);
    const auto every = ParseSpan(options.every);
    if (!from) return "--from: '" + options.from + "' is not a time";
    if (!to) return "--to: '" + options.to + "' is not a time";
    if (!every) return "--every: '" + options.every + "' is not a span of time";
    if (*to < *from) return "--to lies before --from";
    request.first = *from;
    request.every = *every;
    request.nmrEpochs = static_cast<std::int64_t>(std::floor((*to - *from) / *every + 1e-9)) + 1;
    return "";
}

std::string ReadSatellites(const Options& options, const EphemerisSet& set, std::vector<Satellite>& satellites) {
    const auto wanted = [&options](const std::string& name) {
        return options.satellites.empty() || std::ranges::any_of(options.satellites, [&name](const std::string& text) {
                   return text == name || text == name.substr(0, 1);
               });
    };
    for (const std::string& text : options.satellites) {
        const bool isSystem = text == "G" || text == "R";
        const bool isName = text.size() == 3 && (text[0] == 'G' || text[0] == 'R');
        if (!isSystem && !isName) return "--sat: '" + text + "' is no satellite; write G, R, G05 or R14";
    }
    const auto add = [&](char system, int number, bool hasRecords) {
        std::string name = fmt::format("{}{:02}", system, number);
        const bool isNamed = std::ranges::find(options.satellites, name) != options.satellites.end();
        if ((hasRecords && wanted(name)) || isNamed) satellites.push_back({system, number, std::move(name)});
    };
    for (int prn = 1; prn <= EphemerisSet::NmrGPS; ++prn) add('G', prn, !set.GPS(prn).GetEntries().empty());
    for (int slot = 1; slot <= EphemerisSet::NmrGlonass; ++slot)
        add('R', slot, !set.Glonass(slot).GetEntries().empty());
    return satellites.empty() ? "no such satellite in the navigation files" : "";
}

void WriteRows(const Request& request, const EphemerisSet& set, const std::vector<Satellite>& satellites, Sink& sink) {
    const auto writer = RowWriter::Make(request.form,
                                        {{"time", "", 23},
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
        const GPSTime t = request.first + request.every * static_cast<double>(epoch);
        const std::string time = PrintTime(t);
        for (const Satellite& satellite : satellites) {
            SatelliteState state = set.Calculate(satellite.system, satellite.number, t, request.rule);
            std::array<Cell, 14> row{std::string_view(time), std::string_view(satellite.name),
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

    EphemerisSet set;
    if (!ReadNavigation(options.navigation, options.allWarnings, set)) return 1;
    std::vector<Satellite> satellites;
    std::string fault = ReadTimes(options, set, request);
    if (fault.empty()) fault = ReadSatellites(options, set, satellites);
    if (!fault.empty()) return Complain(fault), 2;
    SetClockAndLeapRule(request.first, true);

    Sink sink(options.output);
    if (sink.IsGood()) WriteRows(request, set, satellites, sink);
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
    command->add_option("--time", options->time,
                        "one time: 2010-07-01T06:30:00 (GPS time; Z behind it: UTC) or week:seconds");
    command->add_option("--from", options->from, "first of a row of times");
    command->add_option("--to", options->to, "last of a row of times");
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
        "hour of the Moscow day; age counts from the record's reference time.");
    command->callback([options, &exitCode] { exitCode = Run(*options); });
}

}  // namespace Host
