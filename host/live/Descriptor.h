// Descriptor: a file descriptor that closes itself.
#pragma once

#include <string>
#include <utility>

namespace Host {

// What the system says about an error number, in English as all else here, whatever the locale.
[[nodiscard]] std::string SystemWords(int error);

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int file) : file_(file) {}
    Descriptor(Descriptor&& other) noexcept : file_(std::exchange(other.file_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            Close();
            file_ = std::exchange(other.file_, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Close(); }

    // -1 when there is none.
    [[nodiscard]] int Get() const { return file_; }
    [[nodiscard]] bool IsOpen() const { return file_ >= 0; }
    void Close();

private:
    int file_ = -1;
};

}  // namespace Host
