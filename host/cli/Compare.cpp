// gnss compare: broadcast orbits and clocks against precise ones.
#include <algorithm>
#include <map>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/report/Differences.h"
#include "host/report/Plot.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"
#include "host/text/Satellites.h"
#include "host/text/TimeText.h"

namespace Host {

namespace {

struct Options {
    std::vector<std::string> navigation;
    std::vector<std::string> precise;
    std::string rule = "received";
    std::string form = "table";
    std::string output;
    std::string plot;
    std::string shift = "none";
    std::optional<double> glonassMaxAge;
    bool hasPlot = false;
    bool epochs = false;
    bool allWarnings = false;
};

// The differences of one satellite or system, kind by kind, and what became of the rest.
struct Sums {
    std::vector<double> length;
    std::vector<double> radial;
    std::vector<double> along;
    std::vector<double> cross;
    std::vector<double> clock;
    std::map<Standing, std::int64_t> notCompared;
    std::int64_t noPrecise = 0;

    void Add(const Comparison& c) {
        if (c.isCompared) {
            length.push_back(c.orbit.Length());
            radial.push_back(c.orbit.radial);
            along.push_back(c.orbit.along);
            cross.push_back(c.orbit.cross);
            if (c.clock) clock.push_back(*c.clock);
        } else if (c.state.standing == Standing::Good) {
            ++noPrecise;
        } else {
            ++notCompared[c.state.standing];
        }
    }
};

void WriteFigures(const std::map<std::string, Sums>& sums, Form form, Sink& sink) {
    const auto writer = RowWriter::Make(form,
                                        {{"sat", "", 7},
                                         {"compared", "", 8},
                                         {"rms 3d", "m", 9, 3},
                                         {"median", "m", 9, 3},
                                         {"95 %", "m", 9, 3},
                                         {"max", "m", 10, 3},
                                         {"radial", "m", 9, 3},
                                         {"mean", "m", 9, 3},
                                         {"along", "m", 9, 3},
                                         {"cross", "m", 9, 3},
                                         {"clocks", "", 6},
                                         {"clock", "m", 9, 3},
                                         {"unhealthy", "", 9},
                                         {"too old", "", 7},
                                         {"doubtful", "", 8},
                                         {"no record", "", 9},
                                         {"no precise", "", 10}},
                                        sink);
    for (const auto& entry : sums) {
        const std::string& name = entry.first;
        const Sums& sum = entry.second;
        const Figures length = MakeFigures(sum.length);
        const Figures radial = MakeFigures(sum.radial);
        const Figures clock = MakeFigures(sum.clock);
        const auto count = [&sum](Standing standing) {
            const auto found = sum.notCompared.find(standing);
            return found == sum.notCompared.end() ? std::int64_t{0} : found->second;
        };
        const auto number = [](const Figures& figures, double value) {
            return figures.count > 0 ? Cell(value) : Cell();
        };
        const std::array<Cell, 17> row{std::string_view(name),
                                       static_cast<std::int64_t>(length.count),
                                       number(length, length.rms),
                                       number(length, length.median),
                                       number(length, length.percentile95),
                                       number(length, length.max),
                                       number(radial, radial.rms),
                                       number(radial, radial.mean),
                                       number(length, MakeFigures(sum.along).rms),
                                       number(length, MakeFigures(sum.cross).rms),
                                       static_cast<std::int64_t>(clock.count),
                                       number(clock, clock.rms),
                                       count(Standing::Unhealthy),
                                       count(Standing::TooOld),
                                       count(Standing::Doubtful),
                                       count(Standing::None),
                                       sum.noPrecise};
        writer->Write(row);
    }
}

void WriteEpochs(const std::vector<Comparison>& all, Form form, Sink& sink) {
    const auto writer = RowWriter::Make(form,
                                        {{"time", "", 23},
                                         {"sat", "", 3},
                                         {"state", "", 9},
                                         {"issue", "", 5},
                                         {"age", "s", 8, 0},
                                         {"radial", "m", 12, 3},
                                         {"along", "m", 12, 3},
                                         {"cross", "m", 12, 3},
                                         {"3d", "m", 12, 3},
                                         {"clock", "m", 10, 3}},
                                        sink);
    for (const Comparison& c : all) {
        const std::string time = PrintTime(c.time);
        const std::string name = PrintSatellite(c.system, c.number);
        std::array<Cell, 10> row{std::string_view(time), std::string_view(name),
                                 std::string_view(Name(c.state.standing))};
        if (c.state.standing != Standing::None) {
            row[3] = std::int64_t{c.state.issue};
            row[4] = c.state.age;
        }
        if (c.hasPrecise && c.state.hasPosn) {
            row[5] = c.orbit.radial;
            row[6] = c.orbit.along;
            row[7] = c.orbit.cross;
            row[8] = c.orbit.Length();
        }
        if (c.clock) row[9] = *c.clock;
        writer->Write(row);
    }
}

Plot MakePlot(const std::vector<Comparison>& all) {
    Plot plot;
    plot.title = "Broadcast minus precise orbit";
    plot.yLabel = "distance, m";
    plot.yFromZero = true;
    plot.series = {{"GPS", DistinctColour(0), false, {}}, {"GLONASS", DistinctColour(5), false, {}}};
    if (all.empty()) return plot;
    const GNSS::GPSTime first = all.front().time;
    plot.xLabel = "hours from " + PrintTime(first) + " GPS time";
    std::size_t left = 0;
    for (const Comparison& c : all) {
        if (!c.isCompared) {
            ++left;
            continue;
        }
        plot.series[c.system == 'R' ? 1 : 0].points.push_back({(c.time - first).Seconds() / 3600.0, c.orbit.Length()});
    }
    plot.subtitle = fmt::format("{} satellites at epochs compared, {} not (unhealthy, too old, doubtful, no record)",
                                all.size() - left, left);
    std::erase_if(plot.series, [](const Plot::Series& series) { return series.points.empty(); });
    return plot;
}

int Run(const Options& options) {
    ComparisonOptions how;
    Form form = Form::Table;
    if (!ParseForm(options.form, form)) return Complain("--form is table, csv or ndjson"), 2;
    if (!ParseSelection(options.rule, how.rule)) return Complain("--rule is received or nearest"), 2;
    how.shift = FindShift(options.shift);
    if (how.shift == nullptr) return Complain("--shift is none, pe90 or novatel"), 2;
    how.glonassMaxAge = options.glonassMaxAge;
    if (how.glonassMaxAge && !(*how.glonassMaxAge > 0.0)) return Complain("--glonass-max-age is above zero"), 2;
    if (options.hasPlot && !Plot::HasKnownEnding(options.plot))
        return Complain("--plot: " + Quoted(options.plot) + " ends in neither .svg nor .png"), 2;

    EphemerisSet set;
    LeapRule leaps;
    if (!ReadNavigation(options.navigation, options.allWarnings, set, leaps)) return 1;
    how.atEpoch = [&leaps](const GNSS::GPSTime& t) { leaps.SetFor(t); };
    std::vector<Sp3> precise(options.precise.size());
    for (std::size_t i = 0; i < precise.size(); ++i) {
        FileError error;
        const bool isRead = precise[i].Read(options.precise[i], error);
        Complain(precise[i].warnings, options.allWarnings);
        if (!isRead) return Complain(error.Print()), 1;
        if (precise[i].GetNmrEpochs() == 0) return Complain(options.precise[i] + ": holds no epochs"), 1;
        if (precise[i].GetNmrEpochs() < 4 && !precise[i].hasVelocities) {
            Complain(options.precise[i] +
                     ": along and cross need a velocity, which takes four epochs; nothing is compared");
        }
    }
    GNSS::GPSTime first = precise.front().GetTime(0);
    GNSS::GPSTime last = first;
    for (const Sp3& file : precise) {
        first = std::min(first, file.GetTime(0));
        last = std::max(last, file.GetTime(file.GetNmrEpochs() - 1));
    }
    Complain(leaps.Print(first, last));
    const std::vector<Comparison> all = Compare(set, precise, how);

    Sink sink(options.output);
    if (options.epochs) {
        WriteEpochs(all, form, sink);
    } else {
        std::map<std::string, Sums> sums;
        for (const Comparison& c : all) {
            sums[PrintSatellite(c.system, c.number)].Add(c);
            sums[c.system == 'G' ? "all GPS" : "all GLO"].Add(c);
        }
        WriteFigures(sums, form, sink);
    }
    std::string failure = sink.Close();
    if (failure.empty() && options.hasPlot) failure = MakePlot(all).Save(options.plot);
    if (!failure.empty()) return Complain(failure), 1;
    return 0;
}

}  // namespace

void AddCompareCommand(CLI::App& program, int& exitCode) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("compare", "broadcast orbits and clocks against precise ones");
    command->add_option("NAV", options->navigation, "RINEX navigation files, plain or gzip")->required();
    command->add_option("--precise", options->precise, "SP3 files, plain or gzip")->required();
    command
        ->add_option("--rule", options->rule,
                     "which record answers: received (the last one sent by then) or nearest (in reference time)")
        ->capture_default_str();
    command->add_option("--glonass-max-age", options->glonassMaxAge,
                        "most seconds from tb; without it the rule's own limit");
    command->add_option("--shift", options->shift, ShiftHelp)->capture_default_str();
    command->add_flag("--epochs", options->epochs, "every satellite at every epoch instead of the figures");
    command->add_option("--form", options->form, "table, csv or ndjson")->capture_default_str();
    command->add_option("--output", options->output, "file instead of standard output");
    const CLI::Option* plot =
        command->add_option("--plot", options->plot, "plot of the distances: a file ending in .svg or .png");
    command->add_flag("--warnings", options->allWarnings, "every warning about the files, not only the first few");
    command->footer(
        "Differences are broadcast minus precise: radial outwards, cross along the orbit's normal, along forwards. "
        "Clocks\n"
        "are in metres, freed of each epoch's median. Precise orbits are those of the centre of mass, broadcast ones "
        "of\n"
        "the antenna: 0 to 3 m apart radially.");
    command->callback([=, &exitCode] {
        options->hasPlot = plot->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
