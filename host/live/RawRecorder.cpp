#include "host/live/RawRecorder.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include <fmt/format.h>
#include <sys/file.h>

namespace Host {

RawRecorder::RawRecorder(std::string path, SteadyClock clock, Tell tell)
    : path_(std::move(path)), clock_(std::move(clock)), tell_(std::move(tell)) {}

bool RawRecorder::Open() {
    if (retry_ && clock_() < *retry_) return false;
    // Never waits: a pipe that nobody reads is a failure like others.
    file_ = Descriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0644));
    if (!file_.IsOpen()) {
        Fail(SystemWords(errno));
        return false;
    }
    // The bytes of two would be a mixture. What knows no locks is no such file.
    if (::flock(file_.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        Fail("another program or source records there");
        return false;
    }
    return true;
}

void RawRecorder::Fail(const std::string& reason) {
    file_.Close();
    // Said when it begins, not at each try.
    if (!retry_) tell_(fmt::format("recording to {} fails: {}; the data go on", path_, reason));
    retry_ = clock_() + Pause;
}

void RawRecorder::Write(std::string_view bytes) {
    if (!file_.IsOpen() && !Open()) {
        nmrLost_ += static_cast<std::int64_t>(bytes.size());
        return;
    }
    while (!bytes.empty()) {
        const ssize_t written = ::write(file_.Get(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            nmrLost_ += static_cast<std::int64_t>(bytes.size());
            Fail(SystemWords(written < 0 ? errno : ENOSPC));
            return;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    if (!retry_) return;
    retry_.reset();
    tell_(fmt::format("records to {} again; {} bytes are missing so far", path_, nmrLost_));
}

}  // namespace Host
