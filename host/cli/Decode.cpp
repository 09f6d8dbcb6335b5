// gnss decode: what a receiver's log holds.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/cli/Commands.h"
#include "host/cli/ContentsReport.h"
#include "host/cli/Inputs.h"
#include "host/cli/LeapRule.h"
#include "host/cli/Progress.h"
#include "host/cli/StreamContents.h"
#include "host/cli/TimeText.h"
#include "host/receiver/FileText.h"
#include "host/receiver/Inflate.h"
#include "host/receiver/RinexNavigation.h"
#include "host/receiver/StreamFormat.h"

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

    // Takes the format found in the beginning of the bytes. False, with the reason on standard error, when it is none
    // that comes as a stream.
    [[nodiscard]] bool Begin(const DetectedFormat& detected, bool isEmpty) {
        format_ = detected.format;
        decoder_ = MakeDecoder(format_, contents_);
        if (decoder_) {
            if (request_.date) decoder_->SetApproximateTime(*request_.date);
            return true;
        }
        if (isEmpty) {
            Complain(file_ + ": is empty");
        } else if (format_ == StreamFormat::Unknown) {
            Complain(file_ + ": no messages of UBX, NovAtel OEM or RTCM 3 in its beginning");
        } else if (format_ == StreamFormat::Sp3) {
            Complain(file_ + ": an SP3 file; gnss compare reads it");
        } else {
            Complain(fmt::format("{}: a {} file, which gnss decode does not read", file_, Name(format_)));
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
        if (const auto& jump = contents_.GetJump()) {
            Complain(fmt::format("{}: its time jumps from {} to {}{}", file_, PrintTime(jump->first),
                                 PrintTime(jump->second), request_.date ? "; is --date right?" : ""));
        }
        WriteReport({file_, Name(format_), decoder_->GetCounts().bytes, decoder_.get(), contents_}, request_.form,
                    sink_);
    }

    // The records of a RINEX navigation file, each of them once.
    [[nodiscard]] bool TakeNavigation(std::string_view text) {
        RinexNavigation navigation;
        FileError error;
        const bool isRead = navigation.Parse(text, file_, error);
        Complain(navigation.warnings, true);
        if (!isRead) return Complain(error.Print()), false;
        const auto take = [this](const auto& record, const auto&... channel) {
            auto ephemeride = record.ephemeride;
            if (record.transmission) ephemeride.reference = *record.transmission;
            contents_.TakeTime(ephemeride.reference);
            contents_.OnRecord(ephemeride, channel...);
        };
        for (const auto& record : navigation.gps) take(record);
        for (const auto& record : navigation.glonass) take(record, record.channel);
        if (navigation.iono && navigation.iono->IsValid()) contents_.OnRecord(*navigation.iono);
        if (navigation.utc && navigation.utc->IsValid()) contents_.OnRecord(*navigation.utc);
        WriteReport(
            {file_, Name(StreamFormat::RinexNavigation), static_cast<std::int64_t>(text.size()), nullptr, contents_},
            request_.form, sink_);
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

bool DecodeText(std::string_view text, Log& log) {
    const DetectedFormat detected = DetectFormat(text.substr(0, DetectionSize));
    if (detected.format == StreamFormat::RinexNavigation) return log.TakeNavigation(text);
    if (!log.Begin(detected, text.empty())) return false;
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

bool DecodeWhole(const std::string& input, Log& log) {
    if (!IsGzip(input)) return DecodeText(input, log);
    const Inflated content = Inflate(input, FileText::MaxInflated);
    if (content.state != Inflated::State::Whole && content.state != Inflated::State::Cut)
        return Complain("standard input: its compressed data are damaged or too large"), false;
    if (content.state == Inflated::State::Cut) Complain("standard input: its compressed data end early");
    return DecodeText({content.bytes.get(), content.size}, log);
}

// What gzip has compressed and the text of a file are read to their end first, everything else is decoded as it comes.
bool DecodeStandardInput(Log& log) {
    constexpr std::int64_t Enough = 3;  // messages to know a protocol by
    std::string beginning;
    std::string piece;
    std::size_t nextLook = 1024;
    for (bool isFile = false;;) {
        if (!ReadPiece(piece)) return false;
        beginning += piece;
        isFile = isFile || IsGzip(beginning);
        if (isFile && piece.empty()) return DecodeWhole(beginning, log);
        if (isFile && beginning.size() > FileText::MaxInflated) return Complain("standard input: too large"), false;
        const bool isAll = piece.empty() || beginning.size() >= DetectionSize;
        if (isFile || (!isAll && beginning.size() < nextLook)) continue;
        nextLook = 2 * beginning.size();
        const DetectedFormat detected = DetectFormat(beginning);
        isFile = detected.format == StreamFormat::RinexNavigation;
        if (isFile && piece.empty()) return DecodeWhole(beginning, log);
        if (isFile || (!isAll && detected.messages < Enough)) continue;
        if (!log.Begin(detected, beginning.empty())) return false;
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
    CLI::App* command =
        program.add_subcommand("decode", "what receivers' logs hold: UBX, NovAtel OEM, RTCM 3; RINEX navigation files");
    command->add_option("FILE", options->files, "logs, plain or gzip; - is standard input")->required();
    command->add_flag("--records", options->records, "every navigation record too, with names and units");
    const CLI::Option* date = command->add_option(
        "--date", options->date, "about when it was, to half a week: for streams that tell no week (RTCM 3)");
    command->add_option("--form", options->form, "table, csv or ndjson")->capture_default_str();
    command->add_option("--output", options->output, "file instead of standard output");
    command->footer(
        "The table tells of a log how its time runs, which messages it holds, what was heard of each satellite, and "
        "how\n"
        "many navigation records that makes: all, and without those that were sent again (same satellite, reference\n"
        "time and issue). A RINEX navigation file is read as well.\n"
        "In csv and ndjson: skipped bytes belong to no message; refused messages have a good checksum but say what\n"
        "cannot be; undated epochs and undatable records were given up before the stream told its date, waiting\n"
        "records are those still without one at the end; bad words fail the parity of the satellite's message; bad\n"
        "records are made of parts that do not belong together.");
    command->callback([=, &exitCode] {
        options->hasDate = date->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
