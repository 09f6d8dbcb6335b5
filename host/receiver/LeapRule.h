// LeapRule: the leap-second rule and the clock of the process, led along the times that a command works out.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gnss/time/GPSTime.h"
#include "host/receiver/LeapSeconds.h"
#include "host/receiver/RinexNavigation.h"

namespace Host {

// GLONASS records count UTC, so their positions hang on the leap seconds in force: one second too many is 3 km. This
// says at every time how many there are, by the table of LeapSeconds.h or, where navigation files contradict it, by
// their headers, with whose count the records' times were read.
class LeapRule {
public:
    // Takes the count that a file's header tells. Empty, or a line about a count that is not the table's on the dates
    // of the file's records.
    [[nodiscard]] std::string Add(const RinexNavigation& navigation, std::string_view file);

    // GPS minus UTC at a time. The headers of files with GLONASS records are believed, where all tell the same, from
    // the first to the last record of those that contradict the table, and an hour more on both sides.
    [[nodiscard]] int Count(const GNSS::GPSTime& t) const;

    // Puts the process's clock to a time and the rule in force to what holds then. For each time before anything is
    // worked out for it; the rule is replaced only when it is another one.
    //
    // In the hour that follows a leap it is the leap itself, by which records from before it are brought over it; at
    // every other time it has one count and no change, because the records' own correction would otherwise go by the
    // start of any week.
    void SetFor(const GNSS::GPSTime& t);
    // The same for a count from elsewhere: a stream that tells its own. One that grows by a second at midnight of UTC
    // is a leap, also when the table does not know it.
    void SetFor(const GNSS::GPSTime& t, int count);

    // "leap seconds: 17", or both counts when the times lie on both sides of a leap.
    [[nodiscard]] std::string Print(const GNSS::GPSTime& first, const GNSS::GPSTime& last) const;

private:
    struct Span {
        GNSS::GPSTime first;
        GNSS::GPSTime last;
    };
    struct InForce {
        GNSS::GPSTime instant;  // of the leap, as UTC counts
        int before = 0;
        int after = 0;
        friend bool operator==(const InForce&, const InForce&) = default;
    };

    [[nodiscard]] bool IsByHeader(const GNSS::GPSTime& t) const;
    void Learn(const GNSS::GPSTime& t, int count);

    // Of the files with GLONASS records; the others' counts nobody used.
    std::optional<RinexNavigation::LeapSeconds> told_;
    bool areHeadersDifferent_ = false;
    std::vector<Span> contradicted_;  // where headers and table differ
    std::optional<InForce> inForce_;
    std::optional<LeapSecond> learnt_;
};

}  // namespace Host
