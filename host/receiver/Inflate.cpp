#include "host/receiver/Inflate.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <zlib.h>

namespace Host {

namespace {

constexpr std::size_t MaxPiece = std::numeric_limits<uInt>::max();  // zlib counts a piece of input or output in this

// The stream's state, freed whichever way the work ends.
class Stream {
public:
    Stream() { ready_ = inflateInit2(&z_, 16 + MAX_WBITS) == Z_OK; }  // 16: gzip, nothing else
    ~Stream() {
        if (ready_) inflateEnd(&z_);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    [[nodiscard]] bool IsReady() const { return ready_; }
    void NextMember() { inflateReset(&z_); }

    // One step from packed into the room; both shrink by what was used. The result is zlib's.
    int Step(std::string_view& packed, char*& room, std::size_t& roomSize) {
        z_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
        z_.avail_in = static_cast<uInt>(std::min(packed.size(), MaxPiece));
        z_.next_out = reinterpret_cast<Bytef*>(room);
        z_.avail_out = static_cast<uInt>(std::min(roomSize, MaxPiece));
        const uInt in = z_.avail_in;
        const uInt out = z_.avail_out;
        const int result = inflate(&z_, Z_NO_FLUSH);
        packed.remove_prefix(in - z_.avail_in);
        room += out - z_.avail_out;
        roomSize -= out - z_.avail_out;
        return result;
    }

private:
    z_stream z_{};
    bool ready_ = false;
};

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

bool IsGzip(std::string_view data) {
    return data.starts_with("\x1f\x8b\x08");
}

Inflated Inflate(std::string_view packed, std::size_t limit) {
    using State = Inflated::State;
    Stream stream;
    Buffer buffer(limit);
    Inflated result;
    const auto end = [&](State state) {
        result.state = state;
        if (state == State::Whole || state == State::Cut) {
            result.bytes = std::move(buffer.bytes);
            result.size = buffer.used;
        }
    };
    if (!stream.IsReady()) {
        end(State::NoMemory);
        return result;
    }
    // Logs and products compress to a fifth or so.
    std::size_t wish = std::max<std::size_t>(packed.size() < limit / 6 ? packed.size() * 6 : limit, 4096);
    while (true) {
        if (buffer.Room() == 0 && !buffer.Grow(wish)) {
            end(buffer.IsBeyondLimit() ? State::TooLarge : State::NoMemory);
            return result;
        }
        wish = 0;
        char* room = buffer.bytes.get() + buffer.used;
        std::size_t roomSize = buffer.Room();
        const int step = stream.Step(packed, room, roomSize);
        buffer.used += buffer.Room() - roomSize;
        if (buffer.IsBeyondLimit()) {
            end(State::TooLarge);
            return result;
        }
        if (step == Z_STREAM_END) {
            if (!IsGzip(packed)) {
                end(State::Whole);
                return result;
            }
            stream.NextMember();
        } else if (step == Z_MEM_ERROR) {
            end(State::NoMemory);
            return result;
        } else if (step != Z_OK && step != Z_BUF_ERROR) {
            end(State::Damaged);
            return result;
        } else if (packed.empty() && roomSize > 0) {
            end(State::Cut);  // zlib has neither input nor, with room left, anything more to give
            return result;
        }
    }
}

}  // namespace Host
