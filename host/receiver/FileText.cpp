#include "host/receiver/FileText.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#include <sys/mman.h>
#include <sys/stat.h>

#include "host/receiver/Inflate.h"

namespace Host {

namespace {

class Descriptor {
public:
    explicit Descriptor(const std::string& path) : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int Get() const { return fd_; }

private:
    int fd_;
};

// The system's words for its last error, in English as all else here, whatever the locale.
std::string SystemReason() {
    const char* words = ::strerrordesc_np(errno);
    return words != nullptr ? words : "the system gives no reason";
}

struct Bytes {
    std::shared_ptr<const char> data;
    std::size_t size = 0;
};

// Null when the system refuses.
Bytes Map(int fd, std::size_t size) {
    if (size == 0) return {};
    void* address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (address == MAP_FAILED) return {};
    ::madvise(address, size, MADV_SEQUENTIAL);
    return {std::shared_ptr<const char>(static_cast<const char*>(address),
                                        [size](const char* p) { ::munmap(const_cast<char*>(p), size); }),
            size};
}

// Everything up to the end. False with the reason when reading fails or there is more than the limit.
bool ReadAll(int fd, std::size_t limit, Bytes& bytes, std::string& reason) {
    const auto all = std::make_shared<std::vector<char>>();
    std::size_t used = 0;
    while (true) {
        if (used == all->size()) all->resize(used + std::max<std::size_t>(used, 65536));
        const ssize_t got = ::read(fd, all->data() + used, all->size() - used);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            reason = SystemReason();
            return false;
        }
        if (got == 0) break;
        used += static_cast<std::size_t>(got);
        if (used > limit) {
            reason = "holds more than " + std::to_string(limit) + " bytes";
            return false;
        }
    }
    bytes = {std::shared_ptr<const char>(all, all->data()), used};
    return true;
}

bool ReadDescriptor(int fd, std::size_t limit, Bytes& bytes, std::string& reason) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        reason = SystemReason();
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        reason = "is a folder";
        return false;
    }
    if (S_ISREG(status.st_mode)) {
        bytes = Map(fd, static_cast<std::size_t>(status.st_size));
        if (bytes.data) return true;
    }
    // Empty files, also those of /proc that say they are, and file systems that cannot map.
    return ReadAll(fd, limit, bytes, reason);
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

const char* Reason(Inflated::State state) {
    switch (state) {
        case Inflated::State::Damaged:
            return "its compressed data are damaged";
        case Inflated::State::NoMemory:
            return "its compressed data need more memory than there is";
        default:
            return nullptr;
    }
}

}  // namespace

bool FileText::Open(const std::string& path, FileError& error, std::size_t maxInflated) {
    *this = FileText();
    error = {path, 0, {}};
    const Descriptor descriptor(path);
    if (descriptor.Get() < 0) {
        error.reason = SystemReason();
        return false;
    }
    Bytes bytes;
    if (!ReadDescriptor(descriptor.Get(), maxInflated, bytes, error.reason)) return false;
    const std::string_view raw(bytes.data.get(), bytes.size);
    if (const char* other = OtherCompression(raw)) {
        error.reason = std::string("is compressed with ") + other + "; plain text and gzip are read";
        return false;
    }
    if (IsGzip(raw)) {
        Inflated inflated = Inflate(raw, maxInflated);
        if (inflated.state == Inflated::State::TooLarge) {
            error.reason = "its compressed data hold more than " + std::to_string(maxInflated) + " bytes";
            return false;
        }
        if (const char* reason = Reason(inflated.state)) {
            error.reason = reason;
            return false;
        }
        cut_ = inflated.state == Inflated::State::Cut;
        size_ = inflated.size;
        const std::shared_ptr<const char[]> owner(std::move(inflated.bytes));
        bytes_ = std::shared_ptr<const char>(owner, owner.get());
        return true;
    }
    bytes_ = std::move(bytes.data);
    size_ = bytes.size;
    return true;
}

void WarnIfCut(const FileText& file, Warnings& warnings) {
    if (file.IsCut()) warnings.Add(0, "the compressed data end early; what could be read of them is used");
}

}  // namespace Host
