// StreamDecoder: finds the messages of a binary protocol in a receiver's bytes, and counts what it finds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "gnss/time/GPSTime.h"
#include "host/receiver/ReceiverSink.h"

namespace Host {

// The last week of 2099; a receiver that says a later one is wrong.
inline constexpr int MaxWeek = 6260;

// What a stream held.
struct StreamCounts {
    struct Kind {
        std::int64_t nmr = 0;      // messages with a good checksum, those below included
        std::int64_t refused = 0;  // too short, or saying what cannot be
    };

    std::int64_t bytes = 0;
    std::int64_t skipped = 0;             // bytes that belong to no message
    std::int64_t checksumFailures = 0;    // what looked like a message but for its checksum
    std::map<std::uint32_t, Kind> kinds;  // by the protocol's number of the message

    [[nodiscard]] std::int64_t GetNmrMessages() const;
    [[nodiscard]] std::int64_t GetNmrRefused() const;
};

// A decoder of one protocol. Bytes may come in pieces of any size; the calls on the sink are the same whatever the
// pieces. What is not a message is skipped byte by byte until the next one, so that nothing of a good message is lost
// to a damaged one before it. Nothing is allocated for each message but the measurement sets.
class StreamDecoder {
public:
    // The sink must outlive the decoder.
    explicit StreamDecoder(ReceiverSink& sink) : sink_(sink) {}
    StreamDecoder(const StreamDecoder&) = delete;
    StreamDecoder& operator=(const StreamDecoder&) = delete;
    virtual ~StreamDecoder();

    void Feed(std::string_view bytes);
    // The stream has ended: an unfinished message at its end counts as skipped, messages inside it are found, and what
    // the decoder still holds back is delivered.
    void Finish();

    // A time within half a week of the next message, for streams that do not tell the week. Nothing is dated by it in
    // streams that do.
    virtual void SetApproximateTime(const GNSS::GPSTime& /*time*/) {}

    [[nodiscard]] const StreamCounts& GetCounts() const { return counts_; }
    // Epochs of measurements that were dropped because their time was not known.
    [[nodiscard]] virtual std::int64_t GetNmrUndated() const { return 0; }
    // Messages of measurements that were left out because they are of another station than the one that is followed.
    [[nodiscard]] virtual std::int64_t GetNmrOfOthers() const { return 0; }
    // A kind of message in the words of the protocol: "RXM-RAWX", "RAWEPHEM", "1019"; unknown ones by their number.
    [[nodiscard]] virtual std::string GetKindName(std::uint32_t kind) const = 0;

protected:
    // What stands at the front of some bytes.
    struct Frame {
        enum class State : std::uint8_t { Whole, BadChecksum, Incomplete, None };
        State state = State::None;
        std::size_t size = 0;    // of a whole message
        std::uint32_t kind = 0;  // of a whole message
    };

    // The position of the first byte that a message could start with; the size when there is none.
    [[nodiscard]] virtual std::size_t FindStart(std::string_view bytes) const = 0;
    // What starts at the first byte. None as soon as it cannot be a message, Incomplete while it could become one.
    [[nodiscard]] virtual Frame Inspect(std::string_view bytes) = 0;
    // What the bytes are that could still become a message when the stream has ended. None: of no message, as where
    // messages tell their own end.
    [[nodiscard]] virtual Frame InspectEnd(std::string_view /*bytes*/) { return {}; }
    // What is inspected from now on, up to the next such call, lies in one piece of memory, and no more where it was.
    virtual void OnMoved() {}
    // A whole message with a good checksum. False when it is refused; then nothing of it has reached the sink.
    [[nodiscard]] virtual bool Decode(std::uint32_t kind, std::string_view message) = 0;
    // The end of the stream, after its last message.
    virtual void Flush() {}

    [[nodiscard]] ReceiverSink& Sink() { return sink_; }
    // Tells the sink the stream's own time, once as long as it is the same.
    void TellTime(const GNSS::GPSTime& time);
    // Tells it that the time is not known any more, if it was told one.
    void TellTimeLost();
    // The time last told, unless it was lost.
    [[nodiscard]] const std::optional<GNSS::GPSTime>& GetToldTime() const { return told_; }

private:
    [[nodiscard]] std::size_t Take(std::string_view bytes, bool last);
    void Count(std::uint32_t kind, bool accepted);

    ReceiverSink& sink_;
    StreamCounts counts_;
    // The last kind counted, which is the next one's more often than not.
    std::optional<std::uint32_t> lastKind_;
    StreamCounts::Kind* lastCount_ = nullptr;
    std::string rest_;  // an unfinished message
    std::optional<GNSS::GPSTime> told_;
};

}  // namespace Host
