// RINEX files of reference: observations of version 3, and navigation records.
#pragma once

#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "gnss/time/GPSTime.h"
#include "host/receiver/RinexNavigation.h"
#include "tests/host/receiver/ReceiverRecording.h"
#include "tests/host/receiver/Table.h"

namespace tests {

struct ObservedSatellite {
    char system = 'G';
    int number = 0;
    std::map<std::string, std::optional<double>> values;  // by "C1C"; all that the header names
};
struct ObservedEpoch {
    GNSS::GPSTime time;
    std::vector<ObservedSatellite> satellites;
};

inline std::vector<ObservedEpoch> ReadObservations(const std::string& path) {
    std::vector<ObservedEpoch> epochs;
    std::map<char, std::vector<std::string>> types;
    std::istringstream lines(ReadAll(path));
    for (std::string line; std::getline(lines, line);) {
        const auto field = [&line](std::size_t first, std::size_t width) -> std::optional<double> {
            std::string cell = first < line.size() ? line.substr(first, width) : "";
            cell.erase(0, cell.find_first_not_of(' '));
            return cell.empty() ? std::nullopt : std::optional(Number(cell));
        };
        const auto whole = [&field](std::size_t first, std::size_t width) {
            return static_cast<int>(field(first, width).value());
        };
        if (line.find("SYS / # / OBS TYPES") == 60) {
            for (int i = 0; i < whole(4, 2); ++i)
                types[line[0]].push_back(line.substr(7 + 4 * static_cast<std::size_t>(i), 3));
        } else if (line[0] == '>') {
            const Corvane::Date date(whole(2, 4), whole(7, 2), whole(10, 2));
            const double seconds = (whole(13, 2) * 60.0 + whole(16, 2)) * 60.0 + field(18, 11).value();
            const int days = date - GNSS::GPSTime::Start;
            epochs.push_back({GNSS::GPSTime(days / 7, days % 7 * 86400.0 + seconds), {}});
        } else if (!epochs.empty()) {
            ObservedSatellite& satellite = epochs.back().satellites.emplace_back();
            satellite.system = line[0];
            satellite.number = whole(1, 2);
            for (std::size_t i = 0; i < types[line[0]].size(); ++i)
                satellite.values[types[line[0]][i]] = field(3 + 16 * i, 14);
        }
    }
    return epochs;
}

inline Host::RinexNavigation ReadNavigation(const std::string& path) {
    Host::RinexNavigation navigation;
    Host::FileError error;
    EXPECT_TRUE(navigation.Read(path, error)) << error.Print();
    return navigation;
}

}  // namespace tests
