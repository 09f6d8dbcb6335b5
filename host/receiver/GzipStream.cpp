#include "host/receiver/GzipStream.h"

#include <algorithm>
#include <limits>
#include <new>
#include <zlib.h>

namespace Host {

namespace {

constexpr std::size_t MaxPiece = std::numeric_limits<uInt>::max();  // zlib counts a piece of input or output in this
constexpr std::size_t RoomSize = std::size_t{64} * 1024;
constexpr std::string_view Mark = "\x1f\x8b\x08";  // the beginning of a member

}  // namespace

struct GzipStream::Inflater {
    Inflater() { isReady = inflateInit2(&z, 16 + MAX_WBITS) == Z_OK; }  // 16: gzip, nothing else
    ~Inflater() {
        if (isReady) inflateEnd(&z);
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    // zlib's result.
    int Step(std::string_view& packed, std::span<char>& room) {
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
        z.avail_in = static_cast<uInt>(std::min(packed.size(), MaxPiece));
        z.next_out = reinterpret_cast<Bytef*>(room.data());
        z.avail_out = static_cast<uInt>(std::min(room.size(), MaxPiece));
        const uInt in = z.avail_in;
        const uInt out = z.avail_out;
        const int result = inflate(&z, Z_NO_FLUSH);
        packed.remove_prefix(in - z.avail_in);
        room = room.subspan(out - z.avail_out);
        return result;
    }

    z_stream z{};
    bool isReady = false;
};

bool IsGzip(std::string_view data) {
    return data.starts_with(Mark);
}

GzipStream::GzipStream() : inflater_(new (std::nothrow) Inflater) {
    if (!inflater_ || !inflater_->isReady) state_ = State::NoMemory;
}

GzipStream::~GzipStream() = default;

// Behind a member: whether another begins. Its mark may come in pieces.
void GzipStream::LookForMember(std::string_view& packed) {
    while (!isOver_ && !packed.empty() && nmrMarks_ < Mark.size()) {
        isOver_ = packed.front() != Mark[nmrMarks_++];
        packed.remove_prefix(1);
    }
    if (isOver_) packed = {};
    if (isOver_ || nmrMarks_ < Mark.size()) return;
    nmrMarks_ = 0;
    state_ = State::Open;
    inflateReset(&inflater_->z);
    // The mark is spent already, but zlib wants it, too; it gives nothing for it.
    std::string_view mark = Mark;
    char nowhere = 0;
    std::span<char> room(&nowhere, 1);
    static_cast<void>(inflater_->Step(mark, room));
}

GzipStream::State GzipStream::Step(std::string_view& packed, std::span<char>& room) {
    while (state_ == State::Open || state_ == State::Whole) {
        if (state_ == State::Whole) {
            LookForMember(packed);
            if (state_ == State::Whole) break;
        }
        const std::size_t before = packed.size() + room.size();
        switch (inflater_->Step(packed, room)) {
            case Z_OK:
            case Z_BUF_ERROR:
                break;
            case Z_STREAM_END:
                state_ = State::Whole;
                continue;
            case Z_MEM_ERROR:
                state_ = State::NoMemory;
                break;
            default:
                state_ = State::Damaged;
        }
        if (room.empty() || packed.size() + room.size() == before) break;
    }
    return state_;
}

GzipStream::State GzipStream::Feed(std::string_view packed, const Take& take) {
    if (!room_) room_.reset(new (std::nothrow) char[RoomSize]);
    if (!room_) state_ = State::NoMemory;
    for (bool isFull = true; isFull && (state_ == State::Open || state_ == State::Whole);) {
        std::span<char> room(room_.get(), RoomSize);
        static_cast<void>(Step(packed, room));
        isFull = room.empty();
        if (room.size() < RoomSize) take({room_.get(), RoomSize - room.size()});
    }
    return state_;
}

GzipStream::State GzipStream::Finish() {
    if (state_ == State::Open) state_ = State::Cut;
    return state_;
}

}  // namespace Host
