#include "host/text/Satellites.h"

#include <algorithm>

#include <fmt/format.h>

namespace Host {

std::optional<Satellite> ParseSatellite(std::string_view text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (text.empty() || (text[0] != 'G' && text[0] != 'R')) return std::nullopt;
    if (text.size() == 1) return Satellite{text[0], 0};
    if (text.size() != 3 || !isDigit(text[1]) || !isDigit(text[2])) return std::nullopt;
    const int number = (text[1] - '0') * 10 + (text[2] - '0');
    if (number < 1 || number > (text[0] == 'G' ? EphemerisSet::NmrGPS : EphemerisSet::NmrGlonass)) return std::nullopt;
    return Satellite{text[0], number};
}

std::string PrintSatellite(char system, int number) {
    return fmt::format("{}{:02}", system, number);
}

std::vector<Satellite> ChooseSatellites(const std::vector<Satellite>& wanted, const EphemerisSet& set) {
    const auto isWanted = [&wanted](const Satellite& satellite) {
        return std::ranges::find(wanted, satellite) != wanted.end();
    };
    std::vector<Satellite> chosen;
    const auto add = [&](char system, int number, bool hasRecords) {
        const bool isOfSystem = wanted.empty() || isWanted({system, 0});
        if ((hasRecords && isOfSystem) || isWanted({system, number})) chosen.push_back({system, number});
    };
    for (int prn = 1; prn <= EphemerisSet::NmrGPS; ++prn) add('G', prn, !set.GPS(prn).GetEntries().empty());
    for (int slot = 1; slot <= EphemerisSet::NmrGlonass; ++slot)
        add('R', slot, !set.Glonass(slot).GetEntries().empty());
    return chosen;
}

}  // namespace Host
