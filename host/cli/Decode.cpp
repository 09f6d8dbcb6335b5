// gnss decode: what a receiver's log holds.
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "host/cli/Commands.h"
#include "host/cli/ContentsReport.h"
#include "host/cli/Inputs.h"
#include "host/cli/LogFile.h"
#include "host/cli/StreamContents.h"
#include "host/receiver/LeapRule.h"
#include "host/receiver/RinexNavigation.h"
#include "host/receiver/StreamFormat.h"
#include "host/text/TimeText.h"

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

    [[nodiscard]] bool Begin(const DetectedFormat& detected, bool isEmpty) override {
        format_ = detected.format;
        decoder_ = MakeDecoder(format_, contents_);
        if (decoder_) {
            if (request_.date) decoder_->SetApproximateTime(*request_.date);
            return true;
        }
        Complain(file_ + DescribeUnread(format_, isEmpty, "decode"));
        return false;
    }
    void Feed(std::string_view bytes) override { decoder_->Feed(bytes); }
    void End() override {
        decoder_->Finish();
        RecordMaker& maker = contents_.Maker();
        // A stream that has told no time is dated as a whole.
        if (!maker.GetClock().GetTime() && request_.date && maker.GetNmrWaiting() > 0) maker.OnTime(*request_.date);
        if (!maker.GetClock().GetTime() && !contents_.GetFirst())
            Complain(file_ + ": tells no time by which it could be dated; --date helps where it tells a part");
        if (const auto& jump = contents_.GetJump()) {
            Complain(fmt::format("{}: its time jumps from {} to {}{}", file_, PrintTime(jump->first),
                                 PrintTime(jump->second), request_.date ? "; is --date right?" : ""));
        }
        WriteReport({file_, Name(format_), decoder_->GetCounts().bytes, decoder_.get(), contents_}, request_.form,
                    sink_);
    }

    // The records of a RINEX navigation file, each of them once.
    [[nodiscard]] bool TakeNavigation(std::string_view text) override {
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
        "records are made of parts that do not belong together, contradict the stream's time or say what cannot be;\n"
        "messages of other stations (RTCM 3) are left out.");
    command->callback([=, &exitCode] {
        options->hasDate = date->count() > 0;
        exitCode = Run(*options);
    });
}

}  // namespace Host
