#include "gnss/platform/SafeFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <unistd.h>
#include <utility>

#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace Corvane {

namespace {

constexpr std::string_view TempSuffix = ".tmp";
constexpr std::size_t NmrDigits = 16;
// Of a target's name, what its temporary names repeat: with the rest they fit into the 255 bytes of a file name.
constexpr std::size_t MaxStem = 200;

// Calls a function of the system again for as long as signals interrupt it.
template <class Call>
auto Retry(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

std::string TempPrefix(const std::string& name) {
    return '.' + name.substr(0, MaxStem) + '.';
}

bool IsTempName(std::string_view file, std::string_view prefix) {
    return file.size() == prefix.size() + NmrDigits + TempSuffix.size() && file.starts_with(prefix) &&
           file.ends_with(TempSuffix) &&
           file.substr(prefix.size(), NmrDigits).find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// A name that nobody has used. False when the system gives no random number, with errno.
bool MakeTempName(const std::string& name, std::string& temp) {
    std::uint64_t number = 0;
    if (Retry([&] { return getrandom(&number, sizeof number, 0); }) != sizeof number) return false;
    temp = TempPrefix(name);
    for (std::size_t i = 0; i < NmrDigits; ++i) temp += "0123456789abcdef"[(number >> (4 * i)) & 15U];
    temp += TempSuffix;
    return true;
}

// Whether a name in a folder still stands for an open file.
bool IsNameOf(int folder, const char* name, int file) {
    struct stat byName {};
    struct stat byFile {};
    return fstatat(folder, name, &byName, AT_SYMLINK_NOFOLLOW) == 0 && fstat(file, &byFile) == 0 &&
           byName.st_dev == byFile.st_dev && byName.st_ino == byFile.st_ino;
}

// Follows symbolic links in a path's last part; what they lead to need not exist. False with errno in a circle.
bool FollowLinks(std::string& path) {
    constexpr int MaxLinks = 40;
    std::array<char, PATH_MAX> text{};
    for (int i = 0; i < MaxLinks; ++i) {
        const ssize_t length = readlink(path.c_str(), text.data(), text.size());
        if (length < 0) return true;  // no link, or nothing at all: what is wrong with it shows when it is used
        const std::string_view target(text.data(), static_cast<std::size_t>(length));
        const std::size_t slash = path.rfind('/');
        if (!target.starts_with('/') && slash != std::string::npos) {
            path.replace(slash + 1, std::string::npos, target);
        } else {
            path = target;
        }
    }
    errno = ELOOP;
    return false;
}

// Gives a new file the owner, the group and the permissions of the one that it will replace. A file that cannot be
// given to the owner or the group loses the right to run as them, and another group gets no rights in the old group's
// place.
bool CopyOwnerAndMode(const struct stat& from, int to) {
    struct stat now {};
    if (fstat(to, &now) != 0) return false;
    mode_t mode = from.st_mode & 07777U;
    if (now.st_uid != from.st_uid || now.st_gid != from.st_gid) {
        if (fchown(to, from.st_uid, from.st_gid) != 0) {
            mode &= 0777U;
            if (fchown(to, now.st_uid, from.st_gid) != 0) mode &= 0707U;
        }
    }
    return fchmod(to, mode) == 0;
}

}  // namespace

bool SafeFile::Open(const String& path) {
    Discard();
    path_ = path;
    failure_.Clear();
    if (!OpenFolder()) return false;

    struct stat target {};
    const bool exists = fstatat(folder_, name_.c_str(), &target, AT_SYMLINK_NOFOLLOW) == 0;
    if (!exists && errno != ENOENT) return Fail("open", errno);
    if (exists && !S_ISREG(target.st_mode)) return Fail("open", S_ISDIR(target.st_mode) ? EISDIR : EINVAL);
    // Replacing needs no right to write to the file, only to its folder; but who protects a file means it.
    if (exists && faccessat(folder_, name_.c_str(), W_OK, AT_EACCESS) != 0) return Fail("open", errno);
    RemoveLeftOvers();
    if (!Create(exists)) return false;
    if (exists && !CopyOwnerAndMode(target, file_)) return Fail("open", errno);
    return true;
}

bool SafeFile::OpenFolder() {
    std::string full = path_.str();
    if (full.find('\0') != std::string::npos) return Fail("open", EINVAL);
    if (!FollowLinks(full)) return Fail("open", errno);
    const std::size_t slash = full.rfind('/');
    name_ = slash == std::string::npos ? full : full.substr(slash + 1);
    if (name_.empty()) return Fail("open", full.empty() ? ENOENT : EISDIR);
    const std::string folder = slash == std::string::npos ? "." : full.substr(0, slash + 1);
    folder_ = Retry([&] { return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    return folder_ >= 0 || Fail("open", errno);
}

// Removes what crashes have left beside the target. Failures matter to nobody: the next Open tries again.
void SafeFile::RemoveLeftOvers() const {
    const int list = Retry([&] { return openat(folder_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (list < 0) return;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(list), closedir);
    if (!entries) {
        close(list);
        return;
    }
    const std::string prefix = TempPrefix(name_);
    while (const dirent* entry = readdir(entries.get())) {
        if (!IsTempName(entry->d_name, prefix)) continue;
        const int file =
            Retry([&] { return openat(folder_, entry->d_name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); });
        if (file < 0) continue;
        // Who writes holds the lock as long as it lives. One that commits between these steps has renamed the file:
        // then the name is gone, and names are not used twice.
        if (Retry([&] { return flock(file, LOCK_EX | LOCK_NB); }) == 0 && IsNameOf(folder_, entry->d_name, file)) {
            unlinkat(folder_, entry->d_name, 0);
        }
        close(file);
    }
}

// Makes the file of the new content and locks it.
bool SafeFile::Create(bool exists) {
    constexpr int MaxTries = 100;
    // What replaces a file is nobody else's to read until it has that file's permissions; 0666 is cut by the umask.
    const mode_t mode = exists ? 0600 : 0666;
    for (int i = 0; i < MaxTries; ++i) {
        std::string temp;
        if (!MakeTempName(name_, temp)) return Fail("open", errno);
        const int file = Retry(
            [&] { return openat(folder_, temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode); });
        if (file < 0) {
            if (errno == EEXIST) continue;
            return Fail("open", errno);
        }
        // Another object may have taken the new file for a left-over before it was locked; then it is gone. A file
        // system that has no locks removes no left-overs either.
        Retry([&] { return flock(file, LOCK_EX); });
        if (!IsNameOf(folder_, temp.c_str(), file)) {
            close(file);
            continue;
        }
        file_ = file;
        temp_ = std::move(temp);
        return true;
    }
    return Fail("open", EEXIST);
}

bool SafeFile::Write(std::span<const std::byte> bytes) {
    if (!IsOpen()) return Fail("write", EBADF);
    while (!bytes.empty()) {
        const ssize_t written = Retry([&] { return write(file_, bytes.data(), bytes.size()); });
        if (written <= 0) return Fail("write", written == 0 ? ENOSPC : errno);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

bool SafeFile::Commit() {
    if (!IsOpen()) return Fail("write", EBADF);
    if (Retry([&] { return fsync(file_); }) != 0) return Fail("write", errno);
    if (renameat(folder_, temp_.c_str(), folder_, name_.c_str()) != 0) return Fail("replace", errno);
    temp_.clear();
    // The new content is in place; that it stays there over a power cut takes this. Some file systems cannot be asked,
    // and answer EINVAL.
    if (Retry([&] { return fsync(folder_); }) != 0 && errno != EINVAL) return Fail("sync the folder of", errno);
    CloseAll();
    return true;
}

void SafeFile::Discard() {
    if (!temp_.empty()) unlinkat(folder_, temp_.c_str(), 0);
    temp_.clear();
    CloseAll();
}

void SafeFile::Discard(const char* action, const String& reason) {
    Discard();
    failure_ = String("cannot ") + action + " " + path_ + ": " + reason;
}

// Keeps the reason and ends; always false.
bool SafeFile::Fail(const char* action, int error) {
    const char* reason = strerrordesc_np(error);
    Discard(action, reason != nullptr ? reason : "unknown error");
    return false;
}

void SafeFile::CloseAll() {
    if (file_ >= 0) close(file_);
    if (folder_ >= 0) close(folder_);
    file_ = -1;
    folder_ = -1;
}

}  // namespace Corvane
