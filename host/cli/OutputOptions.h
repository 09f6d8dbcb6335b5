// The options of a run's output folder.
#pragma once

#include <string>

#include "host/run/RunFolderOutput.h"

namespace CLI {
class App;
}

namespace Host {

struct OutputOptions {
    std::string folder;
    std::string reference;
    std::string skyTime;
    std::string palette = "light";
    bool overwrite = false;
    bool satellites = true;
    bool pictures = true;
    bool png = false;
};

void AddOutputOptions(CLI::App& command, OutputOptions& options);

// Empty, or what is wrong with them.
[[nodiscard]] std::string ReadOutputOptions(const OutputOptions& options, RunFolderOptions& output);

}  // namespace Host
