// The configuration file of a run (TOML 1.0).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/run/RunSettings.h"

namespace Host {

// What is larger is no configuration.
inline constexpr std::size_t MaxConfigSize = std::size_t{1} << 20;

// Sets what the text says; what it does not name stays. Each line of the answer is a fault with its place,
// "run.toml:3: fix.mask is a number from 0 to 89 degrees, not 95": names and tables that do not exist, values of
// another type or out of range, names given twice, text that is not TOML or not UTF-8. With a fault the settings are as
// they were.
[[nodiscard]] std::vector<std::string> ReadConfig(std::string_view text, const std::string& name,
                                                  RunSettings& settings);
// The same of a file.
[[nodiscard]] std::vector<std::string> ReadConfigFile(const std::string& path, RunSettings& settings);

// All settings with their tables and what each means, as a file that ReadConfig reads back to the same settings.
// False, with a line for a person, when a text in them is not UTF-8 (a file's name may be anything).
[[nodiscard]] bool PrintConfig(const RunSettings& settings, std::string& text, std::string& fault);

}  // namespace Host
