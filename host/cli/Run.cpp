// gnss run: logs in, positions with their quality out.
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/cli/Commands.h"
#include "host/cli/FixOptions.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/OutputOptions.h"
#include "host/cli/Progress.h"
#include "host/cli/StopSignal.h"
#include "host/cli/TimeText.h"
#include "host/run/Pipeline.h"
#include "host/run/PositionRows.h"
#include "host/run/RunSummary.h"

namespace Host {

namespace {

struct Options {
    std::vector<std::string> inputs;
    std::string date;
    std::string form = "table";
    std::string positions;
    FixOptions fix;
    OutputOptions output;
    bool allWarnings = false;
    bool quiet = false;
    bool hasDate = false;
};

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

// A line that cannot be written is lost.
void Tell(const std::string& lines) {
    static_cast<void>(std::fwrite(lines.data(), 1, lines.size(), stderr));
}

int Run(const Options& options) {
    RunRequest request;
    request.inputs = options.inputs;
    if (const std::string fault = ReadFixOptions(options.fix, request); !fault.empty()) return Complain(fault), 2;
    Form form = Form::Table;
    if (!ParseForm(options.form, form)) return Complain("--form is table, csv or ndjson"), 2;
    if (options.hasDate) {
        request.date = ParseTime(options.date);
        if (!request.date) return Complain("--date: " + Quoted(options.date) + " is not a time"), 2;
    }
    RunFolderOptions folderOptions;
    if (const std::string fault = ReadOutputOptions(options.output, folderOptions); !fault.empty())
        return Complain(fault), 2;
    if (!IsReadOnce(options.inputs)) return 2;

    // Who takes what the run produces.
    RunSummary summary;
    EventLines events(options.allWarnings);
    std::vector<RunOutput*> outputs{&events, &summary};
    std::optional<PositionRows> rows;

    Pipeline pipeline(request, outputs);
    std::string reason;
    if (!pipeline.Open(reason)) return Complain(reason), 1;
    // Made when the inputs are good, so that an old file is not lost to a mistyped name.
    // With a folder they are not for standard output, unless that is asked for.
    std::optional<StopSignal> stop;
    std::optional<RunFolderOutput> folder;
    if (!folderOptions.folder.empty()) {
        folderOptions.isStopped = [] { return StopSignal::Get() != 0; };
        stop.emplace();
        folder.emplace(std::move(folderOptions));
        if (!folder->GetFailure().empty()) return Complain(folder->GetFailure()), 1;
        pipeline.AddOutput(*folder);
    }
    if (!folder || !options.positions.empty()) pipeline.AddOutput(rows.emplace(form, options.positions));
    std::optional<Progress> progress(std::in_place, "bytes", pipeline.GetFacts().bytesTotal);
    const std::string failure = pipeline.Run([&](const RunFacts& facts) { progress->SetDone(facts.bytesDone); });
    progress.reset();
    if (!options.quiet) Tell(folder ? folder->GetSummaryText() : summary.Print());
    if (!failure.empty()) return Complain(failure), 1;
    if (summary.NmrEpochs() == 0) return Complain("the inputs hold no measurements that could be used"), 1;
    if (summary.NmrFixes() == 0) return Complain("no epoch has a position; the notes and events say why"), 1;
    return 0;
}

}  // namespace

void AddRunCommand(CLI::App& program, int& exitCode) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("run", "positions, with their quality, from receivers' logs");
    command
        ->add_option("SOURCE", options->inputs,
                     "logs (UBX, NovAtel OEM, RTCM 3) and RINEX observation and navigation files, plain or gzip; - is "
                     "standard input")
        ->required();
    command->add_option("--positions", options->positions, "file of the positions, instead of standard output");
    command->add_option("--form", options->form, "of the positions: table, csv or ndjson")->capture_default_str();
    const CLI::Option* date = command->add_option(
        "--date", options->date, "about when it was, to half a week: for streams that tell no week (RTCM 3)");
    command->add_flag("--warnings", options->allWarnings, "all events, not just the first few of each source");
    command->add_flag("--quiet", options->quiet, "no summary");
    AddFixOptions(*command, options->fix);
    AddOutputOptions(*command, options->output);
    command->footer(
        "Several sources are merged by their own times: observations from one, navigation from another. The "
        "navigation\n"
        "messages in a receiver's log are used as they come; the records of a navigation file from when they are of\n"
        "use. Without ionosphere parameters none is taken off, which a note says.\n"
        "\n"
        "A row for each epoch; its time is GPS time, its place WGS 84. A summary and what went wrong, with its time "
        "and\n"
        "place, go to standard error.\n"
        "\n"
        "Exit code: 0 when there is at least one position; 1 when there is none, a source cannot be used or an output\n"
        "cannot be written; 2 when the command line is wrong.");
    command->callback([=, &exitCode] {
        options->hasDate = date->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
