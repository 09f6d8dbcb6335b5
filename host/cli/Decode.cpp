// gnss decode: what a receiver's log holds.
#include <array>
#include <map>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/LeapRule.h"
#include "host/cli/LogFile.h"
#include "host/cli/RowTable.h"
#include "host/cli/Satellites.h"
#include "host/cli/StreamContents.h"
#include "host/cli/TimeText.h"
#include "host/receiver/StreamFormat.h"
#include "host/report/RecordFields.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"

namespace Host {

using GNSS::GPSTime;

namespace {

struct Options {
    std::vector<std::string> files;
    std::string date;
    std::string form = "table";
    std::string output;
    bool records = false;
    bool hasDate = false;
};

struct Request {
    std::optional<GPSTime> date;
    Form form = Form::Table;
    bool records = false;
};

// Writes records as they come: in NDJSON each as one object, else each value as a row of its own.
class RecordRows {
public:
    RecordRows(const std::string& file, Form form, Sink& sink) : file_(file), form_(form), sink_(sink) {}

    void Write(const RecordFields& record) {
        const std::string time = PrintTime(record.time);
        if (form_ == Form::Ndjson) {
            WriteObject(record, time);
        } else {
            WriteLines(record, time);
        }
    }

private:
    void WriteObject(const RecordFields& record, const std::string& time) {
        std::unique_ptr<RowTable>& rows = rows_[record.kind];
        if (!rows) {
            std::vector<Column> columns{{"record", ""}, {"time", ""}, {"sat", ""}};
            for (const RecordField& field : record.fields) columns.push_back(field.column);
            rows = std::make_unique<RowTable>("record", &file_, form_, std::move(columns), sink_);
        }
        std::vector<Cell> cells{std::string_view(record.kind), std::string_view(time),
                                record.satellite.empty() ? Cell() : Cell(std::string_view(record.satellite))};
        for (const RecordField& field : record.fields) cells.push_back(field.value);
        rows->Write(cells);
    }

    void WriteLines(const RecordFields& record, const std::string& time) {
        std::unique_ptr<RowTable>& rows = rows_[""];
        if (!rows) {
            rows = std::make_unique<RowTable>("record", &file_, form_,
                                              std::vector<Column>{{"record", "", 17},
                                                                  {"time", "", 23},
                                                                  {"sat", "", 3},
                                                                  {"name", "", 14},
                                                                  {"value", "", 20},
                                                                  {"unit", "", 7}},
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

    std::string file_;
    Form form_;
    Sink& sink_;
    std::map<std::string, std::unique_ptr<RowTable>> rows_;  // by kind
};

void WriteContents(const std::string& file, StreamFormat format, const StreamDecoder& decoder,
                   const StreamContents& contents, Form form, Sink& sink) {
    const StreamCounts& counts = decoder.GetCounts();
    const RecordMaker& maker = contents.Maker();
    if (form == Form::Table) sink.Write(file + "\n");

    const std::string first = contents.GetFirst() ? PrintTime(*contents.GetFirst()) : "";
    const std::string last = contents.GetLast() ? PrintTime(*contents.GetLast()) : "";
    const auto time = [](const std::string& text) { return text.empty() ? Cell() : Cell(std::string_view(text)); };
    RowTable log("log", &file, form,
                 {{"format", "", 11},
                  {"bytes", "", 10},
                  {"skipped", "", 8},
                  {"bad checksums", "", 13},
                  {"messages", "", 8},
                  {"refused", "", 7},
                  {"from", "GPST", 23},
                  {"to", "GPST", 23},
                  {"epochs", "", 7},
                  {"waiting", "", 7},
                  {"undatable", "", 9},
                  {"bad words", "", 9},
                  {"bad records", "", 11}},
                 sink);
    log.Write({std::string_view(Name(format)), counts.bytes, counts.skipped, counts.checksumFailures,
               counts.GetNmrMessages(), counts.GetNmrRefused(), time(first), time(last), contents.GetNmrEpochs(),
               maker.GetNmrWaiting(), maker.GetNmrUndatable(),
               maker.GetNmrParityFailures() + maker.GetNmrHammingFailures(), maker.GetNmrRefused()});

    RowTable kinds("message", &file, form, {{"message", "", 20}, {"count", "", 8}, {"refused", "", 8}}, sink);
    for (const auto& [kind, count] : counts.kinds) {
        const std::string name = decoder.GetKindName(kind);
        kinds.Write({std::string_view(name), count.nmr, count.refused});
    }
    RowTable satellites("satellite", &file, form,
                        {{"sat", "", 20},
                         {"subframes", "", 9},
                         {"strings", "", 8},
                         {"epochs", "", 8},
                         {"ephemerides", "", 11},
                         {"almanacs", "", 8}},
                        sink);
    for (const auto& [id, seen] : contents.GetSatellites()) {
        const std::string name = PrintSatellite(id.first, id.second);
        satellites.Write(
            {std::string_view(name), seen.subframes, seen.strings, seen.epochs, seen.ephemerides, seen.almanacs});
    }
    RowTable records("records", &file, form, {{"record", "", 20}, {"count", "", 8}, {"different", "", 9}}, sink);
    for (const auto& [kind, count] : contents.GetRecords())
        records.Write({std::string_view(kind), count.nmr, count.different});
    if (form == Form::Table) sink.Write("\n");
}

// One log from its beginning to its end.
class Log : public LogReader {
public:
    Log(std::string file, const Request& request, LeapRule& leaps, Sink& sink)
        : file_(std::move(file)),
          request_(request),
          sink_(sink),
          rows_(file_, request.form, sink),
          contents_(leaps, request.records ? [this](const RecordFields& r) { rows_.Write(r); }
                                           : StreamContents::TakeRecord()) {}

    // Finds the format in the beginning of the bytes. False, with the reason on standard error, when none is found.
    [[nodiscard]] bool Begin(const DetectedFormat& detected) override {
        format_ = detected.format;
        decoder_ = MakeDecoder(format_, contents_);
        if (decoder_) {
            if (request_.date) decoder_->SetApproximateTime(*request_.date);
            return true;
        }
        Complain(format_ == StreamFormat::RinexNavigation
                     ? file_ + ": a RINEX navigation file; gnss orbit, gnss compare and gnss store read it"
                     : DescribeNoStream(file_, format_));
        return false;
    }
    void Feed(std::string_view bytes) override { decoder_->Feed(bytes); }
    [[nodiscard]] bool End() override {
        decoder_->Finish();
        RecordMaker& maker = contents_.Maker();
        // A stream that has told no time is dated as a whole.
        if (!maker.GetClock().GetTime() && request_.date && maker.GetNmrWaiting() > 0) maker.OnTime(*request_.date);
        if (!maker.GetClock().GetTime())
            Complain(file_ + ": tells no time by which it could be dated; --date helps where it tells a part");
        WriteContents(file_, format_, *decoder_, contents_, request_.form, sink_);
        return true;
    }

private:
    std::string file_;
    const Request& request_;
    Sink& sink_;
    RecordRows rows_;
    StreamContents contents_;
    StreamFormat format_ = StreamFormat::Unknown;
    std::unique_ptr<StreamDecoder> decoder_;
};

int Run(const Options& options) {
    Request request;
    request.records = options.records;
    if (!ParseForm(options.form, request.form)) return Complain("--form is table, csv or ndjson"), 2;
    if (options.hasDate) {
        request.date = ParseTime(options.date);
        if (!request.date) return Complain("--date: " + Quoted(options.date) + " is not a time"), 2;
    }
    if (!IsReadOnce(options.files)) return 2;

    Sink sink(options.output);
    bool isDecoded = true;
    for (const std::string& path : options.files) {
        if (!sink.IsGood()) break;
        // Each log has its own leap seconds.
        LeapRule leaps;
        Log log(path, request, leaps, sink);
        isDecoded = ReadLog(path, log) && isDecoded;
    }
    const std::string failure = sink.Close();
    if (!failure.empty()) return Complain(failure), 1;
    return isDecoded ? 0 : 1;
}

}  // namespace

void AddDecodeCommand(CLI::App& program, int& exitCode) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand("decode", "what receivers' logs hold: UBX, NovAtel OEM, RTCM 3");
    command->add_option("FILE", options->files, "logs, plain or gzip; - is standard input")->required();
    command->add_flag("--records", options->records, "every navigation record too, with names and units");
    const CLI::Option* date = command->add_option(
        "--date", options->date, "about when it was, to half a week: for streams that tell no week (RTCM 3)");
    command->add_option("--form", options->form, "table, csv or ndjson")->capture_default_str();
    command->add_option("--output", options->output, "file instead of standard output");
    command->footer(
        "Skipped bytes belong to no message. Refused messages have a good checksum but say what cannot be. Waiting "
        "are\n"
        "records whose date is not known at the end, undatable those given up before; bad words fail the parity of "
        "the\n"
        "satellite's message, bad records are made of parts that do not belong together. Different are records by\n"
        "satellite, reference time and issue; the others are the same sent again.");
    command->callback([=, &exitCode] {
        options->hasDate = date->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
