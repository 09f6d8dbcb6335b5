// A run in words: its settings, its inputs and how it went.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/report/RunFigures.h"
#include "host/run/RunOutput.h"

namespace Host {

// Every setting of a fix that has a say, with what it is.
[[nodiscard]] std::vector<std::pair<std::string, std::string>> DescribeSettings(const FixSettings& settings);

// A line or two on what was read from an input, clean.
[[nodiscard]] std::string DescribeInput(const RunInput& input);

// For the terminal, a few lines, clean.
[[nodiscard]] std::string PrintSummary(const RunFigures& summary, const RunFacts& facts);

}  // namespace Host
