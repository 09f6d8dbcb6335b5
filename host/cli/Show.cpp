// gnss show: what files hold of almanac and ephemerides, parameter by parameter.
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <sys/ioctl.h>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/display/AlmanacView.h"
#include "gnss/display/EphemerisView.h"
#include "gnss/display/GlonassEphemerisView.h"
#include "gnss/platform/Clipboard.h"
#include "host/cli/Commands.h"
#include "host/cli/EventLines.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/StoreLog.h"
#include "host/render/ClipboardSinks.h"
#include "host/render/Palette.h"
#include "host/render/PictureFile.h"
#include "host/report/RecordText.h"
#include "host/report/Sink.h"
#include "host/text/TimeText.h"

namespace Host {

using GNSS::Almanac;
using GNSS::AlmanacView;
using GNSS::EphemerisView;
using GNSS::GlonassEphemerisView;
using GNSS::GPSTime;

namespace {

struct Options {
    std::string what;
    std::vector<std::string> files;
    std::string at;
    std::string date;
    std::string output;
    std::string form = "table";
    std::string palette = "light";
    std::string copyTo;
    int width = 1600;
    int density = 1;
    int record = 0;
    bool copy = false;
    bool noGlonass = false;
    bool allWarnings = false;
    bool hasAt = false;
    bool hasDate = false;
};

// What the options say beyond their text.
struct Request {
    std::optional<GPSTime> at;
    std::optional<GPSTime> date;
    const Palette* palette = &Palette::Light;
};

// Empty, or what is wrong.
std::string Understand(const Options& options, Request& request) {
    if (options.what != "almanac" && options.what != "ephemeris" && options.what != "glonass")
        return "show almanac, ephemeris (GPS) or glonass (its ephemerides), not " + Quoted(options.what);
    if (options.what == "glonass" && options.noGlonass) return "glonass and --no-glonass leave nothing to show";
    if (options.form != "table" && options.form != "tsv") return "--form is table or tsv";
    if (options.palette != "light" && options.palette != "dark") return "--palette is light or dark";
    constexpr int GPSDepth = EphemerisView::History::SV::Depth;
    if (options.what == "ephemeris" && options.record >= GPSDepth)
        return fmt::format("--record: of a GPS satellite {} records are kept, 0 to {}", GPSDepth, GPSDepth - 1);
    if (options.what == "almanac" && options.record > 0) return "--record is of ephemerides; an almanac has one";
    if (options.palette == "dark") request.palette = &Palette::Dark;
    if (options.hasAt && !(request.at = ParseTime(options.at))) return "--at: " + Quoted(options.at) + " is not a time";
    if (options.hasDate && !(request.date = ParseTime(options.date)))
        return "--date: " + Quoted(options.date) + " is not a time";
    return options.output.empty() || !KindOfPicture(options.output)
               ? std::string()
               : PictureFile::Check(options.output, {options.width, 1}, options.density);
}

// How many characters a line of the output has.
std::size_t LineWidth(const Options& options) {
    constexpr std::size_t Unlimited = std::numeric_limits<std::size_t>::max();
    if (!options.output.empty() && options.output != "-") return Unlimited;
    const char* columns = std::getenv("COLUMNS");  // NOLINT(concurrency-mt-unsafe): nobody changes the environment
    const std::string_view text = columns != nullptr ? columns : "";
    std::size_t width = 0;
    if (const auto read = std::from_chars(text.data(), text.data() + text.size(), width);
        read.ec == std::errc() && read.ptr == text.data() + text.size() && width > 0)
        return width;
    if (::isatty(STDOUT_FILENO) == 0) return Unlimited;
    winsize size{};
    constexpr std::size_t Usual = 80;
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : Usual;
}

// "no GLONASS almanac", "GPS almanac: none of G04 G23", or nothing when every satellite is there.
template <typename Id, typename Has>
void ComplainOfMissing(const std::string& what, const Has& has) {
    std::string missing;
    int nmr = 0;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        if (has(Id(number))) continue;
        missing += " " + Id(number).Print().str();
        ++nmr;
    }
    if (nmr == Id::Max - Id::Min + 1) return Complain("the files hold no " + what);
    if (nmr > 0) Complain("the files hold no " + what + " of" + missing);
}

// Each says on standard error what the files lack of what it shows, and whether they hold any of it.
bool HasRecords(const AlmanacView& view) {
    const Almanac almanac = view.GetAlmanac();
    ComplainOfMissing<GNSS::PRN>("GPS almanac", [&](const auto& prn) { return almanac.Find(prn) >= 0; });
    if (view.IsGlonassShown()) {
        ComplainOfMissing<GNSS::Glonass::Slot>("GLONASS almanac",
                                               [&](const auto& slot) { return almanac.Find(slot) >= 0; });
    }
    const bool hasIono = !(almanac.GetIono() == Almanac::Iono());
    const bool hasUTC = !(almanac.GetUTC() == Almanac::UTC());
    const bool hasGlonass = view.IsGlonassShown() && almanac.NmrGlonassSV() > 0;
    if (almanac.NmrSV() == 0 && !hasGlonass && !hasIono && !hasUTC) return false;
    if (!hasIono) Complain("the files hold no ionosphere parameters newer than the built-in ones, which are shown");
    if (!hasUTC) Complain("the files hold no UTC parameters newer than the built-in ones, which are shown");
    return true;
}
template <typename System>
bool HasRecords(const GNSS::HistoryView<System>& view) {
    using Id = GNSS::SatelliteId<System>;
    const auto history = view.GetHistory();
    const int index = view.GetRecord();
    const std::string name = std::is_same_v<System, GNSS::GPSSystem> ? "GPS ephemeris" : "GLONASS ephemeris";
    bool hasAny = false;
    ComplainOfMissing<Id>(index == 0 ? name : fmt::format("{} that is {} before the newest", name, index),
                          [&](const Id& id) {
                              const auto* sv = history.FindSV(id);
                              const bool has = sv != nullptr && sv->GetEphem(index) != nullptr;
                              hasAny = hasAny || has;
                              return has;
                          });
    return hasAny;
}

// Empty, or what went wrong.
std::string Draw(GNSS::RecordView& view, const Options& options, const Palette& palette) {
    constexpr std::int32_t Margin = 12;
    const auto measure = CairoDC::Make(PictureKind::Svg, {1, 1});
    if (measure == nullptr) return "there are no fonts to draw with";
    view.SetStyles(palette.MakeStyles());
    const Corvane::Size size = view.Calc(*measure, options.width - 2 * Margin);
    if (size.width > options.width - 2 * Margin)
        Complain(fmt::format("--width: one satellite takes {} pixels", size.width + 2 * Margin));
    PictureFile picture(options.output, {std::max(size.width + 2 * Margin, options.width), size.height + 2 * Margin},
                        options.density);
    if (picture.IsOpen()) {
        palette.Begin(picture.GetDC());
        const Corvane::DC::Scope inside(picture.GetDC(), {Margin, Margin});
        view.Paint(picture.GetDC(), size);
    }
    return picture.Save();
}

std::string Print(const GNSS::RecordView& view, const Options& options) {
    Sink sink(options.output);
    if (options.form == "tsv") {
        sink.Write(view.ToText().ToUTF8());
    } else {
        bool isFirst = true;
        for (const auto& table : view.GetTables()) {
            if (!isFirst) sink.Write("\n");
            WriteText(table, LineWidth(options), sink);
            isFirst = false;
        }
    }
    return sink.Close();
}

template <typename View>
int Show(const Options& options, const Request& request, View& view) {
    if (!HasRecords(view)) return Complain("there is nothing to show"), 1;
    const bool isPicture = !options.output.empty() && KindOfPicture(options.output).has_value();
    const std::string failure = isPicture ? Draw(view, options, *request.palette) : Print(view, options);
    if (!failure.empty()) return Complain(failure), 1;
    if (!options.copy && options.copyTo.empty()) return 0;
    Corvane::Clipboard::SetSink(options.copyTo.empty() ? MakeTerminalClipboard() : MakeFileClipboard(options.copyTo));
    return view.CopyToClipboard() ? 0 : 1;
}

// Reads the files into the stores of a tree, to which the view listens as it would in an application.
template <typename View>
int Run(const Options& options, const Request& request, const std::shared_ptr<View>& view) {
    const EventLines events(options.allWarnings);
    view->ShowGlonass(!options.noGlonass);
    StoreTree tree;
    tree.Join(view);
    std::size_t nmrRead = 0;
    std::optional<GPSTime> last;
    for (const std::string& path : options.files) {
        LeapRule leaps;  // each log has its own
        if (PlayLog(path, {"show", options.allWarnings, request.date}, tree, leaps)) ++nmrRead;
        if (const auto& time = tree.GetTime()) last = std::max(last.value_or(*time), *time);
    }
    if (nmrRead == 0) return 1;
    const std::optional<GPSTime> now = request.at ? request.at : last;
    if (now) {
        // Ages count to the clock, and GPS time is told from it by its offset.
        LeapRule leaps;
        leaps.SetFor(*now);
        GPSTime::SetOffset(GPSTime::GetLocalToUTC(), Corvane::Time(leaps.Count(*now)), 0);
    }
    const int result = Show(options, request, *view);
    return nmrRead == options.files.size() ? result : 1;
}

int Run(const Options& options) {
    Request request;
    const std::string fault = Understand(options, request);
    if (!fault.empty()) return Complain(fault), 2;
    if (!IsReadOnce(options.files)) return 2;
    if (options.what == "almanac") return Run(options, request, std::make_shared<AlmanacView>());
    const auto withRecord = [&](const auto& view) {
        view->SetRecord(options.record);
        return Run(options, request, view);
    };
    return options.what == "ephemeris" ? withRecord(std::make_shared<EphemerisView>())
                                       : withRecord(std::make_shared<GlonassEphemerisView>());
}

}  // namespace

void AddShowCommand(CLI::App& program, int& exitCode) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "show", "almanac or ephemerides of files, parameter by parameter, one column a satellite");
    command->add_option("WHAT", options->what, "almanac, ephemeris (GPS) or glonass (its ephemerides)")->required();
    command
        ->add_option("FILE", options->files,
                     "RINEX navigation files, logs (UBX, NovAtel OEM, RTCM 3) and almanac files, plain or gzip; - is "
                     "standard input")
        ->required();
    const CLI::Option* at =
        command->add_option("--at", options->at, "time to which ages count; otherwise the last of the files");
    const CLI::Option* date = command->add_option(
        "--date", options->date, "about when it was, to half a week: for streams that tell no week (RTCM 3)");
    command->add_option("--output", options->output,
                        "file instead of standard output; .svg, .png and .pdf draw the tables");
    command->add_option("--form", options->form, "table, or tsv: tab-separated text for a spreadsheet")
        ->capture_default_str();
    command->add_flag("--copy", options->copy, "the tab-separated text to the clipboard of the terminal (OSC 52)");
    command->add_option("--copy-to", options->copyTo, "the same to a file in place of the terminal");
    command->add_flag("--no-glonass", options->noGlonass, "the almanac without GLONASS");
    command
        ->add_option("--record", options->record,
                     "which ephemeris of each satellite: 0 is the newest, 1 the one before it, and so on; of GPS to 2")
        ->check(CLI::Range(0, GlonassEphemerisView::History::SV::Depth - 1))
        ->capture_default_str();
    command->add_option("--width", options->width, "of a picture, pixels")
        ->check(CLI::Range(100, static_cast<int>(CairoDC::MaxVectorSide)))
        ->capture_default_str();
    command->add_option("--density", options->density, "pixels of a PNG for one of its width")
        ->check(CLI::Range(1, static_cast<int>(CairoDC::MaxDensity)))
        ->capture_default_str();
    command->add_option("--palette", options->palette, "colours of a picture: light or dark")->capture_default_str();
    command->add_flag("--warnings", options->allWarnings, "every warning and event, not only the first few");
    command->footer(
        "The files are played one after the other into the stores, which keep what is newest. Numbers have as many\n"
        "decimals as the message has bits; small ones share a power of ten along their row. What the files lack is\n"
        "on standard error. On a terminal, or where COLUMNS is set, satellites that do not fit stand in blocks below.");
    command->callback([=, &exitCode] {
        options->hasAt = at->count() > 0;
        options->hasDate = date->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
