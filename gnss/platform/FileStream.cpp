#include "gnss/platform/FileStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

#include <sys/stat.h>

#include "gnss/platform/Event.h"

namespace Corvane {

namespace {

constexpr std::size_t BufferSize = 65536;

}  // namespace

FileInput::FileInput(const String& path, ByteOrder) : path_(path) {
    if (path.View().find('\0') != std::string_view::npos) {
        Report(EINVAL);
        return;
    }
    do {
        file_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);  // a pipe's writer is not waited for
    } while (file_ < 0 && errno == EINTR);
    struct stat status {};
    if (file_ < 0) {
        if (errno != ENOENT) Report(errno);
    } else if (fstat(file_, &status) == 0 && !S_ISREG(status.st_mode)) {
        Close();
        Report(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    } else {
        buffer_.resize(BufferSize);
    }
}

FileInput::~FileInput() {
    Close();
}

bool FileInput::IsAtEnd() {
    if (!IsValid()) return true;
    if (rest_.empty()) Fill();
    return rest_.empty();
}

void FileInput::Close() {
    if (file_ >= 0) close(file_);
    file_ = -1;
    rest_ = {};
}

void FileInput::ReadBytes(std::span<std::byte> bytes) {
    while (!bytes.empty() && IsValid()) {
        if (rest_.empty()) Fill();
        if (rest_.empty()) failed_ = true;
        const std::size_t count = std::min(bytes.size(), rest_.size());
        std::ranges::copy(rest_.first(count), bytes.begin());
        rest_ = rest_.subspan(count);
        bytes = bytes.subspan(count);
    }
    if (!bytes.empty()) throw Stream::Error("the file " + path_.str() + " ends too early or cannot be read");
}

// Reads on into the empty buffer, which stays empty at the end of the file and on an error.
void FileInput::Fill() {
    ssize_t count = 0;
    do {
        count = read(file_, buffer_.data(), buffer_.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        Report(errno);
        failed_ = true;
        return;
    }
    rest_ = std::span(buffer_).first(static_cast<std::size_t>(count));
}

void FileInput::Report(int error) {
    const char* reason = strerrordesc_np(error);
    Event::AddEvent("File", String("cannot read ") + path_ + ": " + (reason != nullptr ? reason : "unknown error"));
}

FileOutput::FileOutput(const String& path, ByteOrder) {
    if (!file_.Open(path)) {
        Report();
        return;
    }
    buffer_.reserve(BufferSize);
}

FileOutput::~FileOutput() = default;

bool FileOutput::Close() {
    if (!IsOpen()) return done_;
    if (!Flush()) return false;
    done_ = file_.Commit();
    if (!done_) Report();
    return done_;
}

void FileOutput::WriteBytes(std::span<const std::byte> bytes) {
    if (!IsOpen()) throw Stream::Error(done_ ? "the file has been closed" : file_.GetFailure().str());
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), BufferSize - buffer_.size());
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
        bytes = bytes.subspan(count);
        if (buffer_.size() == BufferSize && !Flush()) throw Stream::Error(file_.GetFailure().str());
    }
}

// A file without the value would be taken for a whole one.
void FileOutput::OnRefused(const std::string& what) {
    if (!IsOpen()) return;
    file_.Discard("write", what);
    Report();
}

bool FileOutput::Flush() {
    const bool written = file_.Write(buffer_);
    buffer_.clear();
    if (!written) Report();
    return written;
}

void FileOutput::Report() const {
    Event::AddEvent("File", file_.GetFailure());
}

}  // namespace Corvane
