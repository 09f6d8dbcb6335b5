#include "host/report/Sink.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <sys/stat.h>

namespace Host {

namespace {

constexpr std::size_t BufferSize = std::size_t{256} * 1024;

// A device or a pipe cannot be replaced; a link would be, and what it leads to left as it was.
bool CanBeReplaced(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

}  // namespace

Sink::Sink(const std::string& path, Mode mode) : name_(path.empty() || path == "-" ? "standard output" : path) {
    const bool isFile = !path.empty() && path != "-";
    if (isFile && mode == Mode::Whole && CanBeReplaced(path)) part_ = path + ".part";
    const std::string& opened = part_.empty() ? path : part_;
    const int begin = mode == Mode::Added ? O_APPEND : O_TRUNC;
    file_ = isFile ? ::open(opened.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | begin, 0666) : STDOUT_FILENO;
    struct stat info {};
    isContinued_ = isFile && mode == Mode::Added && file_ >= 0 && ::fstat(file_, &info) == 0 && info.st_size > 0;
    if (file_ < 0) {
        Fail("cannot be written");
        part_.clear();
    }
    buffer_.resize(BufferSize);
}

Sink::~Sink() {
    if (part_.empty()) {
        static_cast<void>(Close());
    } else {
        Discard();
    }
}

char* Sink::Reserve(std::size_t size) {
    if (buffer_.size() - used_ < size) Flush();
    if (buffer_.size() < size) buffer_.resize(size);
    return buffer_.data() + used_;
}

void Sink::Write(std::string_view text) {
    std::ranges::copy(text, Reserve(text.size()));
    Advance(text.size());
}

void Sink::Flush() {
    std::string_view rest(buffer_.data(), used_);
    while (!rest.empty() && IsGood()) {
        if (isStopped_ && !WaitForRoom()) break;
        // For so much a pipe that has room does not block.
        const std::size_t size = isStopped_ ? std::min<std::size_t>(rest.size(), PIPE_BUF) : rest.size();
        const ssize_t written = ::write(file_, rest.data(), size);
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            Fail("cannot be written");
        }
    }
    used_ = 0;
}

// False, and it has failed, when it is stopped before there is any.
bool Sink::WaitForRoom() {
    constexpr int Patience = 200;  // ms
    pollfd room{file_, POLLOUT, 0};
    while (::poll(&room, 1, isStopped_() ? 0 : Patience) <= 0) {
        if (!isStopped_()) continue;
        if (error_.empty()) error_ = name_ + ": nobody took the last of what was written";
        return false;
    }
    return true;
}

void Sink::Fail(const char* what) {
    if (!error_.empty()) return;
    // In English, whatever the locale: messages are one language.
    const char* reason = ::strerrordesc_np(errno);
    error_ = name_ + ": " + what + ": " + (reason != nullptr ? reason : "unknown error");
}

std::string Sink::Close() {
    if (file_ >= 0) {
        Flush();
        if (file_ != STDOUT_FILENO && ::close(file_) != 0) Fail("cannot be closed");
        file_ = -1;
    }
    if (!part_.empty() && IsGood() && std::rename(part_.c_str(), name_.c_str()) != 0) Fail("cannot be made");
    if (!part_.empty() && !IsGood()) ::unlink(part_.c_str());
    part_.clear();
    return error_;
}

void Sink::Discard() {
    if (part_.empty()) return;
    used_ = 0;
    if (file_ >= 0) ::close(file_);
    file_ = -1;
    ::unlink(part_.c_str());
    part_.clear();
}

}  // namespace Host
