// RinexEpochLine: the line that begins an epoch of a RINEX observation file.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "gnss/time/GPSTime.h"
#include "host/receiver/RinexObservationHeader.h"

namespace Host {

struct RinexEpochLine {
    // What the line announces.
    enum Flag {
        Normal = 0,
        PowerFailure = 1,  // an epoch, before which power failed
        AntennaMoves = 2,  // from here on lines of a header
        NewSite = 3,
        HeaderLines = 4,
        ExternalEvent = 5,
        CycleSlips = 6,  // slips in place of values
    };

    std::optional<GNSS::GPSTime> time;  // there in epochs; before special lines it may be left blank
    Flag flag = Normal;
    std::size_t nmr = 0;                // satellites, or special lines
    std::optional<double> clockOffset;  // of the receiver, s

    [[nodiscard]] bool IsEpoch() const { return flag == Normal || flag == PowerFailure; }
    [[nodiscard]] bool HasSatellites() const { return IsEpoch() || flag == CycleSlips; }
};

struct RinexSatellite {
    char system = 'G';
    int number = 0;
};

// Satellites on an epoch's line and each of its continuations, version 2.
inline constexpr std::size_t RinexSatellitesInLine2 = 12;

// Nothing when the line is not such a line, to the column. Two-digit years are 1980 to 2079. The time may be GPSTime's
// second week at the earliest.
[[nodiscard]] std::optional<RinexEpochLine> ReadRinexEpochLine(std::string_view line,
                                                               const RinexObservationHeader& header);

// A letter and two columns of a number: "G05", "G 5"; without a letter it is of the system given. Nothing for anything
// else.
[[nodiscard]] std::optional<RinexSatellite> ReadRinexSatellite(std::string_view text, char defaultSystem);

}  // namespace Host
