// ChunkDecoder: the chunked transfer coding of HTTP/1.1 (RFC 9112, section 7.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace Host {

// Bytes may come in pieces of any size; the content is passed on as it comes, and nothing is kept. Extensions and
// trailers are skipped.
class ChunkDecoder {
public:
    using OnContent = std::function<void(std::string_view)>;
    // The longest line of a size with its extensions, and all trailers together.
    static constexpr std::size_t MaxLine = 1024;
    static constexpr std::size_t MaxTrailers = 8192;
    // A larger chunk is taken for damage.
    static constexpr std::uint64_t MaxChunk = std::uint64_t{1} << 31U;

    // Content after the end, and after a fault, is not looked at.
    void Feed(std::string_view bytes, const OnContent& onContent);
    // The last chunk has come, with what follows it.
    [[nodiscard]] bool IsEnded() const { return state_ == State::Ended; }
    [[nodiscard]] bool IsDamaged() const { return state_ == State::Damaged; }

private:
    enum class State : std::uint8_t { Size, Extension, SizeEnd, Content, ContentEnd, Trailer, Ended, Damaged };
    [[nodiscard]] State Take(char c);
    [[nodiscard]] State TakeSize(char c);
    [[nodiscard]] State TakeTrailer(char c);

    State state_ = State::Size;
    std::uint64_t size_ = 0;      // of the chunk; then what is left of it
    std::size_t nmrDigits_ = 0;   // of the size
    std::size_t lineLength_ = 0;  // so far
    std::size_t trailers_ = 0;    // bytes
    bool hasReturn_ = false;      // the last character was a carriage return
};

}  // namespace Host
