#include "host/live/ChunkDecoder.h"

#include <algorithm>

namespace Host {

namespace {

// -1 for what is no hexadecimal digit.
int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

void ChunkDecoder::Feed(std::string_view bytes, const OnContent& onContent) {
    while (!bytes.empty() && state_ != State::Ended && state_ != State::Damaged) {
        if (state_ != State::Content) {
            state_ = Take(bytes.front());
            bytes.remove_prefix(1);
            continue;
        }
        const std::string_view content = bytes.substr(
            0, static_cast<std::size_t>(std::min<std::uint64_t>(size_, static_cast<std::uint64_t>(bytes.size()))));
        bytes.remove_prefix(content.size());
        size_ -= content.size();
        if (size_ == 0) state_ = State::ContentEnd;
        onContent(content);
    }
}

ChunkDecoder::State ChunkDecoder::Take(char c) {
    switch (state_) {
        case State::Size:
            return TakeSize(c);
        case State::Extension:
            if (c == '\n') break;
            return ++lineLength_ <= MaxLine ? State::Extension : State::Damaged;
        case State::SizeEnd:
            if (c != '\n') return State::Damaged;
            break;
        case State::ContentEnd:
            if (c == '\r' && !hasReturn_) {
                hasReturn_ = true;
                return State::ContentEnd;
            }
            hasReturn_ = false;
            nmrDigits_ = 0;
            lineLength_ = 0;
            return c == '\n' ? State::Size : State::Damaged;
        default:
            return TakeTrailer(c);
    }
    // The line of the size has ended.
    lineLength_ = 0;
    return size_ > 0 ? State::Content : State::Trailer;
}

ChunkDecoder::State ChunkDecoder::TakeSize(char c) {
    if (++lineLength_ > MaxLine) return State::Damaged;
    if (const int digit = HexDigit(c); digit >= 0) {
        size_ = (nmrDigits_++ == 0 ? 0 : size_ * 16) + static_cast<std::uint64_t>(digit);
        return size_ <= MaxChunk ? State::Size : State::Damaged;
    }
    if (nmrDigits_ == 0) return State::Damaged;
    if (c == '\r') return State::SizeEnd;
    if (c == ';' || c == ' ' || c == '\t') return State::Extension;
    if (c != '\n') return State::Damaged;
    lineLength_ = 0;
    return size_ > 0 ? State::Content : State::Trailer;
}

// The trailers end with an empty line.
ChunkDecoder::State ChunkDecoder::TakeTrailer(char c) {
    if (++trailers_ > MaxTrailers) return State::Damaged;
    if (c == '\r') return State::Trailer;
    if (c != '\n') {
        ++lineLength_;
        return State::Trailer;
    }
    if (lineLength_ == 0) return State::Ended;
    lineLength_ = 0;
    return State::Trailer;
}

}  // namespace Host
