// Sp3Parser: one SP3 text from its header to its end. For Sp3 only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/receiver/Sp3.h"
#include "host/receiver/TextField.h"

namespace Host {

class Sp3Parser {
public:
    Sp3Parser(std::string_view text, Sp3& out) : lines_(text), out_(out) {}
    bool Parse(FileError& error);

private:
    struct Satellite {
        char system = ' ';
        int number = 0;
    };

    bool ReadFirstLine(FileError& error);
    bool ReadHeader(FileError& error);
    bool ReadTimeScale(FileError& error);
    void CountSatellites();
    void ReadEpochs();
    void BeginEpoch();
    void ReadPosition();
    void ReadVelocity();

    // The satellite of a position or velocity line that is to be read; nothing, with the line counted or refused, for
    // one that is not.
    std::optional<Satellite> SatelliteToRead();
    // Its four numbers; false, with the line refused, when one is none. A clock may be absent.
    bool ReadNumbers(double (&xyz)[3], Real& clock);
    void Refuse(const std::string& why);
    void Warn(const std::string& what) { out_.warnings.Add(lines_.Number(), what); }

    LineReader lines_;
    Sp3& out_;
    int nmrAnnounced_ = 0;
    int nmrSatellites_ = -1;  // that the header still has to name; -1 before it tells how many
    double toGPS_ = 0.0;      // seconds from the file's scale to GPS time
    bool isUTC_ = false;      // and the leap seconds besides
    bool isInEpoch_ = false;  // behind an epoch line that was kept
    bool isLastPositionKept_ = false;
};

}  // namespace Host
