// The pipeline on inputs with faults: what is said of them, and that the rest is used.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "host/fix/FixNotes.h"
#include "host/receiver/FileText.h"
#include "host/run/PositionRows.h"
#include "tests/host/run/RunRecording.h"
#include "tests/support/TestData.h"

namespace {

constexpr const char* Observations = "data/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz";
constexpr const char* Ephemerides = "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz";

class RunTrouble : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::temp_directory_path() / ("gnss_run_test_" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }
    [[nodiscard]] std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    std::string Write(const std::string& name, std::string_view content) {
        std::ofstream(Path(name), std::ios::binary) << content;
        return Path(name);
    }
    static std::string ReadContent(const std::string& path) {
        Host::FileText file;
        Host::FileError error;
        EXPECT_TRUE(file.Open(path, error)) << error.Print();
        return std::string(file.Text());
    }
    static int CountNote(const tests::RunRecording& run, Host::FixNote note) {
        return static_cast<int>(std::ranges::count_if(
            run.fixes, [note](const auto& fix) { return std::ranges::count(fix.notes, static_cast<int>(note)) > 0; }));
    }
    std::filesystem::path folder_;
};

TEST_F(RunTrouble, OfObservationFiles) {
    GNSS_REQUIRE_TEST_DATA(observations, Observations);
    GNSS_REQUIRE_TEST_DATA(ephemerides, Ephemerides);
    const std::string text = ReadContent(observations);
    // The header, and twenty epochs.
    std::vector<std::size_t> epochs;
    for (std::size_t at = text.find("\n> "); epochs.size() <= 20; at = text.find("\n> ", at + 1))
        epochs.push_back(at + 1);
    const auto epoch = [&](std::size_t i) { return text.substr(epochs[i], epochs[i + 1] - epochs[i]); };
    const std::string begin = text.substr(0, epochs[0]);
    std::string few = begin;
    for (std::size_t i = 0; i < 20; ++i) few += epoch(i);

    struct Case {
        const char* name;
        std::string content;
        bool hasNavigation;
        int nmrFixes;
        const char* event;  // part of one; null for none
        Host::FixNote note;
        int nmrNotes;  // epochs
    };
    const std::string shuffled = begin + epoch(0) + epoch(2) + epoch(1) + epoch(2) + epoch(3);
    const std::string broken = begin + epoch(0) + epoch(1).substr(0, 300) + "garbage\n" + epoch(2) + epoch(3);
    // The times of two epochs are of another century: one that can be, and one that cannot.
    std::string wrong = few;
    wrong.replace(epochs[5] - epochs[0] + begin.size() + 2, 4, "2099");
    for (const std::size_t i : {10, 11}) wrong.replace(epochs[i] - epochs[0] + begin.size() + 2, 4, "2100");
    using Host::FixNote;
    for (const Case& each : {Case{"whole", few, true, 20, nullptr, FixNote::NoFix, 0},
                             Case{"no navigation", few, false, 0, "no navigation records", FixNote::NoEphemeris, 20},
                             Case{"order", shuffled, true, 3, "comes after a later one", FixNote::EpochOutOfOrder, 1},
                             Case{"order", shuffled, true, 3, "is repeated", FixNote::EpochRepeated, 1},
                             Case{"times", wrong, true, 16, "go back in time", FixNote::EpochOutOfOrder, 1},
                             Case{"times", wrong, true, 16, "left out: 2", FixNote::NoFix, 1},
                             Case{"damage", broken, true, 3, "line ", FixNote::NoFix, 0},
                             Case{"cut", few.substr(0, few.size() - 500), true, 19, "damaged", FixNote::NoFix, 0}}) {
        Host::RunRequest request;
        request.inputs = {Write("obs", each.content)};
        if (each.hasNavigation) request.inputs.push_back(ephemerides);
        tests::RunRecording run;
        ASSERT_TRUE(run.Run(request)) << each.name << ": " << run.reason;
        EXPECT_EQ(run.NmrValid(), each.nmrFixes) << each.name << "\n" << run.Events();
        EXPECT_TRUE(each.event == nullptr || run.HasEvent(each.event)) << each.name << "\n" << run.Events();
        EXPECT_EQ(CountNote(run, each.note), each.nmrNotes) << each.name;
    }

    // Navigation alone, and navigation that is not.
    for (const auto& [name, reason] : std::map<std::string, std::string>{
             {ephemerides, "hold measurements"},
             {Write("hatanaka", "3.0                 COMPACT RINEX FORMAT                    CRINEX VERS   / TYPE\n"),
              "Hatanaka"}}) {
        Host::RunRequest request;
        request.inputs = {name};
        tests::RunRecording run;
        EXPECT_FALSE(run.Run(request));
        EXPECT_NE(run.reason.find(reason), std::string::npos) << run.reason;
    }
}

TEST_F(RunTrouble, OfBinaryLogs) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ubx_20080526.ubx");
    const std::string log = ReadContent(path);
    Host::RunRequest request;
    request.inputs = {path};
    tests::RunRecording whole;
    ASSERT_TRUE(whole.Run(request)) << whole.reason;
    // Garbage between, a log cut anywhere, and the same log once more behind it: time goes back four minutes, whose
    // epochs are left out until they are taken for a new beginning.
    const std::string garbage(9000, '\xb5');
    struct Case {
        const char* name;
        std::string content;
        int least, most;
        const char* event;
    };
    const int all = whole.NmrValid();
    for (const Case& each :
         {Case{"garbage", log.substr(0, 50000) + garbage + log.substr(50000), all - 2, all, "belong to no message"},
          Case{"cut", log.substr(0, log.size() * 2 / 3 + 5), all / 2, all - 1, "belong to no message"},
          Case{"twice", log + log, 2 * all - 20, 2 * 242, "begins anew"}}) {
        request.inputs = {Write("log", each.content)};
        tests::RunRecording run;
        ASSERT_TRUE(run.Run(request)) << run.reason;
        EXPECT_GE(run.NmrValid(), each.least) << each.name << "\n" << run.Events();
        EXPECT_LE(run.NmrValid(), each.most) << each.name;
        EXPECT_TRUE(run.HasEvent(each.event)) << each.name << "\n" << run.Events();
    }
}

TEST_F(RunTrouble, NoneOfTheSystemsAbsentOrDisabled) {
    GNSS_REQUIRE_TEST_DATA(path, "data/oemv_200911218.gps");
    for (const auto systems :
         {Host::FixSettings::Systems::GPS, Host::FixSettings::Systems::Glonass, Host::FixSettings::Systems::Both}) {
        Host::RunRequest request;
        request.inputs = {path};
        request.settings.systems = systems;
        request.settings.ionosphere = Host::FixSettings::Ionosphere::Off;
        tests::RunRecording run;
        ASSERT_TRUE(run.Run(request)) << run.reason;
        EXPECT_EQ(run.NmrValid(), 46) << run.Events();
        const int used = run.fixes.back().nmrUsed;
        if (systems != Host::FixSettings::Systems::Both) continue;
        for (int slot = 1; slot <= 24; ++slot) request.disabledGlonass.emplace_back(slot);
        tests::RunRecording without;
        ASSERT_TRUE(without.Run(request)) << without.reason;
        EXPECT_EQ(without.NmrValid(), 46);
        EXPECT_LT(without.fixes.back().nmrUsed, used);
        EXPECT_GT(CountNote(without, Host::FixNote::Disabled), 40);
    }
}

TEST_F(RunTrouble, AReplayGivesTheSameBytes) {
    GNSS_REQUIRE_TEST_DATA(path, "data/16dBatt_no_interference_coldstart.ubx.gz");
    std::string first;
    for (const char* name : {"first", "second"}) {
        Host::RunRequest request;
        request.inputs = {path};
        Host::PositionRows rows(Host::Form::Ndjson, Path(name));
        Host::Pipeline pipeline(request, {&rows});
        std::string reason;
        ASSERT_TRUE(pipeline.Open(reason)) << reason;
        EXPECT_EQ(pipeline.Run({}), "");
        const std::string text = ReadContent(Path(name));
        EXPECT_EQ(std::ranges::count(text, '\n'), pipeline.GetFacts().counts.epochs);
        if (first.empty()) first = text;
        EXPECT_TRUE(text == first);
    }
}

}  // namespace
