// The options of a position fix.
#pragma once

#include <string>
#include <vector>

#include "host/fix/FixSettings.h"
#include "host/run/Pipeline.h"

namespace CLI {
class App;
}

namespace Host {

// As the user writes them; the first values are those of FixSettings.
struct FixOptions {
    std::string mode = "both";
    std::string ranges = "l1";
    double mask = 10.0;    // degrees
    double snrMask = 0.0;  // dB-Hz
    bool ionosphere = true;
    bool troposphere = true;
    std::string shift = "none";
    std::vector<double> heightAid;  // height and its standard deviation, m
    double confidence = 99.0;       // percent
    double power = 80.0;            // percent
    bool rejects = true;
    bool velocity = true;
    std::vector<std::string> disabled;
};

void AddFixOptions(CLI::App& command, FixOptions& options);
// Settings and the operator's list. Empty, or what is wrong: "--mask: ...".
[[nodiscard]] std::string ReadFixOptions(const FixOptions& options, RunRequest& request);

}  // namespace Host
