// The configuration of a run: any text gives settings or says where it is wrong, with the settings as they were; what
// is printed of settings is read back to the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "host/run/RunConfig.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

std::string Print(const Host::RunSettings& settings) {
    std::string text;
    std::string fault;
    Check(Host::PrintConfig(settings, text, fault) && fault.empty());
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string defaults = Print({});
    const std::string text(reinterpret_cast<const char*>(data), size);
    Host::RunSettings settings;
    const std::vector<std::string> faults = Host::ReadConfig(text, "config", settings);
    for (const std::string& fault : faults) Check(fault.starts_with("config:"));
    const std::string printed = Print(settings);
    Check(faults.empty() || printed == defaults);
    Host::RunSettings again;
    Check(Host::ReadConfig(printed, "again", again).empty() && Print(again) == printed);
    return 0;
}
