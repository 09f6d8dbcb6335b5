// Faults of a simulated receiver and sky: which note of a run names them, and when.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "host/fix/FixNotes.h"
#include "host/simulate/Simulator.h"
#include "host/text/TimeText.h"
#include "tests/host/run/RunRecording.h"

namespace {

using Host::FixNote;

class NamedFaults : public ::testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(path_); }
    // Epochs from 180 s before a time to `after` s behind it, with one fault.
    void Simulate(const char* time, const std::string& fault, double after) {
        Host::SimulatorSettings settings;
        settings.start = *Host::ParseTime(time) - Corvane::Time(Before);
        settings.warmUp = 30.0;
        std::string reason;
        if (!fault.empty()) settings.faults.push_back(*Host::ParseFault(fault, reason));
        Host::Simulator simulator(settings);
        std::string bytes;
        for (double t = 0.0; t < Before + after; t += settings.interval) static_cast<void>(simulator.Next(bytes));
        std::ofstream(path_, std::ios::binary | std::ios::app) << bytes;
    }
    void Run() {
        Host::RunRequest request;
        request.inputs = {path_};
        request.asReceived = true;
        ASSERT_TRUE(run_.Run(request)) << run_.reason;
    }
    // The share of the epochs from one time to another that have the note, s after the beginning.
    [[nodiscard]] double Share(FixNote note, double from, double to) const {
        int nmr = 0, of = 0;
        for (const auto& fix : run_.fixes) {
            const double t = (fix.time - run_.fixes.front().time).Seconds();
            if (t < from || t >= to) continue;
            ++of;
            nmr += std::ranges::count(fix.notes, static_cast<int>(note)) > 0 ? 1 : 0;
        }
        return of > 0 ? static_cast<double>(nmr) / of : -1.0;
    }

    static constexpr double Before = 180.0;
    const std::string path_ =
        (std::filesystem::temp_directory_path() / ("gnss_faults_" + std::to_string(::getpid()))).string();
    tests::RunRecording run_;
};

constexpr const char* AnyDay = "2025-06-04T12:03:00";

struct Case {
    const char* fault;
    FixNote note;
    double lasts = 0.0;  // s
    const char* time = AnyDay;
    const char* event = nullptr;
};

class NamedFault : public NamedFaults, public ::testing::WithParamInterface<Case> {};

TEST_P(NamedFault, ByANoteWithin30Seconds) {
    constexpr double Soon = 30.0;
    const Case& fault = GetParam();
    const double end = Before + fault.lasts;
    Simulate(fault.time, fault.fault, fault.lasts + 3.0 * Soon);
    Run();
    EXPECT_EQ(Share(fault.note, 0.0, Before), 0.0);
    if (fault.lasts > 0.0) {
        EXPECT_EQ(Share(fault.note, Before + Soon, end), 1.0);
    } else {
        EXPECT_GT(Share(fault.note, Before, Before + Soon), 0.3);
    }
    EXPECT_EQ(Share(fault.note, end + Soon, end + 3.0 * Soon), 0.0);
    EXPECT_TRUE(fault.event == nullptr || run_.HasEvent(fault.event)) << run_.Events();
}

INSTANTIATE_TEST_SUITE_P(Kinds, NamedFault,
                         ::testing::Values(Case{"outage,R03,at=180,for=120", FixNote::Missing, 120.0},
                                           Case{"outage,all,at=180,for=120", FixNote::NoFix, 120.0},
                                           Case{"bits,all,at=180,for=120,size=1e-3", FixNote::DamagedMessages, 120.0},
                                           Case{"mixed,G05,at=180,for=120,with=G08", FixNote::ContradictsOrbit, 120.0},
                                           Case{"unhealthy,G05,at=180,for=120", FixNote::Unhealthy, 120.0},
                                           Case{"leap,at=100", FixNote::LeapSecond, 0.0, "2025-07-01T00:00:18",
                                                "19 s ahead of UTC"},
                                           Case{"", FixNote::NewWeek, 0.0, "2038-11-21T00:00:00", "begins anew"},
                                           Case{"", FixNote::NewFourYears, 0.0, "2027-12-31T21:00:18", "four years"}));

TEST_F(NamedFaults, SilenceOfAMinute) {
    Simulate(AnyDay, "", 0.0);
    Simulate("2025-06-04T12:07:00", "", 0.0);
    Run();
    EXPECT_EQ(Share(FixNote::EpochGap, 0.0, Before), 0.0);
    EXPECT_EQ(Share(FixNote::EpochGap, Before, Before + 60.5), 1.0);
    EXPECT_TRUE(run_.HasEvent("Measurements again after 61 s")) << run_.Events();
}

}  // namespace
