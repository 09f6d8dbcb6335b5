#include "host/cli/LogFile.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/cli/Inputs.h"
#include "host/cli/Progress.h"
#include "host/source/Input.h"

namespace Host {

bool ReadLog(const std::string& path, LogReader& reader) {
    InputBytes bytes;
    FileError error;
    if (!bytes.Open(path, error)) return Complain(error.Print()), false;
    std::string beginning;
    const DetectedFormat detected = FindFormat(bytes, beginning);
    bool isRead = true;
    if (detected.format == StreamFormat::RinexNavigation) {
        while (beginning.size() <= Input::MaxText) {
            const std::string_view piece = bytes.Next();
            if (piece.empty()) break;
            beginning += piece;
        }
        if (beginning.size() > Input::MaxText) return Complain(error.file + ": too large"), false;
        isRead = reader.TakeNavigation(beginning);
    } else {
        // Nothing could be read of damaged data: that is what is wrong.
        if (beginning.empty() && !bytes.GetFailure().empty()) {
            return Complain(error.file + ": " + bytes.GetFailure()), false;
        }
        if (!reader.Begin(detected, beginning.empty())) return false;
        Progress progress("bytes", bytes.GetSize());
        for (std::string_view piece = beginning; !piece.empty(); piece = bytes.Next()) {
            reader.Feed(piece);
            progress.SetDone(bytes.GetNmrRead());
        }
        reader.End();
    }
    if (bytes.IsCut()) Complain(error.file + ": the compressed data end early; what could be read of them is used");
    if (bytes.GetFailure().empty()) return isRead;
    return Complain(error.file + ": " + bytes.GetFailure() + "; what could be read before is used"), false;
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
