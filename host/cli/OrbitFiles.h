// Files of any kind that hold orbits: navigation files, receiver logs and almanac files.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "gnss/display/DopArt.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/OrbitSource.h"
#include "host/receiver/LeapRule.h"

namespace Host {

struct OrbitFileOptions {
    const char* command = "sky";  // for messages
    bool allWarnings = false;
    // About when streams that tell no week (RTCM 3) were recorded, to half a week.
    std::optional<GNSS::GPSTime> date;
};

// Reads RINEX navigation files, logs (UBX, NovAtel OEM, RTCM 3; plain, gzip, or "-" for standard input) and almanac
// files of the almanac store into a source, which is complete afterwards, and the leap seconds of navigation files into
// the rule. What is doubtful or missing is on standard error; false, with the reason there, when a file cannot be read
// or none of them holds an orbit.
//
// An almanac file has no mark of its own: a file of no other format is taken for one when it ends in ".alm", or when
// all of its bytes make one. Sets the clock and the rule to the records' times; who asks for a time sets them to that.
[[nodiscard]] bool ReadOrbits(const std::vector<std::string>& paths, const OrbitFileOptions& options,
                              OrbitSource& source, LeapRule& leaps);

// One line each for what the source lacks at a time: "GLONASS: the files hold no orbits of R01 R02",
// "GPS: no orbit is valid at that time of G03".
[[nodiscard]] std::vector<std::string> DescribeMissing(const OrbitSource& source, GNSS::DopArt::Mode mode,
                                                       const GNSS::GPSTime& t);

}  // namespace Host
