// FileLock: says to other processes that this one uses something that stands on the disk.
#pragma once

#include <cstdint>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane {

// A file that one holder at a time has locked, with the number of its process as text. The system takes the lock off
// when the process ends, however it ends: what a killed process leaves behind is taken over by the next. Two objects of
// one process exclude each other as well.
//
// The file is made when the lock is taken and removed when it is released. A file system without locks refuses nobody.
// Processes that are forked, and run no other program, share the lock until the last of them ends. An object is used by
// one thread at a time.
class GNSS_EXPORT FileLock {
public:
    enum Result : std::int32_t {
        Taken = 0,
        Held = 1,    // another holder has it
        Failed = 2,  // the file cannot be made or locked
    };

    FileLock() = default;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock() { Release(); }

    // Takes the lock of a file without waiting for it; the one that was taken before is released.
    [[nodiscard]] Result Take(const String& path);
    void Release();

    // Whether the lock was taken and its file still stands there: one that has been removed, perhaps with its folder,
    // keeps nobody off.
    [[nodiscard]] bool IsTaken() const;
    // After Held: the process that has the lock; 0 when the file does not say.
    [[nodiscard]] std::int64_t GetHolder() const { return holder_; }
    // After Failed: "cannot lock /data/a.lock: Read-only file system".
    [[nodiscard]] const String& GetFailure() const { return failure_; }

private:
    Result Fail(int error);

    String path_;
    int file_ = -1;
    std::int64_t taker_ = 0;  // the process that took the lock
    std::int64_t holder_ = 0;
    String failure_;
};

}  // namespace Corvane
