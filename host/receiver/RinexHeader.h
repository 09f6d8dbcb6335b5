// RinexHeader: the lines of a RINEX navigation file before its records. For RinexNavigation; how a header begins also
// for observations.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "host/receiver/FileReport.h"
#include "host/receiver/RinexNavigation.h"
#include "host/receiver/TextField.h"

namespace Host {

// What the header says of the records behind it, and the parameters that wait for a date.
struct RinexHeader {
    int version = 0;    // times 100
    char system = ' ';  // of all records in version 2: G or R

    std::optional<std::array<double, 4>> alpha;
    std::optional<std::array<double, 4>> beta;
    struct UTC {
        double A0 = 0.0;
        double A1 = 0.0;
        int tot = 0;
        int week = 0;
        std::int64_t line = 0;
    };
    std::optional<UTC> utc;
};

// Whether a header begins with that line.
[[nodiscard]] bool BeginsRinexHeader(std::string_view line);

// Reads from the first line of a header to behind its last. False when the file is not for this reader or the header
// has no end. Lines that say nothing to this reader are passed over, numbers that are none are ignored with a warning.
// Of lines that come twice the last one holds.
[[nodiscard]] bool ReadRinexHeader(LineReader& lines, RinexHeader& header, RinexNavigation& out, FileError& error);

// Makes the ionosphere and UTC records, once the records are there that date them.
void DateRinexHeader(const RinexHeader& header, RinexNavigation& out);

}  // namespace Host
