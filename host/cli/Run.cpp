// gnss run: logs in, positions with their quality out.
#include <cstdio>
#include <memory>
#include <optional>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <sys/stat.h>

#include "host/cli/Commands.h"
#include "host/cli/EventLines.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/Progress.h"
#include "host/cli/RunEnd.h"
#include "host/cli/RunEventLines.h"
#include "host/cli/RunLive.h"
#include "host/cli/RunOptions.h"
#include "host/cli/StopSignal.h"
#include "host/console/Console.h"
#include "host/live/SourceAddress.h"
#include "host/run/Pipeline.h"
#include "host/run/PositionRows.h"
#include "host/run/RunSettings.h"
#include "host/run/RunSummary.h"
#include "host/run/RunText.h"
#include "host/text/TimeText.h"

namespace Host {

namespace {

// Whether the positions would be written over an input.
bool IsInputOverwritten(const RunSettings& settings) {
    struct stat output {};
    if (settings.positions.empty() || settings.positions == StandardInput ||
        ::stat(settings.positions.c_str(), &output) != 0 || !S_ISREG(output.st_mode)) {
        return false;
    }
    for (const std::string& input : settings.request.inputs) {
        struct stat info {};
        const bool isThere =
            input == StandardInput ? ::fstat(STDIN_FILENO, &info) == 0 : ::stat(input.c_str(), &info) == 0;
        if (isThere && info.st_dev == output.st_dev && info.st_ino == output.st_ino) return true;
    }
    return false;
}

// Shows how a run has ended until somebody stops the program.
void ServeOn(Console& console) {
    Complain("the inputs have ended; the console shows the last state at " + console.GetPlace() + " until Ctrl-C");
    constexpr int WaitMS = 200;
    while (StopSignal::Get() == 0) {
        console.GetOutput().Tick();
        // A signal ends it.
        static_cast<void>(::poll(nullptr, 0, WaitMS));
    }
    console.Stop();
}

int Run(const RunOptions& options) {
    RunSettings settings;
    std::vector<std::string> faults = options.Read(settings);
    for (const std::string& input : settings.request.inputs) {
        if (std::string fault = FindFaultOf(input); !fault.empty()) faults.push_back(std::move(fault));
    }
    for (const std::string& fault : faults) Complain(fault);
    if (!faults.empty()) return 2;
    if (options.IsPrintAsked()) return PrintSettings(settings);
    if (IsLive(settings.request)) return RunLive(settings);
    if (!IsReadOnce(settings.request.inputs)) return 2;
    if (IsInputOverwritten(settings))
        return Complain(settings.positions + ": is an input, which the positions would overwrite"), 2;

    std::string reason;
    std::optional<Console> console;
    if (!settings.console.address.empty()) {
        console.emplace(settings, "files");
        if (!console->Configure(settings, reason)) return Complain(reason), 2;
    }
    // Who takes what the run produces.
    RunSummary summary(settings.referencePlace);
    RunEventLines events(settings.allWarnings);
    std::vector<RunOutput*> outputs{&events, &summary};
    std::optional<PositionRows> rows;

    Pipeline pipeline(settings.request, outputs);
    if (console) console->Join(pipeline.GetCore());
    if (!pipeline.Open(reason)) return Complain(reason), 1;
    // Made when the inputs are good, so that an old file is not lost to a mistyped name. With a folder the positions
    // are in it, and elsewhere only if that is asked for.
    std::optional<StopSignal> stop;
    std::optional<RunFolderOutput> folder;
    // Rows on standard output end where a signal finds them; files are whole or not at all.
    if (console || !settings.folder.folder.empty() || !settings.positions.empty()) {
        settings.folder.isStopped = [] { return StopSignal::Get() != 0; };
        stop.emplace();
        // Asked again and again while standard input keeps one waiting, and so what a console needs.
        pipeline.SetStop([&] {
            if (console) console->Work(pipeline.GetCore());
            return StopSignal::Get() != 0;
        });
    }
    if (!settings.folder.folder.empty()) {
        folder.emplace(settings.folder, summary);
        if (!folder->GetFailure().empty()) return Complain(folder->GetFailure()), 1;
    }
    // The folder last: when the positions cannot be written, it is not made, and they are what is complained of.
    if (!folder || !settings.positions.empty()) {
        pipeline.AddOutput(rows.emplace(settings.form, settings.positions, settings.folder.isStopped));
    }
    if (folder) pipeline.AddOutput(*folder);
    if (console) {
        console->GetOutput().SetStop(settings.folder.isStopped);
        pipeline.AddOutput(console->GetOutput());
        if (!console->Start({}, reason)) return Complain("--console: " + reason), 1;
        Complain("the console is at " + console->GetPlace());
    }
    std::optional<Progress> progress(std::in_place, "bytes", pipeline.GetFacts().bytesTotal);
    const std::string failure = pipeline.Run([&](const RunFacts& facts) {
        progress->SetDone(facts.bytesDone);
        if (console) console->Work(pipeline.GetCore());
    });
    progress.reset();
    if (console) console->End();
    if (!failure.empty()) return Complain(failure), 1;
    if (stop && StopSignal::Get() != 0)
        return Complain(console ? "the run was stopped" : "the run was stopped; no file was made"), 1;
    const RunFigures& figures = summary.GetFigures();
    if (!settings.quiet) Tell(PrintSummary(figures, summary.GetSeries(), pipeline.GetFacts()));
    const bool hasPositions = TellWhetherPositions(pipeline.GetFacts());
    if (console && figures.epochs > 0) ServeOn(*console);
    return hasPositions ? 0 : 1;
}

constexpr const char* Footer =
    R"(Several sources are merged by their own times: observations from one, navigation from another. The ephemerides of a
log are known from its beginning, as those of a navigation file are; with --as-received, and on standard input, from
when they come. Without ionosphere parameters none is taken off, which a note says. RTCM 3 tells no week: where no
GLONASS ephemeris or message 1013 in it does, it is taken from the other sources, or from --date.

  gnss run station.20o.gz station.20n.gz --output day     observations and ephemerides, report with pictures
  gnss run receiver.ubx --form csv --positions out.csv    one table
  cat receiver.ubx | gnss run -                           from a pipe

A row for each epoch, with GPS time and UTC; its place is WGS 84. A summary and what went wrong, with its time and
place, go to standard error. --output makes a folder of
  positions.csv, .ndjson   each epoch: position, covariance, DOP, tests, reliability, velocity
  satellites.csv           each satellite of each epoch: direction, residual, w, MDE, effect, why it was not used
  journal.csv              alarms, remarks and events in the order of their time; notes.csv, events.log
  summary.json             the run in figures
  report.html              for reading and printing, with the pictures, which are there as SVG (or PNG) too
Its rows go to standard output or a file only where --positions names one. The folder is made when the run has ended in
good order; a signal (Ctrl-C) leaves none. Times are GPS time in report and pictures, both GPS time and UTC in tables.

Live sources go on until a signal (Ctrl-C), which is their good order: what has come is written whole. --output is then
a folder with one such folder for each day. What happens to a source, and each minute how all goes, is told on standard
error; on a terminal there are lines that are always of now. The password for casters comes from --ntrip-password-file,
the variable GNSS_NTRIP_PASSWORD or the configuration file, never from an address, and goes to those whose address names
a user. A port that is listened on is one of the loopback interface unless an address (* for all) stands before it.

  gnss run ntrip://me@caster.example/MOUNT --output days --record raw --almanac kept

--console serves a page to browsers, on which the run is watched and satellites are enabled and disabled: on this
machine alone unless an address is given, and to other machines only with a token of its own for those who may look and
for those who may steer. A run of files shows its last state until Ctrl-C; gnss replay plays files like a recording.

  gnss run ntrip://me@caster.example/MOUNT --console
  gnss run serial:///dev/ttyUSB0 --console 10.0.0.5:8080 --console-steer-token-file token

Every setting may stand in a file as well; --print-config shows them all, with what they mean. To begin one:
  gnss run --mask 15 --print-config > my.toml
  gnss run --config my.toml LOG --output DIR
Such a file may be as short as
  [fix]
  mask = 15
  [satellites]
  disabled = ["G05", "R03"]
A name in it that is no setting, or a value that is not allowed, ends the run before it begins. Only the file that
--config names is read, so that a command line says all about a run.

Exit code: 0 when there is at least one position; 1 when there is none, a source cannot be used, an output cannot be
written, or a signal has ended a run of files before their end (one that only prints its rows is ended by the signal
itself); 2 when the command line or the configuration is wrong.)";

}  // namespace

void AddRunCommand(CLI::App& program, int& exitCode) {
    CLI::App* command =
        program.add_subcommand("run", "positions, with their quality, from receivers' logs and live streams");
    const auto options = std::make_shared<RunOptions>(*command);
    command->footer(Footer);
    command->callback([=, &exitCode] { exitCode = Run(*options); });
}

}  // namespace Host
