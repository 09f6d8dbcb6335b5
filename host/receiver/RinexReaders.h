// The readers of single GPS and GLONASS records of RINEX navigation files. For RinexNavigation only.
#pragma once

#include <array>

#include "gnss/platform/TimeDate.h"
#include "host/receiver/RinexNavigation.h"
#include "host/receiver/RinexRecord.h"

namespace Host {

// What the last record of each satellite was, to know its repeats.
template <std::size_t NmrNumbers, int MaxSatellite>
class RinexHistory {
public:
    // Whether a record equals the satellite's last one. It becomes the last one.
    bool IsRepeat(int satellite, const Corvane::TimeDate& epoch, const RinexNumbers<NmrNumbers>& numbers) {
        Last& last = last_[static_cast<std::size_t>(satellite)];
        const bool is = last.isThere && last.epoch == epoch && AreEqual(last.numbers, numbers);
        if (!is) last = {true, epoch, numbers};
        return is;
    }

private:
    struct Last {
        bool isThere = false;
        Corvane::TimeDate epoch;
        RinexNumbers<NmrNumbers> numbers{};
    };
    std::array<Last, MaxSatellite + 1> last_;
};

// Turns one record after the other into those of the library and appends them to the navigation, or warns there.
class RinexGPSReader {
public:
    static constexpr std::size_t NmrLines = 8;
    static constexpr std::size_t NmrNumbers = 29;
    void Add(const RinexRecord& record, RinexNavigation& out);

private:
    RinexHistory<NmrNumbers, GNSS::PRN::Max> history_;
};

class RinexGlonassReader {
public:
    static constexpr std::size_t NmrLines = 4;  // and one more from 3.05 on
    static constexpr std::size_t NmrNumbers = 19;
    void Add(const RinexRecord& record, RinexNavigation& out);

private:
    RinexHistory<NmrNumbers, GNSS::Glonass::Slot::Max> history_;
};

}  // namespace Host
