// Health sets and note histories of one body on many threads.
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/health/NotesHistory.h"
#include "gnss/health/SVHealthSet.h"

namespace {

using GNSS::Notes;
using GNSS::PRN;
using GNSS::SVHealth;

// A publisher replaces what readers take copies of; each reader changes its own copy and sees nobody else's changes.
TEST(Health, PrivateChangesOfSharedBodies) {
    pt::mutex control;
    SVHealth::Set published;
    Notes::History history;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int id = 0; id < 4; ++id) {
        threads.emplace_back([&, id] {
            for (int round = 0; round < 2000; ++round) {
                Notes notes;
                notes.AddNote(1, round % 7, "note");
                const Corvane::TimeDate t(Corvane::Date(2024, 1, 1), Corvane::TimeOfDay(round));
                pt::mutexlock lock(control);
                if (id == 0) {
                    // Both satellites change together.
                    for (const int prn : {3, 9}) {
                        published.Refresh(SVHealth::Update(SVHealth::Update::EphemerisHealth, PRN(prn), round));
                    }
                    history.Update(t, notes);
                }
                SVHealth::Set mine = published;
                Notes::History past = history;
                lock.Close();

                const int nmr = mine.NmrSV();
                if (nmr == 2) wrong += mine.GetSV(0).GetEphemeris() != mine.GetSV(1).GetEphemeris();
                mine.ObtainSV(PRN(10 + id)).SetEphemeris(0);
                wrong += !mine.IsHealthy(PRN(10 + id)) || mine.NmrSV() != nmr + 1;
                notes.AddNote(100 + id, "mine");
                const int before = past.NmrNote();
                past.Update(past.GetLastUpdate() + Corvane::Time::Second, notes);
                wrong += past[past.NmrNote() - 1].GetNote().GetId() != 100 + id || past.NmrNote() < before + 1;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(published.NmrSV(), 2);
    EXPECT_EQ(published.GetSV(1).GetEphemeris(), 1999);
    EXPECT_EQ(history.NmrNote(), 7);
}

}  // namespace
