// Bytes with numbers written into them, for messages made by hand.
#pragma once

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <string>

namespace tests {

// The least significant byte first, on machines that do so themselves.
class Bytes {
public:
    explicit Bytes(std::size_t size) : bytes_(size, '\0') {}
    template <typename Number>
    Bytes& Put(std::size_t at, Number number) {
        std::memcpy(bytes_.data() + at, &number, sizeof number);
        return *this;
    }
    Bytes& PutBytes(std::size_t at, std::initializer_list<unsigned> bytes) {
        for (const unsigned byte : bytes) bytes_.at(at++) = static_cast<char>(byte);
        return *this;
    }
    [[nodiscard]] const std::string& Get() const { return bytes_; }

private:
    std::string bytes_;
};

}  // namespace tests
