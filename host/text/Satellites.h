// Satellites as people name them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/receiver/EphemerisSet.h"

namespace Host {

struct Satellite {
    char system = 'G';  // G or R
    int number = 0;     // PRN or slot; 0 for every satellite of the system
    friend bool operator==(const Satellite&, const Satellite&) = default;
};

// "G05" or "R14", or "G" or "R" for the whole system. Nothing when it is none of these or there is no such number.
[[nodiscard]] std::optional<Satellite> ParseSatellite(std::string_view text);

// "G05"
[[nodiscard]] std::string PrintSatellite(char system, int number);

// Those that a command is about, each once, in the order of their names: the satellites that are asked for by number,
// and those of the systems asked for (of both when nothing is) that have records.
[[nodiscard]] std::vector<Satellite> ChooseSatellites(const std::vector<Satellite>& wanted, const EphemerisSet& set);

}  // namespace Host
