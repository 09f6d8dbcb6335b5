#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/Lock.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

static_assert(std::is_trivially_destructible_v<pt::rwlock> && std::is_trivially_destructible_v<pt::mutex>);

// Made while the program loads, before any constructor runs.
constinit pt::rwlock atLoad;

// Runs on a thread of its own and says whether it has come to its end.
class Runner {
public:
    template <class Work>
    explicit Runner(Work work)
        : thread_([this, work] {
              work();
              done_ = true;
          }) {}
    ~Runner() { thread_.join(); }
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    [[nodiscard]] bool IsDone() const { return done_; }
    // Long enough that a thread which does not have to wait has come to its end.
    [[nodiscard]] bool IsStuck() const {
        std::this_thread::sleep_for(50ms);
        return !done_;
    }

private:
    std::atomic<bool> done_ = false;
    std::thread thread_;
};

TEST(Mutex, IsTakenAgainByItsHolderOnly) {
    pt::mutex mutex;
    mutex.Lock();
    pt::mutexlock again(mutex);
    again.Close();
    again.Close();
    Runner other([&] { const pt::mutexlock lock(mutex); });
    EXPECT_TRUE(other.IsStuck());
    mutex.Unlock();
}

TEST(RWLock, ReadersShareAndWritersExclude) {
    pt::readlock reading(atLoad);
    std::atomic<bool> shared = false;
    {
        const Runner reader([&] {
            const pt::readlock lock(atLoad);
            shared = true;
        });
    }
    EXPECT_TRUE(shared);
    const Runner writer([&] { const pt::writelock lock(atLoad); });
    EXPECT_TRUE(writer.IsStuck());
    reading.Close();
}

TEST(RWLock, ReaderReadsAgainWhileAWriterWaits) {
    pt::rwlock rw;
    pt::readlock first(rw);
    Runner writer([&] { const pt::writelock lock(rw); });
    EXPECT_TRUE(writer.IsStuck());
    Runner late([&] { const pt::readlock lock(rw); });
    EXPECT_TRUE(late.IsStuck()) << "a reader that comes while a writer waits stays behind it";
    {
        const pt::readlock second(rw);
        const pt::readlock third(rw);
    }
    EXPECT_FALSE(writer.IsDone());
    first.Close();
}

TEST(RWLock, WriterWritesAndReadsAgain) {
    pt::rwlock rw;
    rw.WriteLock();
    rw.WriteLock();
    rw.ReadLock();
    rw.ReadUnlock();
    rw.WriteUnlock();
    Runner reader([&] { const pt::readlock lock(rw); });
    EXPECT_TRUE(reader.IsStuck());
    rw.WriteUnlock();
}

TEST(RWLock, WriterGoesOnAsReader) {
    pt::rwlock rw;
    rw.WriteLock();
    rw.ReadLock();
    rw.WriteUnlock();
    std::atomic<bool> shared = false;
    {
        const Runner reader([&] {
            const pt::readlock lock(rw);
            shared = true;
        });
    }
    EXPECT_TRUE(shared);
    Runner writer([&] { const pt::writelock lock(rw); });
    EXPECT_TRUE(writer.IsStuck());
    rw.ReadUnlock();
}

// Readers check that two numbers agree, writers change both; every kind of nesting takes part.
TEST(RWLock, KeepsAllWritesAndShowsNoHalfOnes) {
    constexpr int NmrWrites = 2000;
    pt::rwlock rw;
    std::int64_t a = 0;
    std::int64_t b = 0;
    std::atomic<int> torn = 0;
    std::atomic<int> writersLeft = 3;
    std::vector<std::thread> threads;
    threads.reserve(6);
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&, i] {
            for (int n = 0; n < NmrWrites; ++n) {
                rw.WriteLock();
                ++a;
                if (i == 0) {
                    const pt::writelock again(rw);
                    const pt::readlock reading(rw);
                    if (a != b + 1) ++torn;
                }
                ++b;
                const std::int64_t seen = a;
                if (i == 1) rw.ReadLock();
                rw.WriteUnlock();
                if (i == 1) {
                    if (a != seen) ++torn;
                    rw.ReadUnlock();
                }
            }
            --writersLeft;
        });
    }
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (writersLeft > 0) {
                const pt::readlock outer(rw);
                const std::int64_t seen = a;
                const pt::readlock inner(rw);
                if (a != b || a != seen) ++torn;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(a, 3 * NmrWrites);
    EXPECT_EQ(b, 3 * NmrWrites);
}

// Readers that leave no gap between them must not keep a writer out, nor writers a reader. The limit is far above what
// is needed (see bench/Lock_bench.cpp), and far below for ever.
TEST(RWLock, NeitherSideStarves) {
    pt::rwlock rw;
    std::atomic<bool> stop = false;
    const auto worst = [&](auto lockOnce) {
        steady_clock::duration longest{};
        for (int i = 0; i < 100; ++i) {
            const auto start = steady_clock::now();
            lockOnce();
            longest = std::max(longest, steady_clock::now() - start);
        }
        return longest;
    };
    const auto busy = [&](auto work) {
        std::array<std::thread, 2> threads{std::thread(work), std::thread(work)};
        return threads;
    };

    auto readers = busy([&] {
        while (!stop) const pt::readlock lock(rw);
    });
    EXPECT_LT(worst([&] { const pt::writelock lock(rw); }), 500ms);
    stop = true;
    for (auto& thread : readers) thread.join();

    stop = false;
    auto writers = busy([&] {
        while (!stop) const pt::writelock lock(rw);
    });
    EXPECT_LT(worst([&] { const pt::readlock lock(rw); }), 500ms);
    stop = true;
    for (auto& thread : writers) thread.join();
}

TEST(RWLock, ManyLocksAtATime) {
    std::array<pt::rwlock, pt::rwlock::MaxHeld> locks;
    for (pt::rwlock& lock : locks) lock.ReadLock();
    locks.front().ReadLock();
    for (pt::rwlock& lock : locks) lock.ReadUnlock();
    Runner writer([&] { const pt::writelock lock(locks.front()); });
    EXPECT_TRUE(writer.IsStuck());
    locks.front().ReadUnlock();
    const pt::writelock last(locks.back());
}

TEST(RWLockDeathTest, FaultsOfTheProgramEndIt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    struct Fault {
        const char* message;
        void (*commit)();
    };
    constexpr Fault faults[] = {
        {"asks for the write lock",
         [] {
             pt::rwlock rw;
             rw.ReadLock();
             rw.WriteLock();
         }},
        {"releases a read lock that it does not hold",
         [] {
             pt::rwlock rw;
             rw.WriteLock();
             rw.ReadUnlock();
         }},
        {"releases a write lock that it does not hold",
         [] {
             pt::rwlock rw;
             rw.ReadLock();
             rw.WriteUnlock();
         }},
        {"too many locks",
         [] {
             std::array<pt::rwlock, pt::rwlock::MaxHeld + 1> locks;
             for (pt::rwlock& lock : locks) lock.ReadLock();
         }},
    };
    for (const Fault& fault : faults) EXPECT_DEATH(fault.commit(), fault.message);
}

}  // namespace
