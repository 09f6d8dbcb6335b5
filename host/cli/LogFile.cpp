#include "host/cli/LogFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

#include <fmt/format.h>

#include "host/cli/Inputs.h"
#include "host/cli/Progress.h"
#include "host/receiver/FileText.h"
#include "host/receiver/Inflate.h"

namespace Host {

namespace {

bool ReadText(std::string_view text, LogReader& reader) {
    const DetectedFormat detected = DetectFormat(text);
    if (detected.format == StreamFormat::RinexNavigation) return reader.TakeNavigation(text);
    if (!reader.Begin(detected, text.empty())) return false;
    constexpr std::size_t Piece = std::size_t{64} * 1024;
    Progress progress("bytes", static_cast<std::int64_t>(text.size()));
    for (std::size_t at = 0; at < text.size(); at += Piece) {
        reader.Feed(text.substr(at, Piece));
        progress.SetDone(static_cast<std::int64_t>(at));
    }
    reader.End();
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

bool ReadWhole(const std::string& input, LogReader& reader) {
    if (!IsGzip(input)) return ReadText(input, reader);
    const Inflated content = Inflate(input, FileText::MaxInflated);
    if (content.state != Inflated::State::Whole && content.state != Inflated::State::Cut)
        return Complain("standard input: its compressed data are damaged or too large"), false;
    if (content.state == Inflated::State::Cut) Complain("standard input: its compressed data end early");
    return ReadText({content.bytes.get(), content.size}, reader);
}

// What gzip has compressed and the text of a file are read to their end first, everything else comes as it is read.
bool ReadStandardInput(LogReader& reader) {
    constexpr std::int64_t Enough = 3;  // messages to know a protocol by
    std::string beginning;
    std::string piece;
    std::size_t nextLook = 1024;
    for (bool isFile = false;;) {
        if (!ReadPiece(piece)) return false;
        beginning += piece;
        isFile = isFile || IsGzip(beginning);
        if (isFile && piece.empty()) return ReadWhole(beginning, reader);
        if (isFile && beginning.size() > FileText::MaxInflated) return Complain("standard input: too large"), false;
        const bool isAll = piece.empty() || beginning.size() >= DetectionSize;
        if (isFile || (!piece.empty() && beginning.size() < nextLook)) continue;
        nextLook = 2 * beginning.size();
        const DetectedFormat detected = DetectFormat(beginning);
        isFile = detected.format == StreamFormat::RinexNavigation;
        if (isFile && piece.empty()) return ReadWhole(beginning, reader);
        if (isFile || (!isAll && detected.messages < Enough)) continue;
        const bool isNothing = detected.format == StreamFormat::Unknown;
        if (isNothing && !piece.empty() && beginning.size() < FileText::MaxInflated) continue;
        if (!reader.Begin(detected, beginning.empty())) return false;
        break;
    }
    for (reader.Feed(beginning); !piece.empty(); reader.Feed(piece)) {
        if (!ReadPiece(piece)) return false;
    }
    reader.End();
    return true;
}

}  // namespace

bool ReadLog(const std::string& path, LogReader& reader) {
    if (path == StandardInput) return ReadStandardInput(reader);
    FileText file;
    FileError error;
    if (!file.Open(path, error)) return Complain(error.Print()), false;
    Warnings warnings;
    warnings.SetFile(path);
    WarnIfCut(file, warnings);
    Complain(warnings, true);
    return ReadText(file.Text(), reader);
}

bool IsReadOnce(const std::vector<std::string>& paths) {
    if (std::ranges::count(paths, StandardInput) <= 1) return true;
    Complain("standard input can be read only once");
    return false;
}

std::string DescribeUnread(StreamFormat format, bool isEmpty, std::string_view command) {
    if (isEmpty) return ": is empty";
    if (format == StreamFormat::Unknown) return ": no messages of UBX, NovAtel OEM or RTCM 3";
    if (format == StreamFormat::Sp3) return ": an SP3 file; gnss compare reads it";
    if (format == StreamFormat::RinexCompact)
        return ": a compact (Hatanaka) RINEX file; uncompress it first, for example with CRX2RNX";
    return fmt::format(": a {} file, which gnss {} does not read", Name(format), command);
}

}  // namespace Host
