#include "host/run/RunFolderOutput.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "host/fix/FixNotes.h"
#include "host/render/CairoDC.h"
#include "host/render/SkyPage.h"
#include "host/report/RunPlots.h"
#include "host/report/SafeText.h"
#include "host/run/RunReport.h"

namespace Host {

namespace {

constexpr std::array TableNames{"positions.csv", "positions.ndjson", "satellites.csv", "events.log"};
constexpr std::array OtherNames{"notes.csv", "journal.csv", "summary.json", "report.html"};
constexpr std::array PictureNames{"sky", "scatter", "position", "tests", "reliability", "dop", "satellites", "notes"};

// Of a GPS calendar's time.
std::string PrintStart(const Corvane::TimeDate& time) {
    return PrintUTC(GNSS::GPSTime(time));
}

// A picture as the bytes of a file; empty, with the reason, when it cannot be made.
template <class Draw>
std::string Render(PictureKind kind, Corvane::Size size, const Draw& draw, std::string& failure) {
    std::string bytes;
    failure = CairoDC::Check(kind, size, kind == PictureKind::Png ? 2 : 1);
    if (!failure.empty()) return bytes;
    const std::unique_ptr<CairoDC> dc = CairoDC::Make(kind, size, kind == PictureKind::Png ? 2 : 1);
    if (!dc) {
        failure = "not enough memory for a picture";
        return bytes;
    }
    draw(*dc);
    if (!dc->Encode(bytes, failure)) bytes.clear();
    return bytes;
}

}  // namespace

std::vector<std::string> RunFolderOutput::FileNames() {
    std::vector<std::string> names(TableNames.begin(), TableNames.end());
    names.insert(names.end(), OtherNames.begin(), OtherNames.end());
    for (const std::string name : PictureNames) {
        names.push_back(name + ".svg");
        names.push_back(name + ".png");
    }
    return names;
}

RunFolderOutput::RunFolderOutput(RunFolderOptions options, const RunSummary& summary)
    : options_(std::move(options)), summary_(summary) {
    failure_ = folder_.Open(options_.folder, options_.overwrite, FileNames());
    if (!failure_.empty()) return;
    const auto open = [this](Table table, std::optional<Form> form, std::vector<Column> columns) {
        sinks_[table] = std::make_unique<Sink>(folder_.PathOf(TableNames[table]));
        if (form) writers_[table] = RowWriter::Make(*form, std::move(columns), *sinks_[table]);
    };
    open(PositionsCsv, Form::Csv, FixRow::Columns());
    open(PositionsNdjson, Form::Ndjson, FixRow::Columns());
    if (options_.satellites) open(Satellites, Form::Csv, SatelliteRow::Columns());
    open(EventsLog, std::nullopt, {});
}

RunFolderOutput::~RunFolderOutput() {
    CloseTables();
}

void RunFolderOutput::Fail(const std::string& failure) {
    if (failure_.empty() && !failure.empty()) failure_ = folder_.Explain(failure);
}

void RunFolderOutput::CloseTables() {
    for (std::size_t i = 0; i < NmrTables; ++i) {
        writers_[i].reset();
        if (sinks_[i]) Fail(sinks_[i]->Close());
        sinks_[i].reset();
    }
}

bool RunFolderOutput::IsGood() const {
    for (const std::unique_ptr<Sink>& sink : sinks_) {
        if (sink && !sink->IsGood()) return false;
    }
    return failure_.empty() && !(options_.isStopped && options_.isStopped());
}

void RunFolderOutput::OnFix(const PublishedFix& fix) {
    if (!folder_.IsOpen()) return;
    const std::span<const Cell> cells = fixRow_.Fill(fix, FiguresOf(fix.result));
    writers_[PositionsCsv]->Write(cells);
    writers_[PositionsNdjson]->Write(cells);
    if (writers_[Satellites]) {
        for (const FixSatellite& satellite : fix.result.satellites)
            writers_[Satellites]->Write(satelliteRow_.Fill(fix.result, satellite));
    }
    if (!fix.result.valid) return;
    const auto distance = [this](const GNSS::GPSTime& time) { return std::abs((time - *options_.skyTime).Seconds()); };
    if (skyTime_ && options_.skyTime && distance(fix.result.time) >= distance(*skyTime_)) return;
    skyTime_ = fix.result.time;
    sky_ = fix.result.constellation;
    skyDop_ = fix.result.dop;
}

void RunFolderOutput::OnEvent(const RunEvent& event) {
    if (!folder_.IsOpen()) return;
    journal_.Add(event);
    const std::string source = CleanText(event.source);
    const std::string text = CleanText(event.text);
    const std::string utc = event.time ? PrintUTC(*event.time) : std::string();
    sinks_[EventsLog]->Write(fmt::format("{:<24}  {}: {}\n", event.time ? utc : "-", source, text));
}

// A file that is written at once.
void RunFolderOutput::WriteFile(const std::string& name, std::string_view bytes) {
    Sink sink(folder_.PathOf(name));
    sink.Write(bytes);
    Fail(sink.Close());
}

void RunFolderOutput::WriteJournal() {
    Sink sink(folder_.PathOf(OtherNames[1]));
    Host::WriteJournal(journal_.Collect(summary_.GetSeries()), sink);
    Fail(sink.Close());
}

void RunFolderOutput::WriteNotes() {
    Sink sink(folder_.PathOf(OtherNames[0]));
    const auto notes = RowWriter::Make(Form::Csv,
                                       {{"note", "", 6, 0, false},
                                        {"satellite", "", 6, 0, true},
                                        {"alarm", "", 6, 0, false},
                                        {"text", "", 40, 0, true},
                                        {"first_utc", "", 24, 0, true},
                                        {"last_utc", "", 24, 0, true},
                                        {"intervals", "", 6, 0, false},
                                        {"lasting", "s", 10, 3, false}},
                                       sink);
    // An interval ends with the last epoch that it holds, which counts.
    const double interval = summary_.GetSeries().GetInterval();
    const GNSS::Notes::History& history = summary_.GetSeries().GetHistory();
    for (int i = 0; i < history.NmrNote(); ++i) {
        const GNSS::Notes::History::HistoricalNote& historical = history[i];
        const GNSS::Notes::Note& note = historical.GetNote();
        const auto id = static_cast<FixNote>(note.GetId());
        const std::string satellite = note.HasParam() && id != FixNote::NoFix ? SatelliteName(note.GetParam()) : "";
        const std::string text = CellText(CleanText(note.GetText().ToUTF8()));
        double sum = 0.0;
        for (int k = 0; k < historical.NmrInterval(); ++k)
            sum += historical.GetInterval(k).GetExtent().Seconds() + interval;
        const std::string first = PrintStart(historical.GetInterval(0).GetStart());
        const std::string last = PrintStart(historical.GetLastInterval().GetEnd());
        notes->Write(std::array<Cell, 8>{std::int64_t{note.GetId()}, std::string_view(satellite), IsAlarm(id),
                                         std::string_view(text), std::string_view(first), std::string_view(last),
                                         std::int64_t{historical.NmrInterval()}, sum});
    }
    Fail(sink.Close());
}

void RunFolderOutput::WritePictures(const RunFacts& facts) {
    const RunSeries& series = summary_.GetSeries();
    const RunFigures& figures = summary_.GetFigures();
    const RunReference reference = summary_.GetReference();
    std::vector<RunPicture> pictures;
    if (figures.epochs > 0) pictures = MakeRunPictures(series, reference, figures, settings_);
    std::vector<ReportPicture> reported;
    std::string failure;
    const PictureKind kind = options_.png ? PictureKind::Png : PictureKind::Svg;
    const auto write = [&](const std::string& name, const std::string& caption, Corvane::Size size,
                           const std::function<void(Corvane::DC&, bool)>& draw) {
        std::string svg = Render(
            PictureKind::Svg, size, [&](Corvane::DC& dc) { draw(dc, false); }, failure);
        if (!failure.empty()) return Fail(name + ": " + failure);
        if (kind == PictureKind::Svg && !options_.isDark) {
            WriteFile(name + ".svg", svg);
        } else {
            const std::string bytes = Render(
                kind, size, [&](Corvane::DC& dc) { draw(dc, options_.isDark); }, failure);
            if (!failure.empty()) return Fail(name + ": " + failure);
            WriteFile(name + (kind == PictureKind::Svg ? ".svg" : ".png"), bytes);
        }
        reported.push_back({name, caption, std::move(svg)});
    };
    if (skyTime_) {
        SkyPageContent content;
        content.heading = {"Sky at " + PrintInstant(*skyTime_) + " GPS time"};
        content.constellation = sky_;
        content.dop = skyDop_;
        content.plotSize = 420;
        const auto ruler = CairoDC::Make(PictureKind::Svg, {1, 1});
        if (!ruler) return Fail("not enough memory for a picture");
        const Corvane::Size size = SkyPage(*ruler, content).GetSize();
        write("sky",
              std::string(options_.skyTime ? "The satellites at the fix next to the time asked for."
                                           : "The satellites at the last fix.") +
                  " A satellite with too weak a signal counts as below the mask, one without a usable ephemeris or "
                  "range as unhealthy, and one that a test rejected, which has a colour of its own, stands as "
                  "unhealthy in the table.",
              size, [&content](Corvane::DC& dc, bool isDark) {
                  content.isDark = isDark;
                  SkyPage(dc, content).Draw(dc);
              });
    }
    for (const RunPicture& picture : pictures)
        write(picture.name, picture.caption, picture.size,
              [&picture](Corvane::DC& dc, bool isDark) { picture.draw(dc, isDark ? Palette::Dark : Palette::Light); });
    if (failure_.empty())
        WriteFile("report.html", MakeReport(figures, series, journal_.Collect(series), facts, reported));
}

std::string RunFolderOutput::Finish(const RunFacts& facts) {
    if (!folder_.IsOpen()) return failure_;
    settings_ = facts.request.settings;
    CloseTables();
    // A run that was stopped, or whose tables could not be written, is not summed up.
    const auto isStopped = [&] { return facts.isStopped || (options_.isStopped && options_.isStopped()); };
    const std::string stopped = options_.folder + ": not made, as the run was stopped";
    if (isStopped()) Fail(stopped);
    if (!failure_.empty()) {
        folder_.Discard();
        return failure_;
    }
    WriteNotes();
    WriteJournal();
    if (failure_.empty())
        WriteFile("summary.json", MakeSummaryJson(summary_.GetFigures(), summary_.GetSeries(), facts));
    if (failure_.empty() && options_.pictures) WritePictures(facts);
    if (isStopped()) Fail(stopped);
    if (failure_.empty()) failure_ = folder_.Commit();
    folder_.Discard();
    return failure_;
}

}  // namespace Host
