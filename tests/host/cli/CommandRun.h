// A test of a command of the program: runs it in a folder of its own, and keeps what it says.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

namespace tests {

class CommandRun : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::temp_directory_path() / ("gnss_command_test_" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
        // The caches of the font library live until the process ends.
        std::ofstream(folder_ / "suppressions") << "leak:libfontconfig\n";
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }
    [[nodiscard]] std::string Read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(folder_ / name).rdbuf();
        return text.str();
    }
    // A piece of shell in which $GNSS is the program.
    int Run(const std::string& command) {
        const std::string whole =
            "cd '" + folder_.string() +
            "' && export LSAN_OPTIONS=suppressions=suppressions:print_suppressions=0 && GNSS='" GNSS_PROGRAM_FILE
            "' && { " +
            command + " ; } >out 2>err";
        const int status = std::system(whole.c_str());  // NOLINT: the tests' own text
        out_ = Read("out");
        err_ = Read("err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
    }
    [[nodiscard]] bool Says(const std::string& line) const { return out_.find(line + "\n") != std::string::npos; }

    std::filesystem::path folder_;
    std::string out_;
    std::string err_;
};

}  // namespace tests
