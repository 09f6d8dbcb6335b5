// Logs on the command line: files, plain or gzip, and standard input, in pieces.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/receiver/StreamFormat.h"
#include "host/source/InputBytes.h"

namespace Host {

// Who reads a log.
class LogReader {
public:
    LogReader() = default;
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;
    virtual ~LogReader() = default;

    // Takes the format found in the bytes of a stream, which come next, and then their end. False, with the
    // reason on standard error, when it is none that comes as a stream.
    [[nodiscard]] virtual bool Begin(const DetectedFormat& detected, bool isEmpty) = 0;
    virtual void Feed(std::string_view bytes) = 0;
    virtual void End() = 0;
    // Takes the whole text of a RINEX navigation file instead. False, with the reason on standard error, when it cannot
    // be read.
    [[nodiscard]] virtual bool TakeNavigation(std::string_view text) = 0;
};

// Reads a log from its beginning to its end, with flat memory but for a navigation file, which is taken as a whole.
// False, with the reason on standard error, when it cannot be opened or read to its end, or the reader does not take
// it; the reader has what could be read.
[[nodiscard]] bool ReadLog(const std::string& path, LogReader& reader);

// Whether standard input is among the files at most once; otherwise there is a line on standard error.
[[nodiscard]] bool IsReadOnce(const std::vector<std::string>& paths);

// Why a command does not read a file, to stand behind the file's name: ": is empty".
[[nodiscard]] std::string DescribeUnread(StreamFormat format, bool isEmpty, std::string_view command);

}  // namespace Host
