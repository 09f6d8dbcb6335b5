// What a visibility plan says in words.
#pragma once

#include <string>
#include <vector>

#include "host/plan/VisibilityPlan.h"

namespace Host {

// What a plan is about, for its heading: "GPS + GLONASS above 10 degrees at 55.4934 N 8.4566 E, 63 m".
[[nodiscard]] std::string DescribePlan(const VisibilityPlan& plan, const std::string& place);
// When its geometry is bad: "HDOP above 2, PDOP above 3 or fewer than 6 satellites".
[[nodiscard]] std::string DescribeLimits(const PlanSettings& settings);
// Why: "HDOP, PDOP, few satellites".
[[nodiscard]] std::string DescribeFaults(unsigned faults);
// A time of the plan: the time of day, with month and day before it in a plan of several days.
[[nodiscard]] std::string PrintPlanTime(const VisibilityPlan& plan, const GNSS::GPSTime& time);
// Where the plan goes without a satellite, or by its almanac: lines such as "no orbit for R05 from 14:15:00 on". The
// satellites of one kind that have it all the time share a line.
[[nodiscard]] std::vector<std::string> DescribeGaps(const VisibilityPlan& plan);

}  // namespace Host
