#include "gnss/platform/FileLock.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>

#include <sys/file.h>
#include <sys/stat.h>

namespace Corvane {

namespace {

// A file of another user can be locked without the right to write to it.
int OpenOrMake(const char* path) {
    constexpr int Flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const int file = open(path, O_RDWR | O_CREAT | Flags, 0666);
    return file < 0 && errno == EACCES ? open(path, O_RDONLY | Flags) : file;
}

// Whether a path still leads to an open file.
bool IsPathOf(const char* path, int file) {
    struct stat byPath {};
    struct stat byFile {};
    return lstat(path, &byPath) == 0 && fstat(file, &byFile) == 0 && byPath.st_dev == byFile.st_dev &&
           byPath.st_ino == byFile.st_ino;
}

// What a holder has written; 0 when it is no number.
std::int64_t ReadNumber(int file) {
    std::array<char, 32> text{};
    const ssize_t length = pread(file, text.data(), text.size(), 0);
    std::int64_t number = 0;
    if (length > 0) std::from_chars(text.data(), text.data() + length, number);
    return number;
}

// That it cannot be written, on a full disk, leaves the lock as good as it is.
void WriteNumber(int file, std::int64_t number) {
    const std::string text = std::to_string(number) + '\n';
    if (ftruncate(file, 0) == 0 && pwrite(file, text.data(), text.size(), 0) < 0) return;
}

}  // namespace

FileLock::Result FileLock::Take(const String& path) {
    constexpr int MaxTries = 100;
    Release();
    path_ = path;
    holder_ = 0;
    failure_.Clear();
    if (path.View().find('\0') != std::string_view::npos) return Fail(EINVAL);
    for (int i = 0; i < MaxTries; ++i) {
        const int file = OpenOrMake(path.c_str());
        if (file < 0) {
            if (errno == EINTR) continue;
            return Fail(errno);
        }
        const int error = flock(file, LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
        if (error == EWOULDBLOCK) holder_ = ReadNumber(file);
        // A file that its holder removed between the two steps locks nothing.
        if (error == EINTR || !IsPathOf(path.c_str(), file)) {
            close(file);
            continue;
        }
        if (error != 0 && error != ENOLCK && error != EOPNOTSUPP && error != ENOSYS) {
            close(file);
            return error == EWOULDBLOCK ? Held : Fail(error);
        }
        file_ = file;
        taker_ = getpid();
        WriteNumber(file, taker_);
        return Taken;
    }
    return Fail(EAGAIN);
}

bool FileLock::IsTaken() const {
    return file_ >= 0 && IsPathOf(path_.c_str(), file_);
}

void FileLock::Release() {
    if (file_ < 0) return;
    // Removed before it is unlocked, so that nobody can have locked it meanwhile. A forked process leaves it to the one
    // that took it.
    if (getpid() == taker_ && IsTaken()) unlink(path_.c_str());
    close(file_);
    file_ = -1;
}

FileLock::Result FileLock::Fail(int error) {
    const char* reason = strerrordesc_np(error);
    failure_ = String("cannot lock ") + path_ + ": " + (reason != nullptr ? reason : "unknown error");
    return Failed;
}

}  // namespace Corvane
