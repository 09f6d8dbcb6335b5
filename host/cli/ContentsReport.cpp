#include "host/cli/ContentsReport.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "host/text/Satellites.h"
#include "host/text/TimeText.h"

namespace Host {

void RecordRows::Write(const RecordFields& record) {
    const std::string time = PrintTime(record.time);
    if (form_ == Form::Ndjson) {
        WriteObject(record, time);
    } else {
        WriteLines(record, time);
    }
}

void RecordRows::WriteObject(const RecordFields& record, const std::string& time) {
    std::unique_ptr<RowTable>& rows = rows_[record.kind];
    if (!rows) {
        std::vector<Column> columns{{"record", ""}, {"time", "GPST"}, {"sat", ""}};
        for (const RecordField& field : record.fields) columns.push_back(field.column);
        rows = std::make_unique<RowTable>("record", &file_, form_, std::move(columns), sink_);
    }
    std::vector<Cell> cells{std::string_view(record.kind), std::string_view(time),
                            record.satellite.empty() ? Cell() : Cell(std::string_view(record.satellite))};
    for (const RecordField& field : record.fields) cells.push_back(field.value);
    rows->Write(cells);
}

void RecordRows::WriteLines(const RecordFields& record, const std::string& time) {
    std::unique_ptr<RowTable>& rows = rows_[""];
    if (!rows) {
        rows = std::make_unique<RowTable>("record", &file_, form_,
                                          std::vector<Column>{{"record", "", 17, 0, true},
                                                              {"time", "GPST", 23, 0, true},
                                                              {"sat", "", 3, 0, true},
                                                              {"name", "", 14, 0, true},
                                                              {"value", "", 20},
                                                              {"unit", "", 7, 0, true}},
                                          sink_);
    }
    bool isFirst = true;
    for (const RecordField& field : record.fields) {
        std::array<char, 400> text;
        Cell value = field.value;
        if (const double* number = std::get_if<double>(&value)) {
            const char* end = PrintNumber(*number, field.column.decimals, text.data());
            value = std::string_view(text.data(), static_cast<std::size_t>(end - text.data()));
        }
        // For people each record begins with what it is.
        const bool isNamed = form_ != Form::Table || isFirst;
        const auto named = [&](std::string_view name) { return isNamed ? name : std::string_view(); };
        rows->Write({named(record.kind), named(time), named(record.satellite), std::string_view(field.column.name),
                     value, std::string_view(field.column.unit)});
        isFirst = false;
    }
}

namespace {

std::string TimeOf(const std::optional<GNSS::GPSTime>& time) {
    return time ? PrintTime(*time) : "";
}

// The log in sentences. Of what can go wrong only what did.
void WriteSummary(const LogReport& report, Sink& sink) {
    const StreamCounts counts = report.decoder != nullptr ? report.decoder->GetCounts() : StreamCounts();
    const StreamContents& contents = report.contents;
    const RecordMaker& maker = contents.Maker();
    sink.Write(fmt::format("{}\n{}, {} bytes", report.file, report.format, report.bytes));
    if (report.decoder != nullptr) sink.Write(fmt::format(", {} messages", counts.GetNmrMessages()));
    sink.Write("\n");
    if (contents.GetFirst()) {
        sink.Write(fmt::format("{} to {} GPST", TimeOf(contents.GetFirst()), TimeOf(contents.GetLast())));
        if (contents.GetNmrEpochs() > 0)
            sink.Write(fmt::format(", {} epochs of measurements", contents.GetNmrEpochs()));
        sink.Write("\n");
    }
    const std::int64_t nmrUndated = report.decoder != nullptr ? report.decoder->GetNmrUndated() : 0;
    for (const auto& [nmr, what] : {
             std::pair{counts.skipped, "bytes belong to no message"},
             {counts.checksumFailures, "messages have a wrong checksum"},
             {counts.GetNmrRefused(), "messages refused: a good checksum, but contents that cannot be"},
             {nmrUndated, "epochs of measurements dropped: the stream had not told their date"},
             {report.decoder != nullptr ? report.decoder->GetNmrOfOthers() : 0,
              "messages of measurements left out: another station is followed"},
             {maker.GetNmrWaiting(), "records left out: the stream has not told their date"},
             {maker.GetNmrUndatable(), "records and strings dropped before the stream told its date"},
             {maker.GetNmrParityFailures() + maker.GetNmrHammingFailures(), "subframes and strings fail their parity"},
             {maker.GetNmrRefused(), "records refused: parts that do not belong together, or values that cannot be"},
         }) {
        if (nmr > 0) sink.Write(fmt::format("{} {}\n", nmr, what));
    }
}

void WriteLogRow(const LogReport& report, Form form, Sink& sink) {
    const StreamCounts counts = report.decoder != nullptr ? report.decoder->GetCounts() : StreamCounts();
    const StreamContents& contents = report.contents;
    const RecordMaker& maker = contents.Maker();
    const std::string first = TimeOf(contents.GetFirst());
    const std::string last = TimeOf(contents.GetLast());
    const auto time = [](const std::string& text) { return text.empty() ? Cell() : Cell(std::string_view(text)); };
    RowTable log("log", &report.file, form,
                 {{"format", ""},
                  {"bytes", ""},
                  {"skipped", ""},
                  {"bad checksums", ""},
                  {"messages", ""},
                  {"refused", ""},
                  {"from", "GPST"},
                  {"to", "GPST"},
                  {"epochs", ""},
                  {"undated epochs", ""},
                  {"waiting", ""},
                  {"undatable", ""},
                  {"bad words", ""},
                  {"bad records", ""},
                  {"other stations", ""}},
                 sink);
    log.Write({std::string_view(report.format), report.bytes, counts.skipped, counts.checksumFailures,
               counts.GetNmrMessages(), counts.GetNmrRefused(), time(first), time(last), contents.GetNmrEpochs(),
               report.decoder != nullptr ? report.decoder->GetNmrUndated() : 0, maker.GetNmrWaiting(),
               maker.GetNmrUndatable(), maker.GetNmrParityFailures() + maker.GetNmrHammingFailures(),
               maker.GetNmrRefused(), report.decoder != nullptr ? report.decoder->GetNmrOfOthers() : 0});
}

}  // namespace

void WriteReport(const LogReport& report, Form form, Sink& sink) {
    const StreamContents& contents = report.contents;
    // For people, what is empty is left out.
    const bool isTable = form == Form::Table;
    if (isTable) {
        WriteSummary(report, sink);
    } else {
        WriteLogRow(report, form, sink);
    }
    if (report.decoder != nullptr && !(isTable && report.decoder->GetCounts().kinds.empty())) {
        RowTable kinds("message", &report.file, form,
                       {{"message", "", 17, 0, true}, {"count", "", 9}, {"refused", "", 9}}, sink);
        for (const auto& [kind, count] : report.decoder->GetCounts().kinds) {
            const std::string name = report.decoder->GetKindName(kind);
            kinds.Write({std::string_view(name), count.nmr, count.refused});
        }
    }
    if (!isTable || !contents.GetSatellites().empty()) {
        RowTable satellites("satellite", &report.file, form,
                            {{"sat", "", 17, 0, true},
                             {"subframes", "", 9},
                             {"strings", "", 9},
                             {"epochs", "", 9},
                             {"ephemerides", "", 11},
                             {"almanacs", "", 9}},
                            sink);
        for (const auto& [id, seen] : contents.GetSatellites()) {
            const std::string name = PrintSatellite(id.first, id.second);
            satellites.Write(
                {std::string_view(name), seen.subframes, seen.strings, seen.epochs, seen.ephemerides, seen.almanacs});
        }
    }
    if (!isTable || !contents.GetRecords().empty()) {
        RowTable records("records", &report.file, form,
                         {{"record", "", 17, 0, true}, {"count", "", 9}, {"without repeats", "", 15}}, sink);
        for (const auto& [kind, count] : contents.GetRecords())
            records.Write({std::string_view(kind), count.nmr, count.different});
    }
    if (isTable) sink.Write("\n");
}

}  // namespace Host
