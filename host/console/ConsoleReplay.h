// ConsoleReplay: what operators ask of a replay.
#pragma once

#include <string_view>

#include "host/console/ConsoleBackend.h"
#include "host/console/ConsoleOutput.h"
#include "host/run/ReplayRun.h"

namespace Host {

// {"action":"play"}, "pause", {"action":"speed","speed":10} (0: as fast as it goes) or
// {"action":"seek","time":"2020-06-25T12:00:00Z"}. Done at once, on the thread that asks.
[[nodiscard]] ConsoleAnswer SteerReplay(ReplayRun& replay, std::string_view body);

// How far it has got, for the panel of the run.
[[nodiscard]] ConsoleRunState DescribeReplay(const ReplayRun& replay);

}  // namespace Host
