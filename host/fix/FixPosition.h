// The fix as the record that travels between modules.
#pragma once

#include "gnss/position/Position.h"
#include "host/fix/FixResult.h"
#include "host/fix/FixSettings.h"

namespace Host {

// Time, notes, constellation, method and solution mode of every fix; coordinate (WGS 84), covariance, DOP and UKOOA
// statistics of one that is valid; velocity where there is one. The TimeDate is UTC by the leap-second rule in force.
//
// Solution modes, from the least: "No Solution", "GPS", "GLO", "GPS+GLO"; their levels are 0 to 3.
[[nodiscard]] GNSS::Position MakePosition(const FixResult& result, const FixSettings& settings,
                                          const GNSS::Notes& notes);

}  // namespace Host
