#include <atomic>
#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/CopyOnWrite.h"

namespace {

using Corvane::CopyOnWrite;

std::atomic<int> alive = 0;
std::atomic<bool> lockHeldAtDeletion = false;

// Whether another thread can take the process-wide lock.
bool IsLockHeld() {
    static std::atomic<bool> taken;  // outlives a thread that never gets the lock
    taken = false;
    std::thread other([] {
        const pt::mutexlock lock(Corvane::CriticalSection());
        taken = true;
    });
    for (int i = 0; i < 1000 && !taken; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const bool held = !taken;
    held ? other.detach() : other.join();
    return held;
}

struct Body {
    Body() { ++alive; }
    explicit Body(int count) : values(static_cast<std::size_t>(count), 1) { ++alive; }
    Body(const Body& other) : values(other.values), refusesCopies(other.refusesCopies), looks(other.looks) {
        if (refusesCopies) throw std::runtime_error("no copy");
        ++alive;
    }
    Body& operator=(const Body&) = delete;
    ~Body() {
        if (looks) lockHeldAtDeletion = IsLockHeld();
        --alive;
    }

    std::vector<int> values;
    bool refusesCopies = false;
    bool looks = false;
};

TEST(CopyOnWrite, SharesUntilWritten) {
    {
        CopyOnWrite<Body> a(std::in_place, 3);
        CopyOnWrite<Body> b = a;
        CopyOnWrite<Body> c = b;
        EXPECT_EQ(alive, 1);
        EXPECT_TRUE(a.SharesWith(b) && a.SharesWith(c) && a.IsShared());

        c.Write().values[0] = 7;
        EXPECT_EQ(alive, 2);
        EXPECT_EQ(a.Read().values[0], 1);
        EXPECT_EQ(b.Read().values[0], 1);
        EXPECT_EQ(c.Read().values[0], 7);

        const Body* own = &c.Read();
        EXPECT_EQ(&c.Write(), own) << "a body of one handle is changed in place";
        a = c;
        b = a;
        EXPECT_EQ(alive, 1);
        CopyOnWrite<Body>& same = a;
        a = same;
        EXPECT_EQ(a.Read().values[0], 7);
    }
    EXPECT_EQ(alive, 0);
}

TEST(CopyOnWrite, FailedCopyLeavesEverything) {
    {
        CopyOnWrite<Body> a(std::in_place, 1);
        a.Write().refusesCopies = true;
        CopyOnWrite<Body> b = a;
        EXPECT_THROW(static_cast<void>(b.Write()), std::runtime_error);
        EXPECT_TRUE(b.SharesWith(a));
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

TEST(CopyOnWrite, DeletesOutsideTheLock) {
    { CopyOnWrite<Body>().Write().looks = true; }
    EXPECT_FALSE(lockHeldAtDeletion);
}

// Many threads copy, drop and change handles of one body: each sees its own changes only, and every body goes.
TEST(CopyOnWrite, HandlesOfOneBodyOnManyThreads) {
    constexpr int Rounds = 2000;
    std::atomic<int> wrong = 0;
    {
        const CopyOnWrite<Body> original(std::in_place, 8);
        std::vector<std::thread> threads;
        threads.reserve(4);
        for (int id = 2; id < 6; ++id) {
            threads.emplace_back([&wrong, mine = original, id]() mutable {
                for (int round = 0; round < Rounds; ++round) {
                    CopyOnWrite<Body> seen = mine;
                    CopyOnWrite<Body> changed = seen;
                    for (int& value : changed.Write().values) value = id * Rounds + round;
                    if (seen.Read().values != mine.Read().values) ++wrong;
                    mine = changed;
                    for (const int value : mine.Read().values) wrong += value != id * Rounds + round;
                    if (round % 16 == 0) mine = seen;
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(original.Read().values, std::vector<int>(8, 1));
        EXPECT_FALSE(original.IsShared());
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(alive, 0);
}

// One handle that two threads take copies of under their lock, and replace, as a publisher does.
TEST(CopyOnWrite, PublishedHandle) {
    {
        pt::mutex control;
        CopyOnWrite<Body> published(std::in_place, 4);
        std::atomic<int> torn = 0;
        std::vector<std::thread> threads;
        threads.reserve(4);
        for (int id = 0; id < 4; ++id) {
            threads.emplace_back([&, id] {
                for (int round = 0; round < 2000; ++round) {
                    pt::mutexlock lock(control);
                    CopyOnWrite<Body> mine = published;
                    if (id == 0) {
                        for (int& value : published.Write().values) ++value;
                    }
                    lock.Close();
                    for (const int value : mine.Read().values) torn += value != mine.Read().values[0];
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(torn, 0);
        EXPECT_EQ(published.Read().values[3], 2001);
    }
    EXPECT_EQ(alive, 0);
}

}  // namespace
