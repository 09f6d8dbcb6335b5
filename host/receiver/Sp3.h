// Sp3: the precise orbits and clocks of an SP3 file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/time/GPSTime.h"
#include "host/receiver/FileReport.h"

namespace Host {

// Reads SP3-a, SP3-c and SP3-d (positions, or positions and velocities); any other version is refused by its name.
// GPS and GLONASS satellites are kept, the others counted. A line that cannot be used is left out with a warning that
// names it; an epoch that is unreadable or not later than the one before is left out with its satellites.
//
// Epochs become GPS time. Of the other scales, those of Galileo and QZSS are taken for GPS time, which they keep within
// some tens of nanoseconds; TAI is 19 s ahead of it and BeiDou time 14 s behind; UTC and GLONASS (UTC) go by the leap
// seconds of LeapSeconds.h. Any other name is refused. Clocks are left as they are: their scale is the file's.
class Sp3 {
public:
    struct State {
        char system = 'G';  // G or R
        int number = 0;     // PRN or slot
        // Metres, earth-fixed in the file's frame, centre of mass; absent where the file says 0, 0, 0.
        std::optional<GNSS::ECEF> posn;
        std::optional<double> clock;            // s, without the periodic relativistic term; absent where 999999
        std::optional<GNSS::ECEF::Delta> vely;  // m/s in the turning frame
        std::optional<double> clockRate;        // s/s
        bool isClockEvent = false;              // a jump between the epoch before and this one
        bool isManoeuvre = false;               // of the satellite, since the epoch before
        bool isOrbitPredicted = false;
        bool isClockPredicted = false;
    };

    // False when nothing can be read: no such file, not SP3, a version or a time scale that is not read. The object is
    // then empty but for the warnings.
    [[nodiscard]] bool Read(const std::string& path, FileError& error);
    // The same for text in memory; the name is for the messages. Nothing of the text is kept.
    [[nodiscard]] bool Parse(std::string_view text, std::string_view name, FileError& error);

    [[nodiscard]] std::size_t GetNmrEpochs() const { return epochs_.size(); }
    // Rising, never equal.
    [[nodiscard]] const GNSS::GPSTime& GetTime(std::size_t epoch) const { return epochs_[epoch].time; }
    // The satellites of an epoch in the order of the file.
    [[nodiscard]] std::span<const State> GetStates(std::size_t epoch) const;
    // A satellite at an epoch; null where the file has none.
    [[nodiscard]] const State* Find(std::size_t epoch, char system, int number) const;
    // How many satellites of a system, by its letter, the header names.
    [[nodiscard]] int GetNmrSatellites(char system) const;
    // How many position lines of another system were passed over.
    [[nodiscard]] std::int64_t GetSkipped(char system) const;

    char version = ' ';  // a, c or d
    bool hasVelocities = false;
    double interval = 0.0;  // between epochs as the header tells it, s
    std::string timeScale;  // as the header names it; "GPS" where an SP3-a file names none
    std::string frame;      // "IGS05"
    std::string agency;
    Warnings warnings;
    std::int64_t nmrRefused = 0;  // position and velocity lines left out, each with a warning

private:
    friend class Sp3Parser;

    struct Epoch {
        GNSS::GPSTime time;
        std::size_t first = 0;  // of its states
    };
    std::vector<Epoch> epochs_;
    std::vector<State> states_;
    std::array<int, 26> satellites_{};
    std::array<std::int64_t, 26> skipped_{};
};

}  // namespace Host
