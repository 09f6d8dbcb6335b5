// Logs on the command line: files, plain or gzip, and standard input, in pieces.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/receiver/StreamFormat.h"

namespace Host {

// Standard input among the files of a command line.
inline constexpr const char* StandardInput = "-";

// Who reads a log. What stops it says the reason on standard error.
class LogReader {
public:
    LogReader() = default;
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;
    virtual ~LogReader() = default;

    // The format that the beginning of the bytes is in, which come next; false when it cannot be read.
    [[nodiscard]] virtual bool Begin(const DetectedFormat& detected) = 0;
    virtual void Feed(std::string_view bytes) = 0;
    // After the last bytes; false when they make nothing.
    [[nodiscard]] virtual bool End() = 0;
};

// Reads a log from its beginning to its end. What gzip has compressed is inflated as a whole, everything else comes as
// it is read. False, with the reason on standard error, when it cannot be opened or read, or the reader stops.
[[nodiscard]] bool ReadLog(const std::string& path, LogReader& reader);

// Whether standard input is among the files at most once; otherwise there is a line on standard error.
[[nodiscard]] bool IsReadOnce(const std::vector<std::string>& paths);

// "log.gps: no messages of UBX, NovAtel OEM or RTCM 3 in its beginning", or what else the file is instead.
[[nodiscard]] std::string DescribeNoStream(const std::string& file, StreamFormat format);

}  // namespace Host
