#include "host/report/RunFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace Host {

namespace {

constexpr std::string_view Suffix = ".run";
constexpr std::size_t NmrDigits = 16;
constexpr std::size_t MaxStem = 200;  // of the target's name: a file name has 255 bytes

std::string ReasonOf(int error) {
    const char* reason = ::strerrordesc_np(error);
    return reason != nullptr ? reason : "unknown error";
}

std::string Join(const std::string& folder, std::string_view name) {
    std::string path = folder;
    path += '/';
    path += name;
    return path;
}

// The names in a folder, sorted; false with errno.
bool List(const std::string& folder, std::vector<std::string>& names) {
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(folder.c_str()), ::closedir);
    if (!entries) return false;
    names.clear();
    while (const dirent* entry = ::readdir(entries.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    std::ranges::sort(names);
    return true;
}

// A folder of plain files. Failures leave it for the next run to remove.
void Remove(const std::string& folder) {
    std::vector<std::string> names;
    if (!List(folder, names)) return;
    for (const std::string& name : names) ::unlink(Join(folder, name).c_str());
    ::rmdir(folder.c_str());
}

bool Sync(const std::string& path, int flags) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags);
    if (file < 0) return false;
    // Some file systems cannot be asked, and answer EINVAL.
    const bool isDone = ::fsync(file) == 0 || errno == EINVAL;
    const int error = errno;
    ::close(file);
    errno = error;
    return isDone;
}

bool IsWorkName(std::string_view name, std::string_view prefix) {
    return name.size() == prefix.size() + NmrDigits + Suffix.size() && name.starts_with(prefix) &&
           name.ends_with(Suffix) &&
           name.substr(prefix.size(), NmrDigits).find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

int Lock(const std::string& folder) {
    const int file = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (file >= 0 && ::flock(file, LOCK_EX | LOCK_NB) != 0) {
        ::close(file);
        return -1;
    }
    return file;
}

void RemoveLeftOvers(const std::string& parent, const std::string& prefix) {
    std::vector<std::string> names;
    if (!List(parent, names)) return;
    for (const std::string& name : names) {
        if (!IsWorkName(name, prefix)) continue;
        const std::string path = Join(parent, name);
        const int lock = Lock(path);
        if (lock < 0) continue;
        Remove(path);
        ::close(lock);
    }
}

std::string RealPath(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), ::free);
    return real ? std::string(real.get()) : std::string();
}

}  // namespace

std::string RunFolder::Fail(const char* what, int error) const {
    return target_ + ": " + what + ": " + ReasonOf(error);
}

std::string RunFolder::Open(const std::string& target, bool overwrite, const std::vector<std::string>& names) {
    Discard();
    target_ = target;
    std::string path = target;
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    if (path.empty() || path.find('\0') != std::string::npos) return "a folder for the output has no name";

    struct stat info {};
    exists_ = ::stat(path.c_str(), &info) == 0;
    if (!exists_ && errno != ENOENT) return Fail("cannot be used", errno);
    if (exists_) {
        if (!S_ISDIR(info.st_mode)) return target_ + ": is not a folder";
        place_ = RealPath(path);
        if (place_.empty()) return Fail("cannot be used", errno);
        if (place_ == RealPath(".") || place_ == "/")
            return target_ + ": is the working folder; name a folder that can be replaced as a whole";
        std::vector<std::string> present;
        if (!List(place_, present)) return Fail("cannot be read", errno);
        if (!present.empty() && !overwrite)
            return target_ + ": is there already; --overwrite replaces it, another name keeps it";
        for (const std::string& name : present) {
            const bool isKnown = std::ranges::find(names, name) != names.end();
            if (!isKnown || ::lstat(Join(place_, name).c_str(), &info) != 0 || !S_ISREG(info.st_mode))
                return target_ + ": holds \"" + name + "\", which no run has written; it is not overwritten";
        }
        if (::access(place_.c_str(), W_OK) != 0) return Fail("cannot be replaced", errno);
    } else {
        const std::size_t slash = path.rfind('/');
        const std::string parent = RealPath(slash == std::string::npos ? "." : path.substr(0, slash + 1));
        if (parent.empty()) return Fail("cannot be made", errno);
        place_ = (parent == "/" ? parent : parent + '/') + (slash == std::string::npos ? path : path.substr(slash + 1));
        // A link that leads nowhere would be replaced.
        if (::lstat(place_.c_str(), &info) == 0) return target_ + ": is a link that leads nowhere";
    }
    const std::size_t slash = place_.rfind('/');
    parent_ = slash == 0 ? "/" : place_.substr(0, slash);
    const std::string prefix = '.' + place_.substr(slash + 1, MaxStem) + '.';
    RemoveLeftOvers(parent_, prefix);

    constexpr int MaxTries = 100;
    for (int i = 0; i < MaxTries; ++i) {
        std::uint64_t number = 0;
        if (::getrandom(&number, sizeof number, 0) != sizeof number) return Fail("cannot be made", errno);
        std::string work = parent_ + '/' + prefix;
        for (std::size_t digit = 0; digit < NmrDigits; ++digit)
            work += "0123456789abcdef"[(number >> (4 * digit)) & 15U];
        work += Suffix;
        if (::mkdir(work.c_str(), 0777) != 0) {
            if (errno == EEXIST) continue;
            return Fail("cannot be made", errno);
        }
        // Another run may take the new folder for a left-over before it is locked.
        lock_ = Lock(work);
        struct stat now {};
        if (lock_ < 0 || ::stat(work.c_str(), &now) != 0) {
            if (lock_ >= 0) ::close(lock_);
            lock_ = -1;
            continue;
        }
        work_ = work;
        return {};
    }
    return Fail("cannot be made", EEXIST);
}

std::vector<std::string> RunFolder::KeepLeftOvers(const std::string& parent) {
    std::vector<std::string> kept;
    std::vector<std::string> names;
    if (!List(parent, names)) return kept;
    constexpr std::size_t Tail = 1 + NmrDigits + Suffix.size();
    for (const std::string& name : names) {
        if (name.size() <= Tail + 1 || !name.starts_with('.') || name[name.size() - Tail] != '.') continue;
        if (!IsWorkName(name, name.substr(0, name.size() - Tail + 1))) continue;
        const std::string path = Join(parent, name);
        const int lock = Lock(path);
        if (lock < 0) continue;
        const std::string stem = Join(parent, name.substr(1, name.size() - Tail - 1)) + "_interrupted";
        std::string target = stem;
        constexpr int MaxTries = 1000;
        // An empty one would be replaced, too.
        struct stat info {};
        for (int i = 2; ::lstat(target.c_str(), &info) == 0 && i < MaxTries; ++i)
            target = stem + '_' + std::to_string(i);
        if (::rename(path.c_str(), target.c_str()) == 0) kept.push_back(target);
        ::close(lock);
    }
    return kept;
}

std::string RunFolder::PathOf(std::string_view name) const {
    return Join(work_, name);
}

std::string RunFolder::Explain(std::string failure) const {
    for (std::size_t at = failure.find(work_); !work_.empty() && at != std::string::npos; at = failure.find(work_))
        failure.replace(at, work_.size(), target_);
    return failure;
}

std::string RunFolder::Commit() {
    if (!IsOpen()) return target_ + ": is not open";
    const auto fail = [this](const char* what) {
        const int error = errno;
        Discard();
        return Fail(what, error);
    };
    std::vector<std::string> names;
    if (!List(work_, names)) return fail("cannot be written");
    for (const std::string& name : names) {
        if (!Sync(PathOf(name), O_NOFOLLOW)) return fail("cannot be written");
    }
    if (!Sync(work_, O_DIRECTORY)) return fail("cannot be written");
    struct stat info {};
    if (exists_ && ::stat(place_.c_str(), &info) == 0) {
        static_cast<void>(::chmod(work_.c_str(), info.st_mode & 07777U));
        // Both change places, so that there is a whole folder at every moment; the old one is removed as what is given
        // up. A file system that cannot do this sets the old one aside first.
        if (::renameat2(AT_FDCWD, work_.c_str(), AT_FDCWD, place_.c_str(), RENAME_EXCHANGE) != 0) {
            if (errno != EINVAL && errno != ENOSYS) return fail("cannot be replaced");
            const std::string old = work_.substr(0, work_.size() - Suffix.size()) + "old" + std::string(Suffix);
            if (::rename(place_.c_str(), old.c_str()) != 0) return fail("cannot be replaced");
            if (::rename(work_.c_str(), place_.c_str()) != 0) {
                const int error = errno;
                static_cast<void>(::rename(old.c_str(), place_.c_str()));
                errno = error;
                return fail("cannot be replaced");
            }
            work_ = old;
        }
        static_cast<void>(Sync(parent_, O_DIRECTORY));
        Discard();
        return {};
    }
    // Fails when somebody has put a folder with files there meanwhile.
    if (::rename(work_.c_str(), place_.c_str()) != 0) return fail("cannot be made");
    work_.clear();
    const bool isSynced = Sync(parent_, O_DIRECTORY);
    const int error = errno;
    Discard();
    return isSynced ? std::string() : Fail("may not outlast a power cut", error);
}

void RunFolder::Discard() {
    if (!work_.empty()) Remove(work_);
    work_.clear();
    if (lock_ >= 0) ::close(lock_);
    lock_ = -1;
}

}  // namespace Host
