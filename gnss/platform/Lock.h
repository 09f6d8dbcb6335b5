// Locks: a mutex and a reader-writer lock that a thread may take again, with guards that release them.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <pthread.h>

#include "gnss/platform/Export.h"

namespace pt {

// One thread at a time. The thread that holds it may take it again and releases it as often as it took it.
// A constant of any library may use it while libraries load: it is made at compile time and has no destructor.
class mutex {
public:
    constexpr mutex() = default;
    mutex(const mutex&) = delete;
    mutex& operator=(const mutex&) = delete;

    void Lock() { mutex_.lock(); }
    void Unlock() { mutex_.unlock(); }

private:
    std::recursive_mutex mutex_;
};

// Many readers or one writer.
//
// A thread may read-lock again what it read-locks already, whether or not a writer waits; the thread that holds the
// write lock may write-lock and read-lock again. Every lock is released once, by the thread that took it, in any order:
// a writer that releases the write lock before its own read lock goes on as a reader, with no other writer in between.
//
// Neither side starves: readers that come while a writer waits stay behind it, and a writer that leaves lets those
// readers in before the next writer. Who waits sleeps.
//
// These are faults of the program and end it, with a message on standard error, where waiting would never end or the
// lock would break: to ask for the write lock while holding only a read lock (release that first, and look again at
// what was read); to release what the thread does not hold; to hold more than MaxHeld different locks in one thread.
// A lock lives until every call on it has returned, and a thread releases its locks before it ends.
//
// Readers on different processors count themselves in different cache lines, so that they do not slow each other down;
// a writer looks at all of them. Made at compile time and without a destructor, as mutex.
class GNSS_EXPORT rwlock {
public:
    // Different reader-writer locks that one thread may hold at a time.
    static constexpr std::size_t MaxHeld = 32;

    constexpr rwlock() = default;
    rwlock(const rwlock&) = delete;
    rwlock& operator=(const rwlock&) = delete;

    void ReadLock();
    void ReadUnlock();
    void WriteLock();
    void WriteUnlock();

private:
    struct alignas(64) Counter {
        std::atomic<std::uint32_t> readers = 0;
    };

    [[nodiscard]] std::atomic<std::uint32_t>& NearestCounter();
    [[nodiscard]] bool HasReaders() const;
    void WaitToRead(std::atomic<std::uint32_t>& counter);
    void TellWriter();

    std::array<Counter, 16> counters_;
    // A writer waits for the readers to leave, or holds the lock. Changes only under state_.
    std::atomic<bool> closed_ = false;

    pthread_mutex_t state_ = PTHREAD_MUTEX_INITIALIZER;  // guards what follows; held for moments only
    pthread_cond_t opened_ = PTHREAD_COND_INITIALIZER;   // waited for by readers
    pthread_cond_t left_ = PTHREAD_COND_INITIALIZER;     // by the writer that has closed the lock: a reader left
    pthread_cond_t turn_ = PTHREAD_COND_INITIALIZER;     // by the writers behind it
    std::uint32_t waiting_ = 0;                          // readers that wait for opened_
    std::uint32_t entering_ = 0;                         // of these, let in by the last writer but not awake yet
    std::uint32_t openings_ = 0;                         // how often a writer has opened the lock again
};

// Holds a mutex until the end of the scope, or until it is closed.
class [[nodiscard]] mutexlock {
public:
    explicit mutexlock(mutex& lock) : lock_(&lock) { lock.Lock(); }
    ~mutexlock() { Close(); }
    mutexlock(const mutexlock&) = delete;
    mutexlock& operator=(const mutexlock&) = delete;

    void Close() {
        if (lock_ != nullptr) lock_->Unlock();
        lock_ = nullptr;
    }

private:
    mutex* lock_;
};

// Holds the read lock until the end of the scope, or until it is closed.
class [[nodiscard]] readlock {
public:
    explicit readlock(rwlock& lock) : lock_(&lock) { lock.ReadLock(); }
    ~readlock() { Close(); }
    readlock(const readlock&) = delete;
    readlock& operator=(const readlock&) = delete;

    void Close() {
        if (lock_ != nullptr) lock_->ReadUnlock();
        lock_ = nullptr;
    }

private:
    rwlock* lock_;
};

// Holds the write lock until the end of the scope, or until it is closed.
class [[nodiscard]] writelock {
public:
    explicit writelock(rwlock& lock) : lock_(&lock) { lock.WriteLock(); }
    ~writelock() { Close(); }
    writelock(const writelock&) = delete;
    writelock& operator=(const writelock&) = delete;

    void Close() {
        if (lock_ != nullptr) lock_->WriteUnlock();
        lock_ = nullptr;
    }

private:
    rwlock* lock_;
};

}  // namespace pt
