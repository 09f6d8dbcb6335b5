#include "host/receiver/Inflate.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <utility>

namespace Host {

namespace {

// Bytes that grow to at most limit + 1: the one more tells too large from just full.
class Buffer {
public:
    explicit Buffer(std::size_t limit) : limit_(limit < std::numeric_limits<std::size_t>::max() ? limit + 1 : limit) {}

    // Room for more behind what is used; false when there is no memory or the limit is reached.
    bool Grow(std::size_t wish) {
        const std::size_t size = std::min(limit_, std::max(wish, size_ < limit_ / 2 ? size_ * 2 : limit_));
        if (size <= size_) return false;
        std::unique_ptr<char[]> grown(new (std::nothrow) char[size]);
        if (!grown) return false;
        if (used > 0) std::memcpy(grown.get(), bytes.get(), used);
        bytes = std::move(grown);
        size_ = size;
        return true;
    }
    [[nodiscard]] std::size_t Room() const { return size_ - used; }
    [[nodiscard]] bool IsBeyondLimit() const { return used >= limit_; }

    std::unique_ptr<char[]> bytes;
    std::size_t used = 0;

private:
    std::size_t limit_;
    std::size_t size_ = 0;
};

}  // namespace

Inflated Inflate(std::string_view packed, std::size_t limit) {
    using State = Inflated::State;
    GzipStream stream;
    Buffer buffer(limit);
    Inflated result;
    // Logs and products compress to a fifth or so.
    std::size_t wish = std::max<std::size_t>(packed.size() < limit / 6 ? packed.size() * 6 : limit, 4096);
    bool isOver = false;
    while (!isOver) {
        if (buffer.Room() == 0 && !buffer.Grow(wish)) {
            result.state = buffer.IsBeyondLimit() ? State::TooLarge : State::NoMemory;
            return result;
        }
        wish = 0;
        std::span<char> room(buffer.bytes.get() + buffer.used, buffer.Room());
        const GzipStream::State state = stream.Step(packed, room);
        buffer.used = buffer.used + buffer.Room() - room.size();
        isOver = !room.empty() || (state != GzipStream::State::Open && state != GzipStream::State::Whole);
    }
    if (buffer.IsBeyondLimit()) {
        result.state = State::TooLarge;
        return result;
    }
    switch (stream.Finish()) {
        case GzipStream::State::Whole:
            result.state = State::Whole;
            break;
        case GzipStream::State::Damaged:
            result.state = State::Damaged;
            return result;
        case GzipStream::State::NoMemory:
            result.state = State::NoMemory;
            return result;
        default:
            result.state = State::Cut;
    }
    result.bytes = std::move(buffer.bytes);
    result.size = buffer.used;
    return result;
}

}  // namespace Host
