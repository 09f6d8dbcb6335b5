#include "host/cli/Inputs.h"

#include <cstdio>

#include <fmt/format.h>

#include "host/live/SourceAddress.h"
#include "host/receiver/RinexNavigation.h"
#include "host/report/SafeText.h"

namespace Host {

void Tell(const std::string& lines) {
    // Nobody is left to be told when this fails.
    static_cast<void>(std::fwrite(lines.data(), 1, lines.size(), stderr));
}

void Complain(const std::string& line) {
    // What was mistyped and is no address to this program may be one all the same.
    Tell("gnss: " + MaskPasswords(CleanText(line)) + '\n');
}

void Complain(const Warnings& warnings, bool all) {
    constexpr std::int64_t Few = 5;
    std::int64_t told = 0;
    for (const Warnings::Entry& entry : warnings.GetKept()) {
        if (!all && told == Few) break;
        Complain(warnings.Print(entry));
        ++told;
    }
    if (told < warnings.GetCount()) {
        Complain(fmt::format("{}: {} more warnings{}", warnings.GetFile(), warnings.GetCount() - told,
                             all ? "" : " (--warnings shows them)"));
    }
}

bool ReadNavigation(const std::vector<std::string>& paths, bool allWarnings, EphemerisSet& set, LeapRule& leaps) {
    for (const std::string& path : paths) {
        RinexNavigation navigation;
        FileError error;
        const bool isRead = navigation.Read(path, error);
        Complain(navigation.warnings, allWarnings);
        if (!isRead) {
            Complain(error.Print());
            return false;
        }
        const std::string doubt = leaps.Add(navigation, path);
        if (!doubt.empty()) Complain(doubt);
        set.Add(navigation, path);
    }
    const auto first = set.GetFirst();
    // The set looks at the records' positions while it puts them in order, and GLONASS needs the leap rule for that.
    if (first) leaps.SetFor(*first);
    set.Complete();
    for (const std::string& doubt : set.GetDoubts()) Complain(doubt);
    if (!set.GetFirst()) {
        Complain("the navigation files hold no GPS or GLONASS records");
        return false;
    }
    return true;
}

const GNSS::HelmertShift* FindShift(const std::string& name) {
    if (name == "none") return &GNSS::Glonass::ZeroShift;
    if (name == "pe90") return &GNSS::Glonass::PE90_to_WGS84;
    if (name == "novatel") return &GNSS::Glonass::NovatelShift;
    return nullptr;
}

}  // namespace Host
