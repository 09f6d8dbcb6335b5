// EphemerisSet: the broadcast records of many files, and which of them answers for a time.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/time/GPSTime.h"
#include "host/receiver/RinexNavigation.h"

namespace Host {

// Which record of a satellite answers for a time.
enum class Selection {
    Nearest,   // the one whose reference time lies nearest, a tie to the later, whenever it was sent
    Received,  // of those that had been sent by then the last, as a receiver would have used it
};

// "nearest" or "received"; false for anything else.
[[nodiscard]] bool ParseSelection(std::string_view text, Selection& selection);

// What a satellite's records say of it at a time.
enum class Standing {
    Good,
    Unhealthy,
    TooOld,
    Doubtful,  // contradicts its neighbours, or puts the satellite where none can be
    None
};
[[nodiscard]] const char* Name(Standing standing);

// A satellite at a time, from one record. Metres, metres per second and seconds, earth-fixed in the message's frame
// (GPS: WGS 84, GLONASS: PZ-90), both systems with the same sign of the clock: satellite time minus system time.
struct SatelliteState {
    Standing standing = Standing::None;
    bool hasPosn = false;  // also of unhealthy satellites; not of records that are too old or doubtful
    GNSS::ECEF posn;
    GNSS::ECEF::Delta vely;
    double clock = 0.0;       // with the relativistic term, without the group delay
    double clockDrift = 0.0;  // s/s, without the relativistic term
    int issue = 0;            // GPS: IODE; GLONASS: tb as the message numbers it, in quarters of an hour
    int health = 0;           // the message's health word or flag
    double age = 0.0;         // from the record's reference time, s
};

// The records of one satellite of either system.
template <typename Record>
class SatelliteRecords {
public:
    struct Entry {
        Record record;
        GNSS::GPSTime reference;  // toe or tb
        GNSS::GPSTime received;   // when it was sent; where the file does not say, when such a record usually is
        std::string file;
        // Why the record is not used; empty for a good one.
        std::string doubt;
    };

    void Add(const Record& record, std::string_view file);
    // Puts the records in order, drops repeats (the same issue for the same time with the same health and orbit), and
    // looks for those that contradict their neighbours or put the satellite where none can be.
    void Complete();

    [[nodiscard]] const std::vector<Entry>& GetEntries() const { return entries_; }
    [[nodiscard]] std::vector<Entry>& GetEntries() { return entries_; }
    // The record that the rule chooses; null when there is none. Doubtful ones are passed over unless nothing else is
    // there.
    [[nodiscard]] const Entry* Find(const GNSS::GPSTime& t, Selection selection) const;
    // The satellite at a time, from the record that the rule chooses.
    [[nodiscard]] SatelliteState Calculate(const GNSS::GPSTime& t, Selection selection) const;
    // From a record of the caller's choice, whatever its age and health.
    [[nodiscard]] static SatelliteState Calculate(const Entry& entry, const GNSS::GPSTime& t);

private:
    std::vector<Entry> entries_;
    std::vector<std::size_t> byReceived_;  // indexes in the order of reception
};

class EphemerisSet {
public:
    static constexpr int NmrGPS = 32;
    static constexpr int NmrGlonass = 24;
    using GPSRecords = SatelliteRecords<RinexNavigation::GPSRecord>;
    using GlonassRecords = SatelliteRecords<RinexNavigation::GlonassRecord>;

    // Takes a file's records. After the last file, Complete.
    void Add(const RinexNavigation& navigation, std::string_view file);
    void Complete();

    [[nodiscard]] const GPSRecords& GPS(int prn) const { return gps_[static_cast<std::size_t>(prn - 1)]; }
    [[nodiscard]] const GlonassRecords& Glonass(int slot) const { return glonass_[static_cast<std::size_t>(slot - 1)]; }
    // A satellite by its letter and number; nothing for a system or number that is not there.
    [[nodiscard]] SatelliteState Calculate(char system, int number, const GNSS::GPSTime& t, Selection selection) const;

    // One line for each doubtful record: file, line, satellite, what it contradicts and whose it may be.
    [[nodiscard]] std::vector<std::string> GetDoubts() const;
    // Reference times of the first and the last record; nothing when there are none.
    [[nodiscard]] std::optional<GNSS::GPSTime> GetFirst() const;

private:
    std::array<GPSRecords, NmrGPS> gps_;
    std::array<GlonassRecords, NmrGlonass> glonass_;
};

extern template class SatelliteRecords<RinexNavigation::GPSRecord>;
extern template class SatelliteRecords<RinexNavigation::GlonassRecord>;

}  // namespace Host
