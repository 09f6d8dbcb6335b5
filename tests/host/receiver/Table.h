// Tables of reference values: comma-separated, one line of headings.
#pragma once

#include <charconv>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tests {

using Row = std::map<std::string, std::string>;  // cells by their headings

inline std::vector<std::string> SplitCells(const std::string& line) {
    std::vector<std::string> cells(1);
    for (const char c : line) {
        if (c == ',') {
            cells.emplace_back();
        } else {
            cells.back() += c;
        }
    }
    return cells;
}

inline std::vector<Row> ReadTable(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    const std::vector<std::string> headings = SplitCells(line);
    std::vector<Row> rows;
    while (std::getline(file, line)) {
        const std::vector<std::string> cells = SplitCells(line);
        Row& row = rows.emplace_back();
        for (std::size_t i = 0; i < headings.size(); ++i) row[headings[i]] = cells.at(i);
    }
    return rows;
}

// Whatever the locale.
inline double Number(const std::string& text) {
    double value = 0.0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    EXPECT_TRUE(failure == std::errc() && end == text.data() + text.size()) << text;
    return value;
}

}  // namespace tests
