// RinexNavigation: the broadcast records of a RINEX navigation file.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/time/GPSTime.h"
#include "host/receiver/FileReport.h"

namespace Host {

// Reads RINEX 2.00 to 2.11 (GPS and GLONASS files) and 3.00 to 3.05 (one system or mixed); any other version is refused
// by its name. GPS and GLONASS records are kept in the order of the file, unhealthy ones too; those of other systems
// are counted. A record that cannot be used (a line or a needed number is missing, is no number, or is beyond what the
// message can hold) is left out with a warning that names its line, and the next one is read.
//
// What the file leaves open, or gets wrong in a way that is common, is settled so:
//   repeats         a record that equals the satellite's previous one in all but the time of transmission is counted,
//                   not kept
//   week            counted modulo 1024, or off by one at a week's end: placed by the record's date, with a warning
//   fit interval    blank and 0 are unknown and leave Status::CurveFit unset; 1 is the flag of the message, not an hour
//   accuracy        metres become the URA index whose range holds them; beyond 6144 m it is 15
//   tb              a multiple of 15 minutes in the message: an epoch up to a minute off is moved there, with a warning
//   leap seconds    those of the header; without them those of LeapSeconds.h
// Blank numbers of lesser weight (group delay, IODC, accuracy, codes) are as unset as the record can say.
class RinexNavigation {
public:
    struct GPSRecord {
        GNSS::GPSEphemeride ephemeride;  // reference is the full week with toe
        std::int64_t line = 0;           // of the file, from 1
        // When the message was sent, where the file says it.
        std::optional<GNSS::GPSTime> transmission;
    };

    struct GlonassRecord {
        // reference is the time of transmission, or tb where the file does not say it; a frame time that it does not
        // say is tb too. tau has the sign of the message's tau_n, which is the opposite of the file's.
        GNSS::Glonass::Ephemeride ephemeride;
        std::int64_t line = 0;
        GNSS::GPSTime tb;  // in GPS time
        std::optional<GNSS::GPSTime> transmission;
        std::optional<int> channel;        // frequency channel, -7 to 13
        std::optional<double> groupDelay;  // delta tau_n: L2 minus L1, s (3.05)
    };

    // GPS minus UTC as the header tells it.
    struct LeapSeconds {
        int current = 0;
        // The count from the end of that day (1 = Sunday to 7) of that week on, past or future; 3.x only.
        struct Event {
            int week = 0;
            int day = 0;
            int after = 0;
        };
        std::optional<Event> event;
    };

    // False when nothing can be read: no such file, not RINEX navigation, a version that is not read, a header without
    // an end. The object is then empty but for the warnings.
    [[nodiscard]] bool Read(const std::string& path, FileError& error);
    // The same for text in memory; the name is for the messages. Nothing of the text is kept.
    [[nodiscard]] bool Parse(std::string_view text, std::string_view name, FileError& error);

    int version = 0;  // times 100: 305
    std::vector<GPSRecord> gps;
    std::vector<GlonassRecord> glonass;
    // Of the header, dated with the first record of the file (the header itself gives them no date); without a record
    // they are dated with the UTC parameters' reference time, or not at all (IsValid is false).
    std::optional<GNSS::Almanac::Iono> iono;
    // Also made of the leap seconds alone, with A0 = A1 = 0.
    std::optional<GNSS::Almanac::UTC> utc;
    std::optional<LeapSeconds> leapSeconds;
    Warnings warnings;
    std::int64_t nmrRepeats = 0;  // records that repeat the satellite's previous one
    std::int64_t nmrRefused = 0;  // GPS and GLONASS records left out, each with a warning

    // How many records of another system, by its letter (E, C, J, I, S), were passed over.
    [[nodiscard]] std::int64_t GetSkipped(char system) const;
    // Counts one more.
    void AddSkipped(char system);

private:
    std::array<std::int64_t, 26> skipped_{};
};

}  // namespace Host
