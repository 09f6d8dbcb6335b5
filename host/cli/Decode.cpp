// gnss decode: what a receiver's log holds.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/cli/Commands.h"
#include "host/cli/Inputs.h"
#include "host/cli/LeapRule.h"
#include "host/cli/Progress.h"
#include "host/cli/Satellites.h"
#include "host/cli/StreamContents.h"
#include "host/cli/TimeText.h"
#include "host/receiver/FileText.h"
#include "host/receiver/Inflate.h"
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

constexpr const char* StandardInput = "-";

// A table of the output. In the files every row says what it is and which log it is about.
class Rows {
public:
    Rows(const char* what, const std::string& file, Form form, std::vector<Column> columns, Sink& sink)
        : hasNames_(form != Form::Table) {
        if (hasNames_) {
            columns.insert(columns.begin(), {Column{"row", ""}, Column{"file", ""}});
            cells_ = {std::string_view(what), std::string_view(file)};
        } else {
            sink.Write("\n");
        }
        writer_ = RowWriter::Make(form, std::move(columns), sink);
    }

    void Write(std::initializer_list<Cell> cells) { Write(std::span(cells.begin(), cells.size())); }
    void Write(std::span<const Cell> cells) {
        cells_.resize(hasNames_ ? 2 : 0);
        cells_.insert(cells_.end(), cells.begin(), cells.end());
        writer_->Write(cells_);
    }

private:
    bool hasNames_;
    std::vector<Cell> cells_;
    std::unique_ptr<RowWriter> writer_;
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
        std::unique_ptr<Rows>& rows = rows_[record.kind];
        if (!rows) {
            std::vector<Column> columns{{"record", ""}, {"time", ""}, {"sat", ""}};
            for (const RecordField& field : record.fields) columns.push_back(field.column);
            rows = std::make_unique<Rows>("record", file_, form_, std::move(columns), sink_);
        }
        std::vector<Cell> cells{std::string_view(record.kind), std::string_view(time),
                                record.satellite.empty() ? Cell() : Cell(std::string_view(record.satellite))};
        for (const RecordField& field : record.fields) cells.push_back(field.value);
        rows->Write(cells);
    }

    void WriteLines(const RecordFields& record, const std::string& time) {
        std::unique_ptr<Rows>& rows = rows_[""];
        if (!rows) {
            rows = std::make_unique<Rows>("record", file_, form_,
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
    std::map<std::string, std::unique_ptr<Rows>> rows_;  // by kind
};

void WriteContents(const std::string& file, StreamFormat format, const StreamDecoder& decoder,
                   const StreamContents& contents, Form form, Sink& sink) {
    const StreamCounts& counts = decoder.GetCounts();
    const RecordMaker& maker = contents.Maker();
    if (form == Form::Table) sink.Write(file + "\n");

    const std::string first = contents.GetFirst() ? PrintTime(*contents.GetFirst()) : "";
    const std::string last = contents.GetLast() ? PrintTime(*contents.GetLast()) : "";
    const auto time = [](const std::string& text) { return text.empty() ? Cell() : Cell(std::string_view(text)); };
    Rows log("log", file, form,
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

    Rows kinds("message", file, form, {{"message", "", 20}, {"count", "", 8}, {"refused", "", 8}}, sink);
    for (const auto& [kind, count] : counts.kinds) {
        const std::string name = decoder.GetKindName(kind);
        kinds.Write({std::string_view(name), count.nmr, count.refused});
    }
    Rows satellites("satellite", file, form,
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
    Rows records("records", file, form, {{"record", "", 20}, {"count", "", 8}, {"different", "", 9}}, sink);
    for (const auto& [kind, count] : contents.GetRecords())
        records.Write({std::string_view(kind), count.nmr, count.different});
    if (form == Form::Table) sink.Write("\n");
}

// One log from its beginning to its end.
class Log {
public:
    Log(std::string file, const Request& request, LeapRule& leaps, Sink& sink)
        : file_(std::move(file)),
          request_(request),
          sink_(sink),
          rows_(file_, request.form, sink),
          contents_(leaps, request.records ? [this](const RecordFields& r) { rows_.Write(r); }
                                           : StreamContents::TakeRecord()) {}

    // Finds the format in the beginning of the bytes. False, with the reason on standard error, when none is found.
    [[nodiscard]] bool Begin(const DetectedFormat& detected) {
        format_ = detected.format;
        decoder_ = MakeDecoder(format_, contents_);
        if (decoder_) {
            if (request_.date) decoder_->SetApproximateTime(*request_.date);
            return true;
        }
        switch (format_) {
            case StreamFormat::Unknown:
                Complain(file_ + ": no messages of UBX, NovAtel OEM or RTCM 3 in its beginning");
                break;
            case StreamFormat::RinexNavigation:
                Complain(file_ + ": a RINEX navigation file; gnss orbit and gnss compare read it");
                break;
            default:
                Complain(fmt::format("{}: {} file, not the bytes of a receiver", file_, Name(format_)));
                break;
        }
        return false;
    }
    void Feed(std::string_view bytes) { decoder_->Feed(bytes); }
    void End() {
        decoder_->Finish();
        RecordMaker& maker = contents_.Maker();
        // A stream that has told no time is dated as a whole.
        if (!maker.GetClock().GetTime() && request_.date && maker.GetNmrWaiting() > 0) maker.OnTime(*request_.date);
        if (!maker.GetClock().GetTime())
            Complain(file_ + ": tells no time by which it could be dated; --date helps where it tells a part");
        WriteContents(file_, format_, *decoder_, contents_, request_.form, sink_);
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

bool DecodeText(std::string_view text, Log& log) {
    if (!log.Begin(DetectFormat(text.substr(0, DetectionSize)))) return false;
    constexpr std::size_t Piece = std::size_t{64} * 1024;
    Progress progress("bytes", static_cast<std::int64_t>(text.size()));
    for (std::size_t at = 0; at < text.size(); at += Piece) {
        log.Feed(text.substr(at, Piece));
        progress.SetDone(static_cast<std::int64_t>(at));
    }
    log.End();
    return true;
}

// The next bytes of standard input; false with a line on standard error when it cannot be read.
bool ReadPiece(std::string& piece) {
    piece.resize(std::size_t{64} * 1024);
    ssize_t size = -1;
    do {
        size = ::read(STDIN_FILENO, piece.data(), piece.size());
    } while (size < 0 && errno == EINTR);
    if (size < 0) {
        const char* reason = ::strerrordesc_np(errno);
        Complain(std::string("standard input: ") + (reason != nullptr ? reason : "unknown error"));
        return false;
    }
    piece.resize(static_cast<std::size_t>(size));
    return true;
}

// What gzip has compressed is inflated as a whole, everything else decoded as it comes.
bool DecodeStandardInput(Log& log) {
    constexpr std::int64_t Enough = 3;  // messages to know a protocol by
    std::string beginning;
    std::string piece;
    std::size_t nextLook = 1024;
    for (bool isPacked = false;;) {
        if (!ReadPiece(piece)) return false;
        beginning += piece;
        isPacked = isPacked || IsGzip(beginning);
        if (isPacked) {
            if (beginning.size() > FileText::MaxInflated) return Complain("standard input: too large"), false;
            if (!piece.empty()) continue;
            const Inflated content = Inflate(beginning, FileText::MaxInflated);
            if (content.state != Inflated::State::Whole && content.state != Inflated::State::Cut)
                return Complain("standard input: its compressed data are damaged or too large"), false;
            if (content.state == Inflated::State::Cut) Complain("standard input: its compressed data end early");
            return DecodeText({content.bytes.get(), content.size}, log);
        }
        const bool isAll = piece.empty() || beginning.size() >= DetectionSize;
        if (!isAll && beginning.size() < nextLook) continue;
        nextLook = 2 * beginning.size();
        const DetectedFormat detected = DetectFormat(beginning);
        if (!isAll && detected.messages < Enough) continue;
        if (!log.Begin(detected)) return false;
        break;
    }
    for (log.Feed(beginning); !piece.empty(); log.Feed(piece)) {
        if (!ReadPiece(piece)) return false;
    }
    log.End();
    return true;
}

bool DecodeFile(const std::string& path, Log& log) {
    if (path == StandardInput) return DecodeStandardInput(log);
    FileText file;
    FileError error;
    if (!file.Open(path, error)) return Complain(error.Print()), false;
    Warnings warnings;
    warnings.SetFile(path);
    WarnIfCut(file, warnings);
    Complain(warnings, true);
    return DecodeText(file.Text(), log);
}

int Run(const Options& options) {
    Request request;
    request.records = options.records;
    if (!ParseForm(options.form, request.form)) return Complain("--form is table, csv or ndjson"), 2;
    if (options.hasDate) {
        request.date = ParseTime(options.date);
        if (!request.date) return Complain("--date: " + Quoted(options.date) + " is not a time"), 2;
    }
    if (std::ranges::count(options.files, StandardInput) > 1)
        return Complain("standard input can be read only once"), 2;

    Sink sink(options.output);
    bool isDecoded = true;
    for (const std::string& path : options.files) {
        if (!sink.IsGood()) break;
        // Each log has its own leap seconds.
        LeapRule leaps;
        Log log(path, request, leaps, sink);
        isDecoded = DecodeFile(path, log) && isDecoded;
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
