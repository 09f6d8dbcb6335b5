// RinexObservationHeader: what the lines before a RINEX observation file's epochs say, and those among them.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/time/GlonassSlot.h"
#include "host/receiver/FileReport.h"

namespace Host {

struct RinexObservationHeader {
    // What the epochs are dated in. Files dated in Galileo's or QZSS's time are taken as GPS's, which they follow.
    enum class TimeSystem : std::uint8_t {
        GPS,
        UTC,     // what the format calls GLO
        BeiDou,  // 14 s behind GPS
    };
    // A number that the values are to be divided by.
    struct Scale {
        char system = 'G';
        int factor = 1;                  // 1, 10, 100 or 1000
        std::vector<std::string> types;  // none for all of the system
    };
    // What is to be added to a GLONASS phase to align it with its code (GLONASS COD/PHS/BIS). Kept, not applied.
    struct PhaseBias {
        std::string code;     // "C1C"
        double metres = 0.0;  // 0 also where the header says that it does not know
    };

    int version = 0;    // times 100
    char system = ' ';  // of the whole file: G, R, M for several; blank in version 2 is GPS
    std::string markerName, markerNumber;
    std::string receiverNumber, receiverType, receiverVersion;
    std::string antennaNumber, antennaType;
    std::optional<GNSS::ECEF> marker;  // approximate, m, in whatever frame the file has it; none where it says 0, 0, 0
    // From the marker to the antenna reference point, m.
    double antennaHeight = 0.0, antennaEast = 0.0, antennaNorth = 0.0;
    std::optional<double> interval;                  // s
    std::map<char, std::vector<std::string>> types;  // by the system's letter; in version 2 one list for all, under ' '
    std::vector<Scale> scales;
    std::array<std::optional<int>, GNSS::Glonass::Slot::Max + 1> channels{};  // frequency channels by slot
    std::vector<PhaseBias> phaseBiases;
    std::optional<int> leapSeconds;  // GPS minus UTC, s
    std::optional<TimeSystem> timeSystem;
    std::string snrUnit;                // "DBHZ"; blank where it is not told
    bool isClockOffsetApplied = false;  // the receiver's clock offset is taken off time, range and phase

    // The time system as told, or else the file's own: UTC in a file of GLONASS alone.
    [[nodiscard]] TimeSystem GetTimeSystem() const;
    // The antenna reference point; nothing without a marker.
    [[nodiscard]] std::optional<GNSS::ECEF> GetAntenna() const;
    // The system that a satellite without a letter is of.
    [[nodiscard]] char GetDefaultSystem() const { return system == ' ' || system == 'M' ? 'G' : system; }
};

// Takes a header line by line. SYS / PHASE SHIFT (the phases are as the file has them), PRN / # OF OBS, WAVELENGTH FACT
// and what else says nothing here are passed over. Numbers that are none leave things as they were, with a warning.
class RinexObservationHeaderReader {
public:
    // Both must outlive the reader.
    RinexObservationHeaderReader(RinexObservationHeader& header, Warnings& warnings)
        : header_(header), warnings_(warnings) {}

    // The first line of a file; what an earlier file said is forgotten. False with the reason when it is not the
    // beginning of an observation file of versions 2.00 to 2.12 or 3.00 to 3.05.
    [[nodiscard]] bool Begin(std::string_view line, std::string& reason);
    // A further line, also one of those among the epochs. Of lines that come twice the last one holds.
    void Take(std::string_view line, std::int64_t number);
    // The end of the header, or of the lines among the epochs: no line continues another any more.
    void End();

    [[nodiscard]] static bool IsEnd(std::string_view line);

private:
    struct List {
        std::vector<std::string>* types = nullptr;
        bool isScale = false;
        std::size_t missing = 0;
    };

    // Where the types stand in a line.
    struct Layout {
        std::size_t first, step, width, most;
    };

    // Each takes a line of some labels. False when it is not readable, nothing when its label is another.
    [[nodiscard]] std::optional<bool> TakeText(std::string_view label, std::string_view line);
    [[nodiscard]] std::optional<bool> TakeNumbers(std::string_view label, std::string_view line);
    [[nodiscard]] std::optional<bool> TakePlace(std::string_view label, std::string_view line);
    [[nodiscard]] std::optional<bool> TakeGlonass(std::string_view label, std::string_view line);
    [[nodiscard]] std::optional<bool> TakeList(std::string_view label, std::string_view line);
    [[nodiscard]] bool TakeScale(std::string_view line);
    void TakeTypes(std::string_view line, const Layout& layout);

    RinexObservationHeader& header_;
    Warnings& warnings_;
    std::int64_t line_ = 0;  // number of the current one
    List list_;              // that the next continuation line goes on with
};

}  // namespace Host
