// gnss replay: a run of files that is played like a recording.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <sys/stat.h>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/NumberText.h"
#include "host/cli/RunEventLines.h"
#include "host/cli/RunLive.h"
#include "host/cli/RunOptions.h"
#include "host/cli/StopSignal.h"
#include "host/console/Console.h"
#include "host/run/PositionRows.h"
#include "host/run/ReplayRun.h"
#include "host/source/InputBytes.h"

namespace Host {

namespace {

constexpr double MinSpeed = 0.001;
constexpr double MaxSpeed = 1e6;

// Empty, or why these settings are none of a replay.
std::string FindFault(const RunSettings& settings) {
    if (IsLive(settings.request)) return "a replay is of files; gnss run hears live sources";
    for (const std::string& input : settings.request.inputs) {
        if (input == StandardInput) return "standard input cannot be read twice; a replay is of files";
        struct stat info {};
        if (::stat(input.c_str(), &info) == 0 && !S_ISREG(info.st_mode))
            return Quoted(input) + " is no file that can be read twice";
    }
    if (!settings.folder.folder.empty() || !settings.positions.empty())
        return "a replay writes no files; gnss run with --output or --positions does";
    return {};
}

int Replay(const RunOptions& options, const std::string& speedText) {
    RunSettings settings;
    std::vector<std::string> faults = options.Read(settings);
    const std::optional<double> speed = speedText == "max" ? 0.0 : ReadNumber(speedText, MinSpeed, MaxSpeed);
    if (!speed) faults.push_back("--speed: " + Quoted(speedText) + " is not a factor from 0.001 to a million, or max");
    if (faults.empty()) {
        if (std::string fault = FindFault(settings); !fault.empty()) faults.push_back(std::move(fault));
    }
    for (const std::string& fault : faults) Complain(fault);
    if (!faults.empty()) return 2;

    std::string reason;
    std::optional<Console> console;
    std::optional<RunEventLines> events;
    std::optional<PositionRows> rows;
    std::vector<RunOutput*> outputs;
    if (!settings.console.address.empty()) {
        console.emplace(settings, "replay");
        if (!console->Configure(settings, reason)) return Complain("--console: " + reason), 2;
        outputs.push_back(&console->GetOutput());
    } else {
        outputs.push_back(&events.emplace(settings.allWarnings));
        outputs.push_back(&rows.emplace(settings.form, "", [] { return StopSignal::Get() != 0; }));
    }
    const StopSignal stop;
    ReplayRun replay(settings.request, outputs, *speed);
    if (console) {
        if (!console->StartReplay(replay, reason)) return Complain("--console: " + reason), 1;
        Complain("the console is at " + console->GetUrl() + " until Ctrl-C");
    }
    if (!replay.Open(reason)) {
        // Its threads steer the replay.
        if (console) console->Stop();
        return Complain(reason), 1;
    }
    const std::string failure = replay.Run(
        [&] {
            // Without a console nobody can send it back.
            return StopSignal::Get() != 0 || (!console && replay.GetStatus().state == ReplayRun::State::Ended);
        },
        [&] {
            if (console) console->TickReplay();
        });
    if (console) console->Stop();
    if (!failure.empty()) return Complain(failure), 1;
    return 0;
}

constexpr const char* Footer =
    R"(The files are those of gnss run, with its options. Each epoch waits until its time has come, as it did when it was
measured, at the speed asked for; a gap is waited out for a minute at most. With --console the operator console has
play, pause, speed, and a slider by which the replay is sent to any time of the data: stores, notes, clock and
leap-second rule are then as if it had got there by itself. A satellite that an operator disables or enables is so from
that time of the data on, also when the replay comes there again. Without a console the rows of gnss run come at their
times.

  gnss replay station.20o.gz station.20n.gz --speed 60 --console

Exit code: 0; 1 when a file cannot be used or the console cannot be served; 2 when the command line or the configuration
is wrong.)";

}  // namespace

void AddReplayCommand(CLI::App& program, int& exitCode) {
    CLI::App* command = program.add_subcommand("replay", "files played at their own speed or faster, with a console");
    const auto options = std::make_shared<RunOptions>(*command);
    const auto speed = std::make_shared<std::string>("1");
    command->add_option("--speed", *speed, "times real, or max")->capture_default_str();
    command->footer(Footer);
    command->callback([=, &exitCode] { exitCode = Replay(*options, *speed); });
}

}  // namespace Host
