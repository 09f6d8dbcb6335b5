#include "host/live/Secret.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <sys/stat.h>

#include "host/live/Descriptor.h"

namespace Host {

namespace {

constexpr std::size_t MaxPassword = 1024;

// False with the reason when others than the owner may read what is open.
bool IsPrivate(int file, const std::string& path, const std::string& what, std::string& reason) {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        reason = path + ": " + SystemWords(errno);
        return false;
    }
    if ((status.st_mode & static_cast<unsigned>(S_IRWXG | S_IRWXO)) == 0) return true;
    reason =
        path + ": holds a " + what + ", and others than its owner may use the file; chmod 600 makes it yours alone";
    return false;
}

Descriptor OpenFile(const std::string& path, std::string& reason) {
    Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) reason = path + ": " + SystemWords(errno);
    return file;
}

bool ReadFirstLine(const std::string& path, const std::string& what, Secret& password, std::string& reason) {
    const Descriptor file = OpenFile(path, reason);
    if (!file.IsOpen() || !IsPrivate(file.Get(), path, what, reason)) return false;
    std::array<char, MaxPassword + 2> room{};
    std::size_t size = 0;
    while (size < room.size()) {
        const ssize_t nmr = ::read(file.Get(), &room[size], room.size() - size);
        if (nmr < 0 && errno == EINTR) continue;
        if (nmr < 0) {
            reason = path + ": " + SystemWords(errno);
            return false;
        }
        if (nmr == 0) break;
        size += static_cast<std::size_t>(nmr);
    }
    std::string line(room.data(), size);
    ::explicit_bzero(room.data(), room.size());
    if (const std::size_t end = line.find_first_of(std::string("\r\n\0", 3)); end != std::string::npos) {
        // Wiped before it is cut off: the rest may be a secret of its own.
        ::explicit_bzero(&line[end], line.size() - end);
        line.resize(end);
    }
    password = Secret(std::move(line));
    if (!password.IsEmpty() && password.Reveal().size() <= MaxPassword) return true;
    reason = path + (password.IsEmpty() ? ": the first line, which is the " + what + ", is empty"
                                        : ": the first line is too long for a " + what);
    password = Secret();
    return false;
}

}  // namespace

Secret& Secret::operator=(const Secret& other) {
    if (this != &other) {
        Wipe();
        text_ = other.text_;
    }
    return *this;
}

Secret& Secret::operator=(Secret&& other) noexcept {
    if (this != &other) {
        Wipe();
        text_ = std::move(other.text_);
        other.Wipe();
    }
    return *this;
}

void Secret::Wipe() {
    // A short string that was moved from lies in its own room still.
    text_.resize(text_.capacity());
    ::explicit_bzero(text_.data(), text_.size());
    text_.clear();
}

bool FindPassword(const PasswordPlaces& places, Secret& password, std::string& reason) {
    password = Secret();
    bool isGood = true;
    if (!places.file.empty()) {
        isGood = ReadFirstLine(places.file, places.what, password, reason);
    } else if (const char* variable = places.variable != nullptr ? std::getenv(places.variable) : nullptr;
               variable != nullptr && *variable != 0) {
        password = Secret(variable);
    } else if (!places.configured.IsEmpty()) {
        const Descriptor file = OpenFile(places.configFile, reason);
        isGood = file.IsOpen() && IsPrivate(file.Get(), places.configFile, places.what, reason);
        if (isGood) password = places.configured;
    }
    if (!isGood) reason = std::string(places.GetPlace()) + ": " + reason;
    return isGood;
}

}  // namespace Host
