// Fixes of one body on many threads.
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/gnss.h"

namespace {

using GNSS::Position;

// What a round makes of a fix: attributes that tell the round, all alike.
void Fill(Position& fix, int round) {
    fix.SetGeoid(Position::Geoid(round));
    fix.SetSolutionMode("mode", round, round, Position::SolutionMode::Settled);
    Position::StatusInfo info;
    info.AddStation(round, 1, 1.0);
    fix.SetStatusInfo(info);
}

bool Tells(const Position& fix, int round) {
    return fix.GetGeoid()->GetSeperation() == round && fix.GetSolutionMode()->GetLevel() == round &&
           fix.GetStatusInfo()->Find(round) != nullptr;
}

// One thread publishes fixes, changing the one that it published in place; the others take copies, change some of
// theirs, and hold what they took over several rounds.
TEST(Position, WhatOthersHoldNeverChanges) {
    pt::mutex control;
    Position published;
    int publishedRound = 0;
    Fill(published, 0);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int id = 0; id < 4; ++id) {
        threads.emplace_back([&, id] {
            for (int round = 1; round <= 1500; ++round) {
                pt::mutexlock lock(control);
                if (id == 0) {
                    Fill(published, round);
                    publishedRound = round;
                }
                const Position held = published;
                const int heldRound = publishedRound;
                lock.Close();

                const Position::Geoid* const geoid = held.GetGeoid();
                Position mine = held;
                Fill(mine, -id - 1);
                const Position again = mine;
                Fill(mine, -10);
                wrong +=
                    !Tells(held, heldRound) || geoid != held.GetGeoid() || !Tells(again, -id - 1) || !Tells(mine, -10);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(Tells(published, 1500));
}

}  // namespace
