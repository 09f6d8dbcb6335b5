// Typed binary streams in one fixed little-endian form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane::Stream {

// A read that ran out of data or a write that failed.
class GNSS_EXPORT Error : public std::runtime_error {
public:
    explicit Error(const std::string& what) : std::runtime_error(what) {}
    ~Error() override;
};

// Runs what reads or writes a record: false when it throws, as streams do, otherwise what it returns, or true.
template <typename Function>
bool Succeeds(Function function) noexcept {
    try {
        if constexpr (std::is_void_v<decltype(function())>) {
            function();
            return true;
        } else {
            return function();
        }
    } catch (...) {
        return false;
    }
}

// Writes values one after the other: integers of 8, 16 and 32 bits in two's complement, float and double in IEEE 754,
// all little-endian; bool as one byte 0 or 1; an angle as its radians in double; a string as its length in 32 bits and
// its bytes. Every operation throws Error when the bytes cannot be written.
class GNSS_EXPORT Output {
public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output();

    void WriteChar(char value);
    void WriteUChar(std::uint8_t value);
    void WriteBool(bool value);
    void WriteShort(std::int16_t value);
    void WriteInt(std::int32_t value);
    // An int in the 16-bit form; Error when it does not fit.
    void WriteIntAsShort(std::int32_t value);
    void WriteULong(std::uint32_t value);
    void WriteFloat(float value);
    void WriteDouble(double value);
    void WriteAngle(Angle value);
    void WriteString(const String& value);

protected:
    // Writes all the bytes or throws Error.
    virtual void WriteBytes(std::span<const std::byte> bytes) = 0;
    // Called before Error is thrown for a value that the stream's form cannot hold, of which WriteBytes hears nothing:
    // what has been written so far lacks it.
    virtual void OnRefused(const std::string& what);

private:
    [[noreturn]] void Refuse(const std::string& what);
};

// Reads what Output writes, in the same order. Every operation throws Error when the stream ends first.
class GNSS_EXPORT Input {
public:
    Input() = default;
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    virtual ~Input();

    [[nodiscard]] char ReadChar();
    [[nodiscard]] std::uint8_t ReadUChar();
    [[nodiscard]] bool ReadBool();  // any byte but 0 is true
    [[nodiscard]] std::int16_t ReadShort();
    [[nodiscard]] std::int32_t ReadInt();
    // An int from the 16-bit form.
    [[nodiscard]] std::int32_t ReadShortAsInt() { return ReadShort(); }
    [[nodiscard]] std::uint32_t ReadULong();
    [[nodiscard]] float ReadFloat();
    [[nodiscard]] double ReadDouble();
    [[nodiscard]] Angle ReadAngle();
    [[nodiscard]] String ReadString();

protected:
    // Fills all the bytes or throws Error.
    virtual void ReadBytes(std::span<std::byte> bytes) = 0;
};

// Writes to memory.
class GNSS_EXPORT MemoryOutput : public Output {
public:
    [[nodiscard]] const std::vector<std::byte>& Bytes() const { return bytes_; }

protected:
    void WriteBytes(std::span<const std::byte> bytes) override;

private:
    std::vector<std::byte> bytes_;
};

// Reads from memory, which must outlive the stream.
class GNSS_EXPORT MemoryInput : public Input {
public:
    explicit MemoryInput(std::span<const std::byte> bytes) : rest_(bytes) {}
    // Bytes not yet read.
    [[nodiscard]] std::size_t NmrLeft() const { return rest_.size(); }

protected:
    void ReadBytes(std::span<std::byte> bytes) override;

private:
    std::span<const std::byte> rest_;
};

}  // namespace Corvane::Stream
