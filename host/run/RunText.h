// A run in words: its settings, its inputs and how it went.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/report/RunFigures.h"
#include "host/report/RunSeries.h"
#include "host/run/RunOutput.h"

namespace Host {

// Every setting that has a say in the positions, by table of the configuration file: what the table is about, and
// "mask = 15 degrees (default 10); ...".
[[nodiscard]] std::vector<std::pair<std::string, std::string>> DescribeSettings(const RunRequest& request);

// The positions that mean and scatter are of: "2880 positions", "the 526 of 562 positions that passed the w-test".
[[nodiscard]] std::string DescribeCounted(const RunFigures& figures);

// A line or two on what was read from an input, clean.
[[nodiscard]] std::string DescribeInput(const RunInput& input);

// The operator's list, "G05 R03"; empty for none.
[[nodiscard]] std::string DescribeDisabled(const RunRequest& request);

// For the terminal, clean: epochs and positions, tests, differences, rejected satellites, worst windows, notes by their
// kind, events and what is wrong with the inputs.
[[nodiscard]] std::string PrintSummary(const RunFigures& summary, const RunSeries& series, const RunFacts& facts);

}  // namespace Host
