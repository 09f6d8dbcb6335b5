#include "host/report/RunFolder.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;
using Host::RunFolder;

class RunFolderTest : public testing::Test {
protected:
    RunFolderTest() {
        std::string name = (fs::temp_directory_path() / "run_folder_XXXXXX").string();
        root_ = ::mkdtemp(name.data());
        target_ = (root_ / "out").string();
    }
    ~RunFolderTest() override { fs::remove_all(root_); }

    static void Write(const fs::path& path, const std::string& text) { std::ofstream(path) << text; }
    static std::string Read(const fs::path& path) {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // Everything in the parent, hidden names too.
    [[nodiscard]] std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(root_)) names.push_back(entry.path().filename().string());
        return names;
    }

    fs::path root_;
    std::string target_;
    const std::vector<std::string> known_{"a.csv", "b.svg"};
};

TEST_F(RunFolderTest, AppearsWholeOrNotAtAll) {
    {
        RunFolder folder;
        ASSERT_EQ(folder.Open(target_, false, known_), "");
        Write(folder.PathOf("a.csv"), "half");
        EXPECT_FALSE(fs::exists(target_));
    }
    EXPECT_TRUE(Names().empty());
    RunFolder folder;
    ASSERT_EQ(folder.Open(target_ + "//", false, known_), "");
    Write(folder.PathOf("a.csv"), "whole");
    EXPECT_EQ(folder.Explain(folder.PathOf("a.csv") + ": full"), target_ + "///a.csv: full");
    ASSERT_EQ(folder.Commit(), "");
    EXPECT_EQ(Read(target_ + "/a.csv"), "whole");
    EXPECT_EQ(Names(), std::vector<std::string>{"out"});
}

TEST_F(RunFolderTest, ReplacesOnlyWhatARunHasWritten) {
    fs::create_directory(target_);
    RunFolder folder;
    EXPECT_EQ(folder.Open(target_, false, known_), "");  // empty: nothing to lose
    folder.Discard();
    Write(target_ + "/a.csv", "old");
    EXPECT_NE(folder.Open(target_, false, known_).find("--overwrite"), std::string::npos);
    // A run that is given up leaves the old one.
    ASSERT_EQ(folder.Open(target_, true, known_), "");
    Write(folder.PathOf("b.svg"), "new");
    folder.Discard();
    EXPECT_EQ(Read(target_ + "/a.csv"), "old");
    // One that succeeds replaces all of it.
    ASSERT_EQ(folder.Open(target_, true, known_), "");
    Write(folder.PathOf("b.svg"), "new");
    ASSERT_EQ(folder.Commit(), "");
    EXPECT_FALSE(fs::exists(target_ + "/a.csv"));
    EXPECT_EQ(Read(target_ + "/b.svg"), "new");
    EXPECT_EQ(Names(), std::vector<std::string>{"out"});
    // Somebody's own files and folders stay.
    Write(target_ + "/letter.txt", "mine");
    EXPECT_NE(folder.Open(target_, true, known_).find("letter.txt"), std::string::npos);
    fs::remove(target_ + "/letter.txt");
    fs::create_directory(target_ + "/a.csv");
    EXPECT_NE(folder.Open(target_, true, known_), "");
    EXPECT_TRUE(fs::exists(target_ + "/b.svg"));
}

TEST_F(RunFolderTest, RefusesWhatItCannotMake) {
    Write(root_ / "file", "x");
    fs::create_symlink("nowhere", root_ / "link");
    for (const std::string& target :
         {std::string(), (root_ / "file").string(), (root_ / "link").string(), (root_ / "no" / "such").string(),
          std::string("/"), std::string("."), std::string("nul\0byte", 8)}) {
        RunFolder folder;
        EXPECT_NE(folder.Open(target, true, known_), "") << target;
        EXPECT_FALSE(folder.IsOpen());
    }
    EXPECT_EQ(Names().size(), 2U);
    // A link to a folder stays one.
    fs::create_directory(root_ / "real");
    fs::create_symlink("real", root_ / "alias");
    RunFolder folder;
    ASSERT_EQ(folder.Open((root_ / "alias").string(), false, known_), "");
    Write(folder.PathOf("a.csv"), "x");
    ASSERT_EQ(folder.Commit(), "");
    EXPECT_TRUE(fs::is_symlink(root_ / "alias"));
    EXPECT_TRUE(fs::exists(root_ / "real" / "a.csv"));
}

TEST_F(RunFolderTest, TheNextRunRemovesWhatAKilledOneLeft) {
    const pid_t child = ::fork();
    if (child == 0) {
        RunFolder folder;
        if (folder.Open(target_, false, known_).empty()) Write(folder.PathOf("a.csv"), "half");
        ::raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(Names().size(), 1U);
    EXPECT_FALSE(fs::exists(target_));
    RunFolder other;
    ASSERT_EQ(other.Open(target_, false, known_), "");
    // What is being written by somebody else is left alone.
    RunFolder folder;
    ASSERT_EQ(folder.Open(target_, false, known_), "");
    EXPECT_EQ(Names().size(), 2U);
    EXPECT_TRUE(fs::exists(fs::path(other.PathOf(""))));
}

}  // namespace
