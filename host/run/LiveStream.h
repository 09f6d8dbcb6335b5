// LiveStream: a live source's way into a run: finds the format of what comes, and decodes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "gnss/time/GPSTime.h"
#include "host/receiver/StreamFormat.h"
#include "host/run/RunStream.h"

namespace Host {

// The format is that of the first messages with good checksums, and another when that comes in its stead. At a
// break of the stream the decoder is finished and a new one of the same format begins, so that what was received whole
// is used, and nothing of the old is taken for a part of the new; what subframes and strings have been collected stays.
class LiveStream : public RunStream {
public:
    // Bytes without a single message that are looked at for another format; not all of them are kept longer.
    static constexpr std::size_t MaxStrange = std::size_t{64} * 1024;
    // No more than these are kept.
    static constexpr std::size_t MaxGarbage = std::size_t{256} * 1024;

    LiveStream(RunCore& core, RunInput& facts, std::string name) : RunStream(core, facts, std::move(name)) {}

    // About when it is, for streams that do not tell their week.
    void SetApproximateTime(const GNSS::GPSTime& time);
    void Take(std::string_view bytes);
    // The stream is broken.
    void Break();
    // Says how many bytes belonged to no message, and how many messages were refused, since the last call.
    void TellGarbage();

private:
    void Detect();
    // False, and nothing done, when so many messages are not there yet.
    [[nodiscard]] bool DecodeBeginning(std::int64_t enough);
    void Decode(std::string_view bytes);
    void Doubt();
    void BeginDecoder();
    void EndDecoder();

    StreamFormat format_ = StreamFormat::Unknown;
    std::string beginning_;  // until the format is known
    std::size_t nextLook_ = 0;
    std::unique_ptr<StreamDecoder> decoder_;
    RunInput before_;            // counts of earlier decoders
    std::int64_t messages_ = 0;  // at the last message, of this decoder
    std::string strange_;        // since then
    std::size_t nextDoubt_ = 0;
    std::int64_t toldSkipped_ = 0;
    std::int64_t toldFailures_ = 0;
    std::int64_t toldRefused_ = 0;
    std::optional<GNSS::GPSTime> date_;
};

}  // namespace Host
