#include "host/source/InputBytes.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <span>
#include <unistd.h>

#include <sys/stat.h>

namespace Host {

namespace {

// The system's words for its last error, in English as all else here, whatever the locale.
std::string SystemReason() {
    const char* words = ::strerrordesc_np(errno);
    return words != nullptr ? words : "the system gives no reason";
}

// Forms that people meet with such files, by their first bytes; null for none of them.
const char* OtherCompression(std::string_view data) {
    if (data.starts_with("\x1f\x9d")) return "compress (.Z)";
    if (data.starts_with("PK\x03\x04")) return "zip";
    if (data.starts_with("BZh")) return "bzip2";
    if (data.starts_with("\xfd"
                         "7zXZ"))
        return "xz";
    if (data.starts_with("\x28\xb5\x2f\xfd")) return "zstd";
    return nullptr;
}

// By which a file's form is known.
constexpr std::size_t EnoughForForm = 8;

}  // namespace

InputBytes::~InputBytes() {
    if (isOwn_) ::close(file_);
}

bool InputBytes::Open(const std::string& path, FileError& error) {
    error = {path == StandardInput ? "standard input" : path, 0, {}};
    file_ = path == StandardInput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    isOwn_ = path != StandardInput && file_ >= 0;
    struct stat status {};
    if (file_ < 0 || ::fstat(file_, &status) != 0) {
        error.reason = SystemReason();
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        error.reason = "is a folder";
        return false;
    }
    if (S_ISREG(status.st_mode)) size_ = status.st_size;
    raw_ = std::make_unique<char[]>(PieceSize);
    atEnd_ = false;
    // A pipe may give its first bytes one by one.
    while (packed_.size() < EnoughForForm && ReadRaw()) {
    }
    if (!failure_.empty()) {
        error.reason = failure_;
        return false;
    }
    if (const char* other = OtherCompression(packed_)) {
        error.reason = std::string("is compressed with ") + other + "; plain text and gzip are read";
        return false;
    }
    if (IsGzip(packed_)) {
        gzip_ = std::make_unique<GzipStream>();
        room_ = std::make_unique<char[]>(PieceSize);
    }
    return true;
}

// False when the run is to stop before there is anything to read. A signal may come just before the wait begins, which
// is why that is never long.
bool InputBytes::WaitForMore() const {
    constexpr int WaitMS = 100;
    if (!isStopped_ || size_ > 0) return true;
    pollfd ready{file_, POLLIN, 0};
    while (!isStopped_()) {
        if (const int number = ::poll(&ready, 1, WaitMS); number > 0 || (number < 0 && errno != EINTR)) return true;
    }
    return false;
}

// Adds the file's next bytes to what is left; false at the end and when the system fails.
bool InputBytes::ReadRaw() {
    if (packed_.empty()) packed_ = {raw_.get(), 0};
    const auto used = static_cast<std::size_t>(packed_.data() + packed_.size() - raw_.get());
    if (!WaitForMore()) {
        failure_ = "stopped by a signal";
        return false;
    }
    ssize_t got = -1;
    do {
        got = ::read(file_, raw_.get() + used, PieceSize - used);
    } while (got < 0 && errno == EINTR);
    if (got < 0) failure_ = SystemReason();
    if (got <= 0) return false;
    nmrRead_ += got;
    packed_ = {packed_.data(), packed_.size() + static_cast<std::size_t>(got)};
    return true;
}

std::string_view InputBytes::Next() {
    while (!atEnd_) {
        if (packed_.empty() && !isRoomFull_ && !ReadRaw()) {
            atEnd_ = true;
            if (gzip_ && failure_.empty()) cut_ = gzip_->Finish() == GzipStream::State::Cut;
            break;
        }
        if (!gzip_) {
            const std::string_view piece = packed_;
            packed_ = {};
            return piece;
        }
        std::span<char> room(room_.get(), PieceSize);
        const GzipStream::State state = gzip_->Step(packed_, room);
        isRoomFull_ = room.empty();
        if (state == GzipStream::State::Damaged || state == GzipStream::State::NoMemory) {
            failure_ = state == GzipStream::State::Damaged ? "its compressed data are damaged"
                                                           : "its compressed data need more memory than there is";
            atEnd_ = true;
        }
        if (room.size() < PieceSize) return {room_.get(), PieceSize - room.size()};
    }
    return {};
}

}  // namespace Host
