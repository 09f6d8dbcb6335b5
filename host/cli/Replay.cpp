// gnss replay: a run of files that is played like a recording.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <sys/stat.h>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/NumberText.h"
#include "host/cli/RunEnd.h"
#include "host/cli/RunEventLines.h"
#include "host/cli/RunLive.h"
#include "host/cli/RunOptions.h"
#include "host/cli/StopSignal.h"
#include "host/console/Console.h"
#include "host/run/PositionRows.h"
#include "host/run/ReplayRun.h"
#include "host/run/RunSummary.h"
#include "host/run/RunText.h"
#include "host/source/InputBytes.h"
#include "host/text/TimeText.h"

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
    return {};
}

// Tells how the run has gone when the data have ended for the first time: later ones say the same.
class FirstEnd : public RunOutput {
public:
    // Of a summary that is finished before this is; null for none, as the console shows what it would say.
    explicit FirstEnd(const RunSummary* summary) : summary_(summary) {}

    void OnFix(const PublishedFix& /*fix*/) override {}
    [[nodiscard]] std::string Finish(const RunFacts& facts) override {
        if (facts.isStopped || hasEnded_) return {};
        hasEnded_ = true;
        if (summary_ != nullptr) Tell(PrintSummary(summary_->GetFigures(), summary_->GetSeries(), facts));
        hasPositions_ = TellWhetherPositions(facts);
        return {};
    }
    [[nodiscard]] bool HasEnded() const { return hasEnded_; }
    [[nodiscard]] bool HasPositions() const { return hasPositions_; }

private:
    const RunSummary* summary_;
    bool hasEnded_ = false;
    bool hasPositions_ = false;
};

// "plays 2020-06-25 00:00:00 to 2020-06-25 23:59:30 GPST, at 60 times real speed"
std::string DescribePlay(const ReplayRun::Status& status) {
    std::string line = "plays ";
    if (status.span) line += PrintTime(status.span->first) + " to " + PrintTime(status.span->last) + " GPST, ";
    if (status.speed == 0.0) return line + "as fast as it goes";
    return line + fmt::format("at {} times real speed", status.speed);
}

int Replay(const RunOptions& options, const std::string& speedText) {
    RunSettings settings;
    std::vector<std::string> faults = options.Read(settings);
    const std::optional<double> speed = speedText == "max" ? 0.0 : ReadNumber(speedText, MinSpeed, MaxSpeed);
    if (!speed) faults.push_back("--speed: " + Quoted(speedText) + " is not a factor from 0.001 to a million, or max");
    if (faults.empty() && !options.IsPrintAsked()) {
        if (std::string fault = FindFault(settings); !fault.empty()) faults.push_back(std::move(fault));
    }
    for (const std::string& fault : faults) Complain(fault);
    if (!faults.empty()) return 2;
    if (options.IsPrintAsked()) return PrintSettings(settings);

    std::string reason;
    std::optional<Console> console;
    RunSummary summary(settings.referencePlace);
    RunEventLines events(settings.allWarnings);
    std::optional<PositionRows> rows;
    std::vector<RunOutput*> outputs;
    if (!settings.console.address.empty()) {
        console.emplace(settings, "replay");
        if (!console->Configure(settings, reason)) return Complain(reason), 2;
        outputs.push_back(&console->GetOutput());
    } else {
        // The rows end before the summary is told.
        outputs = {&events, &summary, &rows.emplace(settings.form, "", [] { return StopSignal::Get() != 0; })};
    }
    FirstEnd end(console || settings.quiet ? nullptr : &summary);
    outputs.push_back(&end);
    const StopSignal stop;
    ReplayRun replay(settings.request, outputs, *speed);
    if (console && !console->StartReplay(replay, reason)) return Complain("--console: " + reason), 1;
    if (!replay.Open(reason)) {
        // Its threads steer the replay.
        if (console) console->Stop();
        return Complain(reason), 1;
    }
    if (console) Complain("the console is at " + console->GetPlace() + " until Ctrl-C");
    if (console) Complain(DescribePlay(replay.GetStatus()));
    const std::string failure = replay.Run(
        [&] {
            // Without a console nobody can send it back.
            return StopSignal::Get() != 0 || (!console && end.HasEnded());
        },
        [&] {
            if (console) console->TickReplay();
        });
    if (console) console->Stop();
    if (!failure.empty()) return Complain(failure), 1;
    if (console) return 0;
    if (!end.HasEnded()) return Complain("the replay was stopped"), 1;
    return end.HasPositions() ? 0 : 1;
}

constexpr const char* Footer =
    R"(The files are those of gnss run. Each epoch waits until its time has come, as it did when it was measured, at
the speed asked for; a gap is waited out for a minute at most. With --console the operator console has play, pause,
speed, and a slider by which the replay is sent to any time of the data: stores, notes, clock and leap-second rule are
then as if it had got there by itself. A satellite that an operator disables or enables is so from that time of the
data on, also when the replay comes there again. It goes on until a signal (Ctrl-C), also when the data have ended.

Without a console the rows of gnss run come at their times, and the replay ends with the data and the summary.

  gnss replay station.20o.gz station.20n.gz --speed 60 --console

A configuration file of gnss run can be used. What it says of live sources and of files to be written is passed over: a
replay writes none.

Exit code with a console: 0 when a signal has ended it, whatever the data hold. Without one: 0 when there is at least
one position, 1 when there is none or a signal has ended it before the data did. With and without: 1 when a file cannot
be used or the console cannot be served, 2 when the command line or the configuration is wrong.)";

}  // namespace

void AddReplayCommand(CLI::App& program, int& exitCode) {
    CLI::App* command = program.add_subcommand("replay", "files played at their own speed or faster, with a console");
    const auto options = std::make_shared<RunOptions>(*command, IsOfReplay);
    command->get_option("SOURCE")->description(
        "logs (UBX, NovAtel OEM, RTCM 3) and RINEX observation and navigation files, plain or gzip, that can be "
        "read twice");
    const auto speed = std::make_shared<std::string>("1");
    command->add_option("--speed", *speed, "times real, from 0.001 to a million, or max")->capture_default_str();
    command->footer(Footer);
    command->callback([=, &exitCode] { exitCode = Replay(*options, *speed); });
}

}  // namespace Host
