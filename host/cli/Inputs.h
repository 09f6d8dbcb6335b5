// The inputs that commands have in common, and how they complain.
#pragma once

#include <string>
#include <vector>

#include "gnss/geodesy/HelmertShift.h"
#include "host/receiver/EphemerisSet.h"
#include "host/receiver/FileReport.h"
#include "host/receiver/LeapRule.h"

namespace Host {

// Writes "gnss: " and the line to standard error, as one line whatever is in it. A line that cannot be written is lost.
void Complain(const std::string& line);
// Lines as they are on standard error. What cannot be written there is lost.
void Tell(const std::string& lines);
// The warnings of one file: the first few as they are, then how many more.
void Complain(const Warnings& warnings, bool all);

// Reads navigation files into a set, and their leap seconds into the rule, with their warnings and the doubtful records
// on standard error. False, with a line there, when one of them cannot be read or none holds a record. Leaves the rule
// in force as at the first record.
[[nodiscard]] bool ReadNavigation(const std::vector<std::string>& paths, bool allWarnings, EphemerisSet& set,
                                  LeapRule& leaps);

// "none", "pe90" or "novatel": the shift from the frame of the GLONASS message to WGS 84. Null for anything else.
[[nodiscard]] const GNSS::HelmertShift* FindShift(const std::string& name);
inline constexpr const char* ShiftHelp =
    "shift of GLONASS positions from PZ-90 to WGS 84: none (PZ-90.02 of 2007 and later agrees within decimetres), "
    "pe90 or novatel";

}  // namespace Host
