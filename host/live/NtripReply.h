// NtripReply: what an NTRIP caster answers to a request for a stream (RTCM 10410.1, versions 1 and 2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "host/live/ChunkDecoder.h"

namespace Host {

// The answer may come in pieces of any size. Its head is "ICY 200 OK" (version 1; headers and an empty line may follow
// or not), "SOURCETABLE 200 OK" (there is no such mount point), "ERROR - ..." or a head of HTTP; what comes after the
// head is passed on without its transfer coding.
class NtripReply {
public:
    enum class Kind : std::uint8_t {
        Incomplete,   // it has not all come yet
        Stream,       // the content is the stream
        SourceTable,  // the content is the list of mount points
        Denied,       // user or password are not accepted, or are missing
        NotFound,
        Redirect,  // to another place, which is not followed
        Refused,   // for another reason, or with content that is no stream
        NotUnderstood
    };
    using OnContent = std::function<void(std::string_view)>;
    // The largest head that is read.
    static constexpr std::size_t MaxHead = 8192;
    // The longest line that is a header, and not the stream, after "ICY 200 OK".
    static constexpr std::size_t MaxIcyHeader = 1024;

    void Feed(std::string_view bytes, const OnContent& onContent);

    [[nodiscard]] Kind GetKind() const { return kind_; }
    // The first line, as clean text, cut to what a person reads.
    [[nodiscard]] const std::string& GetStatus() const { return status_; }
    // Why it is refused or not understood, as clean text; empty when the status says so.
    [[nodiscard]] const std::string& GetReason() const { return reason_; }
    // By the transfer coding the content has ended, or is damaged.
    [[nodiscard]] bool IsEnded() const { return isChunked_ && chunks_.IsEnded(); }
    [[nodiscard]] bool IsDamaged() const { return isChunked_ && chunks_.IsDamaged(); }

private:
    enum class Form : std::uint8_t { Unknown, Icy, Table, Http };
    // What the beginning of some bytes is.
    enum class Line : std::uint8_t { Whole, Partial, None };

    void ReadHead();
    [[nodiscard]] Line FindLine(std::size_t& end) const;
    [[nodiscard]] static Line FindIcyHeader(std::string_view bytes, std::size_t& end);
    void TakeFirstLine(std::string_view line);
    void TakeHeader(std::string_view line);
    void EndHead();
    void Refuse(Kind kind, std::string reason);

    Kind kind_ = Kind::Incomplete;
    bool isHeadDone_ = false;
    Form form_ = Form::Unknown;
    std::string head_;      // what has not been understood yet
    std::size_t size_ = 0;  // of the head so far
    std::string status_;
    std::string reason_;
    std::string coding_;   // of the transfer, as it was written
    std::string packing_;  // of the content
    std::string type_;     // of the content, in small letters
    bool isChunked_ = false;
    ChunkDecoder chunks_;
};

}  // namespace Host
