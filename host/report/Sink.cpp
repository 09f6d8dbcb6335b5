#include "host/report/Sink.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Host {

namespace {

constexpr std::size_t BufferSize = std::size_t{256} * 1024;

}  // namespace

Sink::Sink(const std::string& path) : name_(path.empty() || path == "-" ? "standard output" : path) {
    file_ = path.empty() || path == "-" ? STDOUT_FILENO
                                        : ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file_ < 0) Fail("cannot be written");
    buffer_.resize(BufferSize);
}

Sink::~Sink() {
    static_cast<void>(Close());
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
        const ssize_t written = ::write(file_, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            Fail("cannot be written");
        }
    }
    used_ = 0;
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
    return error_;
}

}  // namespace Host
