#include "gnss/platform/SetAside.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

#include <sys/stat.h>

namespace Corvane {

namespace {

// The system's error number, 0 for none; EEXIST when the new name is taken.
int RenameToNew(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // A file system that cannot do this in one step: for a moment the file has both names.
    return link(from, to) == 0 && unlink(from) == 0 ? 0 : errno;
}

}  // namespace

SetAsideResult SetAside(const String& path, const String& ending) {
    constexpr int MaxNumber = 1000;
    SetAsideResult result;
    struct stat status {};
    int error = path.View().find('\0') != std::string_view::npos ? EINVAL : 0;
    if (error == 0 && lstat(path.c_str(), &status) != 0) error = errno;
    if (error == 0 && S_ISDIR(status.st_mode)) error = EISDIR;
    if (error == 0 && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) error = EINVAL;
    for (int number = 1; error == 0; ++number) {
        const String other = path + ending + (number == 1 ? String() : String("-") + String::FormatInt(number));
        error = RenameToNew(path.c_str(), other.c_str());
        if (error == 0) {
            result.path = other;
            break;
        }
        if (error == EEXIST && number < MaxNumber) error = 0;
    }
    result.isFree = error == 0 || error == ENOENT;
    if (!result.isFree) {
        const char* reason = strerrordesc_np(error);
        result.failure = String("cannot rename ") + path + ": " + (reason != nullptr ? reason : "unknown error");
    }
    return result;
}

}  // namespace Corvane
