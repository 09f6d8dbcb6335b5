// gnss store: logs through the stores, which leave the almanac file behind.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <system_error>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "gnss/platform/Stream.h"
#include "host/cli/Commands.h"
#include "host/cli/EventLines.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/RowTable.h"
#include "host/cli/StoreLog.h"
#include "host/cli/StoreTables.h"
#include "host/stores/StoreWatch.h"
#include "host/text/TimeText.h"

namespace Host {

using GNSS::GPSTime;

namespace {

struct Options {
    std::string folder;
    std::vector<std::string> files;
    std::string date;
    std::string form = "table";
    std::string output;
    bool watch = false;
    bool allWarnings = false;
    bool hasDate = false;
};

// The almanac file in the folder, without its suffix.
constexpr const char* RootName = "almanac";

// Writes each published change in its row.
void WatchChanges(StoreWatch& watch, const StoreTree& tree, Form form, Sink& sink) {
    const auto table = std::make_shared<RowTable>("change", nullptr, form,
                                                  std::vector<Column>{{"time", "GPST", 23, 0, true},
                                                                      {"change", "", 18, 0, true},
                                                                      {"sat", "", 3, 0, true},
                                                                      {"detail", "", 24, 0, true}},
                                                  sink);
    watch.SetTake([table, &tree](const StoreChange& change) {
        const std::string time = tree.GetTime() ? PrintTime(*tree.GetTime()) : "";
        const auto text = [](const std::string& of) { return of.empty() ? Cell() : Cell(std::string_view(of)); };
        table->Write({text(time), text(change.what), text(change.satellite), text(change.detail)});
    });
}

// False, with the reason on standard error, when no almanac can be kept in the folder.
bool IsFolderUsable(const std::string& folder, const std::string& root) {
    std::error_code error;
    const auto status = std::filesystem::status(folder, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return Complain(folder + ": no such folder; mkdir makes the one in which the almanac is to be kept"), false;
    if (status.type() != std::filesystem::file_type::directory) {
        Complain(folder + ": not a folder; name the one in which the almanac is to be kept before the logs");
        return false;
    }
    if (const auto holder = StoreTree::FindHolder(root)) {
        const std::string who = *holder == 0 ? "another process" : fmt::format("process {}", *holder);
        Complain(fmt::format("{}: {} keeps this almanac; end it first, or use another folder",
                             StoreTree::GetAlmanacPath(root), who));
        return false;
    }
    return true;
}

bool IsSaved(const std::string& path, const GNSS::Almanac& almanac) {
    Corvane::Stream::MemoryOutput expected;
    if (!almanac.Write(expected)) return false;
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    return std::ranges::equal(std::as_bytes(std::span(bytes)), expected.Bytes());
}

int Run(const Options& options) {
    Form form = Form::Table;
    std::optional<GPSTime> date;
    if (!ParseForm(options.form, form)) return Complain("--form is table, csv or ndjson"), 2;
    if (options.hasDate) {
        date = ParseTime(options.date);
        if (!date) return Complain("--date: " + Quoted(options.date) + " is not a time"), 2;
    }
    if (!IsReadOnce(options.files)) return 2;
    const std::string root = (std::filesystem::path(options.folder) / RootName).string();
    if (!IsFolderUsable(options.folder, root)) return 1;

    const EventLines events(options.allWarnings);
    Sink sink(options.output);
    bool isRead = true;
    GNSS::Almanac almanac;
    {
        StoreTree tree;
        const auto watch = std::make_shared<StoreWatch>();
        tree.Join(watch);
        // A late joiner is told what is kept; that is no change.
        tree.Drain();
        if (options.watch) WatchChanges(*watch, tree, form, sink);
        tree.SetRootPath(root);
        tree.Drain();
        for (const std::string& path : options.files) {
            if (!sink.IsGood()) break;
            LeapRule leaps;  // each log has its own
            isRead = PlayLog(path, {"store", options.allWarnings, date}, tree, leaps) && isRead;
        }
        almanac = *watch->GetAlmanac();
        WriteStores(*watch, tree.GetTime(), form, sink);
    }
    const std::string failure = sink.Close();
    if (!failure.empty()) return Complain(failure), 1;
    // The stores are gone, and with them the last try to save.
    const std::string path = StoreTree::GetAlmanacPath(root);
    if (!IsSaved(path, almanac)) return Complain(path + ": the almanac is not saved there"), 1;
    return isRead ? 0 : 1;
}

}  // namespace

void AddStoreCommand(CLI::App& program, int& exitCode) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "store", "logs through the almanac and ephemeris stores; leaves the almanac in DIR/almanac.alm");
    command->add_option("DIR", options->folder, "folder of the almanac file, which is read first where it is there")
        ->required();
    command
        ->add_option(
            "FILE", options->files,
            "logs (UBX, NovAtel OEM, RTCM 3), RINEX navigation and almanac files, plain or gzip; - is standard "
            "input")
        ->required();
    command->add_flag("--watch", options->watch, "each change too, in the order in which the stores publish them");
    const CLI::Option* date = command->add_option(
        "--date", options->date, "about when it was, to half a week: for streams that tell no week (RTCM 3)");
    command->add_option("--form", options->form, "table, csv or ndjson")->capture_default_str();
    command->add_option("--output", options->output, "file instead of standard output");
    command->add_flag("--warnings", options->allWarnings, "every warning and event, not only the first few");
    command->footer(
        "The files are played one after the other, by their own time. The almanac takes what is newer than what it\n"
        "has, so that a second run on the same folder adds to the first. Issue is the IODE, or tb in quarters of an "
        "hour\n"
        "of the Moscow day; data age has tb in seconds. Age counts from toe or tb to the last time of the last file,\n"
        "depth is how many records of the satellite are held. What stores refuse or cannot do is on standard error.");
    command->callback([=, &exitCode] {
        options->hasDate = date->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
