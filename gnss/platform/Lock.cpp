#include "gnss/platform/Lock.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <tuple>
#include <utility>

namespace pt {

namespace {

// What this thread holds of one lock.
struct Held {
    const rwlock* lock;
    std::atomic<std::uint32_t>* counter;  // where the thread counts as a reader; null while it holds the write lock
    std::uint32_t reads;
    std::uint32_t writes;
};

// Everything that this thread holds. Needs neither construction nor destruction, so that the library can be unloaded
// while threads that have used it live on.
struct Thread {
    std::size_t nmrHeld;
    std::array<Held, rwlock::MaxHeld> held;

    // The latest first: locks are mostly nested.
    Held* Find(const rwlock& lock) {
        for (std::size_t i = nmrHeld; i-- > 0;) {
            if (held[i].lock == &lock) return &held[i];
        }
        return nullptr;
    }
    void Remove(Held& entry) { entry = held[--nmrHeld]; }
};

constinit thread_local Thread thisThread{};

[[noreturn]] void Fail(const char* what) {
    std::fprintf(stderr, "pt::rwlock: %s\n", what);
    std::abort();
}

void Add(Thread& thread, const Held& entry) {
    thread.held[thread.nmrHeld++] = entry;
}

void CheckRoom(const Thread& thread) {
    if (thread.nmrHeld == rwlock::MaxHeld) Fail("a thread holds too many locks at a time");
}

// Holds a lock's inner mutex, which no code but that of this file runs under.
class StateLock {
public:
    explicit StateLock(pthread_mutex_t& state) : state_(state) { pthread_mutex_lock(&state_); }
    ~StateLock() { pthread_mutex_unlock(&state_); }
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

    void Wait(pthread_cond_t& condition) { pthread_cond_wait(&condition, &state_); }

private:
    pthread_mutex_t& state_;
};

}  // namespace

// The handshake. A reader counts itself in and then looks whether the lock is closed; a writer closes the lock and then
// looks at the counts. All four steps are sequentially consistent, so that at least one of the two sees the other. A
// reader that sees the lock closed takes its count back and waits: a count that the writer has seen at 0 never again
// stands for a reader inside. A thread that is inside does not count again, so it never meets a closed lock.

void rwlock::ReadLock() {
    Thread& thread = thisThread;
    if (Held* held = thread.Find(*this)) {
        ++held->reads;
        return;
    }
    CheckRoom(thread);
    std::atomic<std::uint32_t>& counter = NearestCounter();
    counter.fetch_add(1, std::memory_order_seq_cst);
    if (closed_.load(std::memory_order_seq_cst)) WaitToRead(counter);
    Add(thread, {this, &counter, 1, 0});
}

void rwlock::ReadUnlock() {
    Thread& thread = thisThread;
    Held* held = thread.Find(*this);
    if (held == nullptr || held->reads == 0) Fail("a thread releases a read lock that it does not hold");
    if (--held->reads > 0 || held->writes > 0) return;
    std::atomic<std::uint32_t>& counter = *held->counter;
    thread.Remove(*held);
    counter.fetch_sub(1, std::memory_order_seq_cst);
    if (closed_.load(std::memory_order_seq_cst)) TellWriter();
}

void rwlock::WriteLock() {
    Thread& thread = thisThread;
    if (Held* held = thread.Find(*this)) {
        if (held->writes == 0)
            Fail("a thread that holds a read lock asks for the write lock; release the former first");
        ++held->writes;
        return;
    }
    CheckRoom(thread);
    StateLock state(state_);
    while (closed_.load(std::memory_order_relaxed) || entering_ > 0) state.Wait(turn_);
    closed_.store(true, std::memory_order_seq_cst);
    while (HasReaders()) state.Wait(left_);
    Add(thread, {this, nullptr, 0, 1});
}

void rwlock::WriteUnlock() {
    Thread& thread = thisThread;
    Held* held = thread.Find(*this);
    if (held == nullptr || held->writes == 0) Fail("a thread releases a write lock that it does not hold");
    if (--held->writes > 0) return;
    if (held->reads > 0) {
        held->counter = &NearestCounter();
        held->counter->fetch_add(1, std::memory_order_seq_cst);
    } else {
        thread.Remove(*held);
    }
    const StateLock state(state_);
    closed_.store(false, std::memory_order_seq_cst);
    if (waiting_ > 0) {
        entering_ = std::exchange(waiting_, 0);
        ++openings_;
        pthread_cond_broadcast(&opened_);
    } else {
        pthread_cond_signal(&turn_);
    }
}

// The counter of the processor on which the thread runs. Any counter would do; this one is seldom shared.
std::atomic<std::uint32_t>& rwlock::NearestCounter() {
    return counters_[static_cast<unsigned>(sched_getcpu()) % std::tuple_size_v<decltype(counters_)>].readers;
}

bool rwlock::HasReaders() const {
    return std::ranges::any_of(counters_, [](const Counter& counter) { return counter.readers.load() != 0; });
}

// Takes back a count that met a closed lock, waits until the lock is open, and counts again.
void rwlock::WaitToRead(std::atomic<std::uint32_t>& counter) {
    StateLock state(state_);
    if (!closed_.load(std::memory_order_relaxed))
        return;  // opened meanwhile, and state_ keeps it so: the count is good
    counter.fetch_sub(1, std::memory_order_seq_cst);
    pthread_cond_signal(&left_);
    ++waiting_;
    const std::uint32_t before = openings_;
    while (openings_ == before) state.Wait(opened_);
    counter.fetch_add(1, std::memory_order_seq_cst);
    if (--entering_ == 0) pthread_cond_signal(&turn_);
}

void rwlock::TellWriter() {
    const StateLock state(state_);
    pthread_cond_signal(&left_);
}

}  // namespace pt
