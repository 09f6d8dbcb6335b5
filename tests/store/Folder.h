// A folder of its own for a test of files, and an event log that is empty at first.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/Event.h"

namespace tests {

class Folder : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (std::filesystem::temp_directory_path() / "gnss-store-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        Corvane::Event::Clear();
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::set<std::string> List() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }
    [[nodiscard]] static std::string ReadAll(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static void WriteAll(const std::filesystem::path& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }
    // The texts of the events since the last call.
    static std::vector<std::string> TakeEvents() {
        std::vector<std::string> texts;
        for (const auto& event : Corvane::Event::GetKept()) texts.push_back(event.GetText().str());
        Corvane::Event::Clear();
        return texts;
    }

    std::filesystem::path folder_;
};

}  // namespace tests
