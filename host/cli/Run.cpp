// gnss run: logs in, positions with their quality out.
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <sys/stat.h>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/Progress.h"
#include "host/cli/RunOptions.h"
#include "host/cli/StopSignal.h"
#include "host/cli/TimeText.h"
#include "host/run/Pipeline.h"
#include "host/run/PositionRows.h"
#include "host/run/RunConfig.h"
#include "host/run/RunSettings.h"
#include "host/run/RunSummary.h"

namespace Host {

namespace {

// Shows the events on standard error, of each source the first few.
class EventLines : public RunOutput {
public:
    explicit EventLines(bool all) : all_(all) {}

    void OnFix(const PublishedFix& /*fix*/) override {}
    void OnEvent(const RunEvent& event) override {
        if (++nmr_[event.source] > Few && !all_) return;
        Complain((event.time ? PrintTime(*event.time) + " " : "") + event.source + ": " + event.text);
    }
    [[nodiscard]] std::string Finish(const RunFacts& /*facts*/) override {
        for (const auto& [source, nmr] : nmr_) {
            if (!all_ && nmr > Few)
                Complain(fmt::format("{}: {} more events (--warnings shows them)", source, nmr - Few));
        }
        return {};
    }

private:
    static constexpr std::int64_t Few = 5;
    bool all_;
    std::map<std::string, std::int64_t> nmr_;  // by source
};

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

// A line that cannot be written is lost.
void Tell(const std::string& lines) {
    static_cast<void>(std::fwrite(lines.data(), 1, lines.size(), stderr));
}

int PrintSettings(const RunSettings& settings) {
    std::string text;
    std::string fault;
    if (!PrintConfig(settings, text, fault)) return Complain(fault), 2;
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return 0;
    return Complain("standard output cannot be written"), 1;
}

int Run(const RunOptions& options) {
    RunSettings settings;
    const std::vector<std::string> faults = options.Read(settings);
    for (const std::string& fault : faults) Complain(fault);
    if (!faults.empty()) return 2;
    if (options.IsPrintAsked()) return PrintSettings(settings);
    if (settings.request.inputs.empty())
        return Complain("say what to read: SOURCE ..., or [sources] in the file of --config"), 2;
    if (!IsReadOnce(settings.request.inputs)) return 2;
    if (IsInputOverwritten(settings))
        return Complain(settings.positions + ": is an input, which the positions would overwrite"), 2;

    // Who takes what the run produces.
    RunSummary summary;
    EventLines events(settings.allWarnings);
    std::vector<RunOutput*> outputs{&events, &summary};
    std::optional<PositionRows> rows;

    Pipeline pipeline(settings.request, outputs);
    std::string reason;
    if (!pipeline.Open(reason)) return Complain(reason), 1;
    // Made when the inputs are good, so that an old file is not lost to a mistyped name. With a folder the positions
    // are in it, and elsewhere only if that is asked for.
    std::optional<StopSignal> stop;
    std::optional<RunFolderOutput> folder;
    if (!settings.folder.folder.empty()) {
        settings.folder.isStopped = [] { return StopSignal::Get() != 0; };
        stop.emplace();
        pipeline.SetStop(settings.folder.isStopped);
        folder.emplace(settings.folder);
        if (!folder->GetFailure().empty()) return Complain(folder->GetFailure()), 1;
    }
    // The folder last: when the positions cannot be written, it is not made, and they are what is complained of.
    if (!folder || !settings.positions.empty()) pipeline.AddOutput(rows.emplace(settings.form, settings.positions));
    if (folder) pipeline.AddOutput(*folder);
    std::optional<Progress> progress(std::in_place, "bytes", pipeline.GetFacts().bytesTotal);
    const std::string failure = pipeline.Run([&](const RunFacts& facts) { progress->SetDone(facts.bytesDone); });
    progress.reset();
    if (!settings.quiet) Tell(folder ? folder->GetSummaryText() : summary.Print());
    if (!failure.empty()) return Complain(failure), 1;
    if (summary.NmrEpochs() == 0) return Complain("the inputs hold no measurements that could be used"), 1;
    if (summary.NmrFixes() == 0) return Complain("no epoch has a position; the notes and events say why"), 1;
    return 0;
}

}  // namespace

void AddRunCommand(CLI::App& program, int& exitCode) {
    CLI::App* command = program.add_subcommand("run", "positions, with their quality, from receivers' logs");
    const auto options = std::make_shared<RunOptions>(*command);
    command->footer(
        "Several sources are merged by their own times: observations from one, navigation from another. The "
        "ephemerides\n"
        "of a log are known from its beginning, as those of a navigation file are; with --as-received, and on "
        "standard\n"
        "input, from when they come. Without ionosphere parameters none is taken off, which a note says.\n"
        "\n"
        "A row for each epoch; its time is GPS time, its place WGS 84. A summary and what went wrong, with its time "
        "and\n"
        "place, go to standard error. With --output rows go to standard output or a file only where --positions names "
        "one.\n"
        "\n"
        "Every setting may stand in a file as well; --print-config shows them all, with what they mean. To begin one:\n"
        "  gnss run --mask 15 --print-config > my.toml\n"
        "  gnss run --config my.toml LOG --output DIR\n"
        "Such a file may be as short as\n"
        "  [fix]\n"
        "  mask = 15\n"
        "  [satellites]\n"
        "  disabled = [\"G05\", \"R03\"]\n"
        "A name in it that is no setting, or a value that is not allowed, ends the run before it begins. Only the file "
        "that\n"
        "--config names is read, so that a command line says all about a run.\n"
        "\n"
        "With --output the folder is made when the run has ended in good order; a signal (Ctrl-C) leaves none.\n"
        "\n"
        "Exit code: 0 when there is at least one position; 1 when there is none, a source cannot be used or an output\n"
        "cannot be written; 2 when the command line or the configuration is wrong.");
    command->callback([=, &exitCode] { exitCode = Run(*options); });
}

}  // namespace Host
