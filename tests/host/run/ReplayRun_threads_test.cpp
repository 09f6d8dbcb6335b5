// A replay that several operators play, hurry, send to and fro and steer at once.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/run/ReplayRun.h"
#include "host/simulate/Simulator.h"

namespace {

using Host::ReplayRun;
using State = ReplayRun::State;

TEST(ReplayRun, IsSteeredFromAnyThread) {
    const auto path = std::filesystem::temp_directory_path() / ("gnss_replay_" + std::to_string(::getpid()) + ".ubx");
    Host::SimulatorSettings settings;
    {
        Host::Simulator simulator(settings);
        std::string bytes;
        for (int i = 0; i < 40; ++i) static_cast<void>(simulator.Next(bytes));
        std::ofstream(path, std::ios::binary) << bytes;
    }
    Host::RunRequest request;
    request.inputs = {path.string()};
    request.asReceived = true;
    ReplayRun replay(request, {}, 0.0);
    std::string reason;
    ASSERT_TRUE(replay.Open(reason)) << reason;

    constexpr int NmrOperators = 3;
    constexpr int NmrRounds = 12;
    std::atomic<int> nmrBusy = NmrOperators;
    std::atomic<int> nmrSteered = 0;  // the first time, each
    std::vector<std::jthread> operators;
    for (int which = 0; which < NmrOperators; ++which) {
        operators.emplace_back([&, which] {
            for (int round = 0; round < NmrRounds; ++round) {
                const int step = which + round;
                replay.Steer([&nmrSteered, step, round, isFirst = std::make_shared<bool>(true)](Host::RunCore& core) {
                    core.SetEnabled({'G', 1 + step % 32}, round % 2 == 0, "a test");
                    nmrSteered += std::exchange(*isFirst, false) ? 1 : 0;
                });
                if (step % 3 == 0) replay.Seek(settings.start + Corvane::Time((step * 17) % 50 - 5.0));
                if (step % 4 == 1) replay.Pause();
                if (step % 4 == 3) replay.SetSpeed(step % 8 == 3 ? 1000.0 : 0.0);
                if (step % 5 != 0) replay.Play();
                std::this_thread::sleep_for(std::chrono::milliseconds(7 + which));
                EXPECT_GE(replay.GetStatus().speed, 0.0);
            }
            --nmrBusy;
        });
    }
    // None of what they asked for is lost, at the end of the data neither.
    const auto begin = std::chrono::steady_clock::now();
    const std::string failure = replay.Run([&] {
        return (nmrBusy == 0 && nmrSteered == NmrOperators * NmrRounds) ||
               std::chrono::steady_clock::now() - begin > std::chrono::minutes(1);
    });
    EXPECT_EQ(failure, "");
    EXPECT_EQ(nmrSteered, NmrOperators * NmrRounds);
    std::filesystem::remove(path);
}

}  // namespace
