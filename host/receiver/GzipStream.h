// GzipStream: the content of data that gzip has compressed, while they come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

namespace Host {

// Whether data begin as a gzip file does.
[[nodiscard]] bool IsGzip(std::string_view data);

// Inflates gzip data of one or several members (RFC 1952), which come in pieces of any size; what follows the last
// member is ignored. The memory is the same for any amount of data.
class GzipStream {
public:
    enum class State : std::uint8_t {
        Open,     // inside a member
        Whole,    // behind a member, its check sum right; another may follow
        Cut,      // the data ended inside a member: what came before is unchecked
        Damaged,  // not deflated data, or a check sum that does not fit
        NoMemory,
    };
    using Take = std::function<void(std::string_view)>;

    GzipStream();
    GzipStream(const GzipStream&) = delete;
    GzipStream& operator=(const GzipStream&) = delete;
    ~GzipStream();

    // Gives the content of the next compressed data, in pieces of up to 64 KiB. After Damaged or NoMemory, which stay,
    // nothing is given any more.
    State Feed(std::string_view packed, const Take& take);
    // The data have ended.
    State Finish();
    [[nodiscard]] State GetState() const { return state_; }

    // The same one step at a time: inflates into the room until that is full or the data are used up, and takes what is
    // used away from both.
    State Step(std::string_view& packed, std::span<char>& room);

private:
    struct Inflater;

    void LookForMember(std::string_view& packed);

    std::unique_ptr<Inflater> inflater_;
    std::unique_ptr<char[]> room_;
    State state_ = State::Open;
    std::size_t nmrMarks_ = 0;  // bytes of the next member's beginning that have come
    bool isOver_ = false;       // no further member
};

}  // namespace Host
