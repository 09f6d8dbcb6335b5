// Texts of RINEX navigation files for the tests.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "host/receiver/RinexNavigation.h"

namespace rinex {

using Host::FileError;
using Host::RinexNavigation;

// A line of a header: what it says, and its label from column 61 on.
inline std::string Labelled(std::string text, const std::string& label) {
    text.resize(60, ' ');
    return text + label + "\n";
}
inline const std::string End = Labelled("", "END OF HEADER");
inline const std::string Mixed = Labelled("     3.04           NAVIGATION DATA     M", "RINEX VERSION / TYPE");
inline const std::string GPS2 = Labelled("     2.11           N: GPS NAV DATA", "RINEX VERSION / TYPE");
inline const std::string Glonass2 = Labelled("     2.01           GLONASS NAV DATA", "RINEX VERSION / TYPE");

// Thursday 4 March 2021, week 2147.
inline const std::string G07 =
    "G07 2021 03 04 06 00 00 1.250000000000D-04-2.500000000000D-12 0.000000000000D+00\n"
    "     1.700000000000D+01 1.200000000000D+02 4.500000000000D-09 1.000000000000D+00\n"
    "    -5.000000000000D-06 1.000000000000D-02 6.000000000000D-06 5.153600000000D+03\n"
    "     3.672000000000D+05-1.000000000000D-07 2.000000000000D+00 1.500000000000D-07\n"
    "     9.600000000000D-01 2.100000000000D+02-7.500000000000D-01-8.000000000000D-09\n"
    "     1.000000000000D-10 1.000000000000D+00 2.147000000000D+03 0.000000000000D+00\n"
    "     2.800000000000D+00 0.000000000000D+00-1.100000000000D-08 1.700000000000D+01\n"
    "     3.600060000000D+05 4.000000000000D+00\n";
inline const std::string R05 =
    "R05 2021 03 04 06 15 00 3.000000000000D-05 1.818989403546D-12 3.672300000000D+05\n"
    "     1.000000000000D+04 1.500000000000D+00 9.313225746155D-10 0.000000000000D+00\n"
    "    -2.000000000000D+04-5.000000000000D-01 0.000000000000D+00-4.000000000000D+00\n"
    "     1.200000000000D+04 3.000000000000D+00-1.862645149231D-09 1.000000000000D+00\n";

inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

inline RinexNavigation Parsed(const std::string& text) {
    RinexNavigation navigation;
    FileError error;
    EXPECT_TRUE(navigation.Parse(text, "file", error)) << error.Print();
    return navigation;
}

inline std::string AllWarnings(const RinexNavigation& navigation) {
    std::string all;
    for (const auto& entry : navigation.warnings.GetKept()) all += navigation.warnings.Print(entry) + "\n";
    return all;
}

// A record of version 3 as version 2 writes it.
inline std::string AsVersion2(const std::string& record) {
    std::string text;
    for (std::size_t at = 0; at < record.size();) {
        const std::size_t end = record.find('\n', at) + 1;
        const std::string line = record.substr(at, end - at);
        at = end;
        // "G07 2021 03 04 06 00 00" becomes " 7 21 03 04 06 00 00.0".
        text += text.empty() ? line.substr(1, 3) + line.substr(6, 15) + line.substr(21, 2) + ".0" + line.substr(23)
                             : line.substr(1);
    }
    return text;
}

}  // namespace rinex
