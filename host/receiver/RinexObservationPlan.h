// RinexObservationPlan: which columns of a RINEX observation file make which record of a measurement set.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/receiver/RinexObservationHeader.h"

namespace Host {

// What the records C/A, L1 and L2 of a satellite are made of. A record is of one signal: its range, phase, Doppler and
// SNR have the same code. Where a file has several codes that make one record, that one is taken of each satellite at
// each epoch which comes first in its row and has a range, or else any value.
//
// Version 3. Phase, Doppler and SNR have the range's band and code (C1C L1C D1C S1C).
struct RinexSignal3 {
    char system;
    std::uint8_t ident;  // 1 C/A, 2 L1, 3 L2
    char band;
    const char* codes;  // the best first
};
inline constexpr std::array<RinexSignal3, 6> RinexSignals3{{
    {'G', 1, '1', "C"},
    {'G', 2, '1', "PWYN"},       // P(Y): as it is, tracked without its code (Z), with it (Y), codeless (phase alone)
    {'G', 3, '2', "PWYDLXSCN"},  // P(Y) before L2C: the broadcast clock is that of P(Y)
    {'R', 1, '1', "C"},
    {'R', 2, '1', "P"},
    {'R', 3, '2', "PC"},
}};

// Version 2, whose L1, D1 and S1 do not say of which code they are: of C1 in a file that has it, and else of P1. L2, D2
// and S2 are of P2 and C2 alike, which make one record. The rows of one record stand with the best first.
struct RinexSignal2 {
    char system;
    std::uint8_t ident;
    const char* range;
    const char* others;  // what stands behind L, D and S
};
inline constexpr std::array<RinexSignal2, 12> RinexSignals2{{
    {'G', 1, "C1", "1"},
    {'G', 1, "CA", "A"},  // 2.12, as the next ones with letters
    {'G', 2, "P1", "1"},
    {'G', 3, "P2", "2"},
    {'G', 3, "C2", "2"},
    {'G', 3, "CC", "C"},
    {'R', 1, "C1", "1"},
    {'R', 1, "CA", "A"},
    {'R', 2, "P1", "1"},
    {'R', 3, "P2", "2"},
    {'R', 3, "C2", "2"},
    {'R', 3, "CD", "D"},
}};

// Where the values stand in a satellite's line. In version 2, where they go over several lines of 80 columns, these are
// put together.
class RinexObservationPlan {
public:
    struct Column {
        bool isThere = false;
        std::size_t first = 0;    // column, from 0
        double divisor = 1000.0;  // of the digits without their point
    };
    struct Signal {
        Column range, phase, doppler, snr;
        char code = ' ';  // tells phases that do not go on in each other
    };
    struct System {
        std::array<std::vector<Signal>, 3> records;  // by ident less 1, the best first
        std::size_t nmrTypes = 0;
        // A line of that length has all that is read of it.
        std::size_t wholeLength = 0;
    };

    static constexpr std::size_t NumberWidth = 14;
    static constexpr std::size_t LineWidth2 = 80;
    static constexpr std::size_t TypesInLine2 = 5;

    RinexObservationPlan() = default;
    explicit RinexObservationPlan(const RinexObservationHeader& header);

    [[nodiscard]] const System& GPS() const { return gps_; }
    [[nodiscard]] const System& Glonass() const { return glonass_; }
    // Lines for each satellite.
    [[nodiscard]] std::size_t GetNmrLines() const { return nmrLines_; }

private:
    System gps_;
    System glonass_;
    std::size_t nmrLines_ = 1;
};

}  // namespace Host
