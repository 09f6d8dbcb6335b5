// gnss store: logs through the stores, which leave the almanac file behind.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <system_error>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "gnss/platform/Event.h"
#include "gnss/platform/Stream.h"
#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/RowTable.h"
#include "host/cli/StoreFeed.h"
#include "host/cli/StoreTables.h"
#include "host/cli/TimeText.h"
#include "host/stores/StoreWatch.h"

namespace Host {

using Corvane::Event;
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

// Shows the event log on standard error while it lives, of each source the first few.
class EventLines {
public:
    explicit EventLines(bool all) : all_(all), sink_(Event::InstallSink([this](const Event& event) { Show(event); })) {}
    EventLines(const EventLines&) = delete;
    EventLines& operator=(const EventLines&) = delete;
    ~EventLines() {
        Event::RemoveSink(sink_);
        for (const auto& [source, nmr] : nmr_) {
            if (!all_ && nmr > Few)
                Complain(fmt::format("{}: {} more events (--warnings shows them)", source, nmr - Few));
        }
    }

private:
    static constexpr std::int64_t Few = 5;

    void Show(const Event& event) {
        if (++nmr_[event.GetSource().str()] <= Few) Complain(event.GetSource().str() + ": " + event.GetText().str());
    }

    bool all_;
    std::map<std::string, std::int64_t> nmr_;  // by source
    Event::SinkID sink_;
};

// One log, a receiver's or a navigation file, into the stores.
class Log : public LogReader {
public:
    Log(std::string file, const std::optional<GPSTime>& date, bool allWarnings, StoreTree& tree)
        : file_(std::move(file)), date_(date), allWarnings_(allWarnings), feed_(tree, leaps_) {}

    [[nodiscard]] bool Begin(const DetectedFormat& detected, bool isEmpty) override {
        decoder_ = MakeDecoder(detected.format, feed_);
        if (!decoder_) return Complain(file_ + DescribeUnread(detected.format, isEmpty, "store")), false;
        if (date_) decoder_->SetApproximateTime(*date_);
        return true;
    }
    void Feed(std::string_view bytes) override { decoder_->Feed(bytes); }
    void End() override {
        decoder_->Finish();
        // A stream that has told no time is dated as a whole.
        const RecordMaker& maker = feed_.Maker();
        if (!maker.GetClock().GetTime() && date_ && maker.GetNmrWaiting() > 0) feed_.OnTime(*date_);
        if (!maker.GetClock().GetTime())
            Complain(file_ + ": tells no time by which it could be dated; --date helps where it tells a part");
        feed_.Finish();
    }
    [[nodiscard]] bool TakeNavigation(std::string_view text) override {
        RinexNavigation navigation;
        FileError error;
        const bool isRead = navigation.Parse(text, file_, error);
        Complain(navigation.warnings, allWarnings_);
        if (!isRead) return Complain(error.Print()), false;
        if (navigation.gps.empty() && navigation.glonass.empty())
            return Complain(file_ + ": holds no GPS or GLONASS records"), false;
        feed_.Play(navigation, file_);
        feed_.Finish();
        return true;
    }

private:
    std::string file_;
    const std::optional<GPSTime>& date_;
    bool allWarnings_;
    LeapRule leaps_;  // each log has its own
    StoreFeed feed_;
    std::unique_ptr<StreamDecoder> decoder_;
};

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
            Log log(path, date, options.allWarnings, tree);
            isRead = ReadLog(path, log) && isRead;
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
        ->add_option("FILE", options->files,
                     "logs (UBX, NovAtel OEM, RTCM 3) and RINEX navigation files, plain or gzip; - is standard input")
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
