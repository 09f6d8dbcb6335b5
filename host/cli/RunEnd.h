// What gnss run and gnss replay have in common: their settings printed, and how a run of files has ended.
#pragma once

#include "host/run/RunOutput.h"
#include "host/run/RunSettings.h"

namespace Host {

// The settings in force on standard output, as a file for --config. The exit code.
[[nodiscard]] int PrintSettings(const RunSettings& settings);
// Whether a run has positions; if not, standard error is told why.
[[nodiscard]] bool TellWhetherPositions(const RunFacts& facts);

}  // namespace Host
