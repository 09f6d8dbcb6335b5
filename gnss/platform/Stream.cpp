#include "gnss/platform/Stream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <limits>

namespace Corvane::Stream {

namespace {

template <std::unsigned_integral Word>
std::array<std::byte, sizeof(Word)> ToLittleEndian(Word word) {
    std::array<std::byte, sizeof(Word)> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::byte>(word >> (8 * i));
    return bytes;
}

template <std::unsigned_integral Word>
Word FromLittleEndian(const std::array<std::byte, sizeof(Word)>& bytes) {
    Word word = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        word = static_cast<Word>(word | (static_cast<Word>(bytes[i]) << (8 * i)));
    }
    return word;
}

}  // namespace

Error::~Error() = default;
Output::~Output() = default;
Input::~Input() = default;

void Output::OnRefused(const std::string&) {}

void Output::Refuse(const std::string& what) {
    OnRefused(what);
    throw Error(what);
}

void Output::WriteChar(char value) {
    WriteUChar(static_cast<std::uint8_t>(value));
}
void Output::WriteUChar(std::uint8_t value) {
    WriteBytes(ToLittleEndian(value));
}
void Output::WriteBool(bool value) {
    WriteUChar(value ? 1 : 0);
}
void Output::WriteShort(std::int16_t value) {
    WriteBytes(ToLittleEndian(static_cast<std::uint16_t>(value)));
}
void Output::WriteInt(std::int32_t value) {
    WriteBytes(ToLittleEndian(static_cast<std::uint32_t>(value)));
}

void Output::WriteIntAsShort(std::int32_t value) {
    using Limits = std::numeric_limits<std::int16_t>;
    if (value < Limits::min() || value > Limits::max()) {
        Refuse("the number " + std::to_string(value) + " does not fit into 16 bits");
    }
    WriteShort(static_cast<std::int16_t>(value));
}

void Output::WriteULong(std::uint32_t value) {
    WriteBytes(ToLittleEndian(value));
}
void Output::WriteFloat(float value) {
    WriteBytes(ToLittleEndian(std::bit_cast<std::uint32_t>(value)));
}
void Output::WriteDouble(double value) {
    WriteBytes(ToLittleEndian(std::bit_cast<std::uint64_t>(value)));
}
void Output::WriteAngle(Angle value) {
    WriteDouble(value.Radians());
}

void Output::WriteString(const String& value) {
    if (value.Length() > std::numeric_limits<std::uint32_t>::max()) Refuse("the text is too long for a stream");
    WriteULong(static_cast<std::uint32_t>(value.Length()));
    WriteBytes(std::as_bytes(std::span(value.str())));
}

char Input::ReadChar() {
    return static_cast<char>(ReadUChar());
}

std::uint8_t Input::ReadUChar() {
    std::array<std::byte, 1> bytes{};
    ReadBytes(bytes);
    return FromLittleEndian<std::uint8_t>(bytes);
}

bool Input::ReadBool() {
    return ReadUChar() != 0;
}

std::int16_t Input::ReadShort() {
    std::array<std::byte, 2> bytes{};
    ReadBytes(bytes);
    return static_cast<std::int16_t>(FromLittleEndian<std::uint16_t>(bytes));
}

std::int32_t Input::ReadInt() {
    return static_cast<std::int32_t>(ReadULong());
}

std::uint32_t Input::ReadULong() {
    std::array<std::byte, 4> bytes{};
    ReadBytes(bytes);
    return FromLittleEndian<std::uint32_t>(bytes);
}

float Input::ReadFloat() {
    return std::bit_cast<float>(ReadULong());
}

double Input::ReadDouble() {
    std::array<std::byte, 8> bytes{};
    ReadBytes(bytes);
    return std::bit_cast<double>(FromLittleEndian<std::uint64_t>(bytes));
}

Angle Input::ReadAngle() {
    return Angle(ReadDouble());
}

String Input::ReadString() {
    // In pieces: a damaged length must end at the end of the data, not at the end of the memory.
    constexpr std::size_t Piece = 4096;
    std::size_t left = ReadULong();
    std::string text;
    while (left > 0) {
        const std::size_t start = text.size();
        const std::size_t count = std::min(left, Piece);
        text.resize(start + count);
        ReadBytes(std::as_writable_bytes(std::span(text).subspan(start)));
        left -= count;
    }
    return text;
}

void MemoryOutput::WriteBytes(std::span<const std::byte> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void MemoryInput::ReadBytes(std::span<std::byte> bytes) {
    if (bytes.size() > rest_.size()) throw Error("the data ends too early");
    std::ranges::copy(rest_.first(bytes.size()), bytes.begin());
    rest_ = rest_.subspan(bytes.size());
}

}  // namespace Corvane::Stream
