// The options of gnss run and gnss replay: one for each setting of a run, and its configuration file.
#pragma once

#include <string>
#include <vector>

#include "host/run/RunSettings.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Host {

class RunOptions {
public:
    // Adds them to the command, which must live as long as this. Settings that are not taken have no option; a
    // configuration file may hold them all the same.
    explicit RunOptions(CLI::App& command, bool (*isTaken)(const Setting&) = nullptr);

    // The settings in force, once the command line is parsed: those of the command line before those of the file
    // before the defaults. Empty, or what is wrong, each fault on a line of its own.
    [[nodiscard]] std::vector<std::string> Read(RunSettings& settings) const;
    // Whether the settings are to be printed, and nothing else.
    [[nodiscard]] bool IsPrintAsked() const { return printConfig_; }

private:
    // What was given for one setting.
    struct Given {
        const CLI::Option* option = nullptr;
        bool on = false;  // of a switch
        std::string text;
        std::vector<std::string> list;
    };

    std::vector<Given> given_;  // in the order of GetSettings
    const CLI::Option* config_ = nullptr;
    std::string configFile_;
    bool printConfig_ = false;
};

}  // namespace Host
