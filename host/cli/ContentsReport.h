// ContentsReport: what gnss decode writes of a log.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/cli/RowTable.h"
#include "host/cli/StreamContents.h"
#include "host/receiver/StreamDecoder.h"
#include "host/report/RecordFields.h"
#include "host/report/Rows.h"
#include "host/report/Sink.h"

namespace Host {

// Writes records as they come: in NDJSON each as one object, else each value as a row of its own.
class RecordRows {
public:
    // The sink must outlive this.
    RecordRows(std::string file, Form form, Sink& sink) : file_(std::move(file)), form_(form), sink_(sink) {}

    void Write(const RecordFields& record);

private:
    void WriteObject(const RecordFields& record, const std::string& time);
    void WriteLines(const RecordFields& record, const std::string& time);

    std::string file_;
    Form form_;
    Sink& sink_;
    std::map<std::string, std::unique_ptr<RowTable>> rows_;  // by kind
};

// What was counted. The format in words; the decoder is null for what is no stream of messages, which then has only its
// size in bytes.
struct LogReport {
    const std::string& file;
    const char* format;
    std::int64_t bytes;
    const StreamDecoder* decoder;
    const StreamContents& contents;
};
void WriteReport(const LogReport& report, Form form, Sink& sink);

}  // namespace Host
