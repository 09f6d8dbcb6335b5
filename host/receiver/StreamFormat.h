// StreamFormat: which protocol a receiver's bytes are in, and the decoder for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "host/receiver/ReceiverSink.h"
#include "host/receiver/StreamDecoder.h"

namespace Host {

enum class StreamFormat : std::uint8_t {
    Unknown,
    Ubx,
    Oem,
    Rtcm3,
    RinexObservation,
    // Text files that do not come as a stream, or are not read.
    RinexNavigation,
    RinexCompact,
    Sp3,
};

// "UBX", "NovAtel OEM", "RTCM 3", "RINEX navigation" ...
[[nodiscard]] const char* Name(StreamFormat format);

struct DetectedFormat {
    StreamFormat format = StreamFormat::Unknown;
    std::int64_t messages = 0;  // with a good checksum; of the text files none
};

// How many bytes are enough to look at, once there is a message among them.
inline constexpr std::size_t DetectionSize = std::size_t{1} << 20;

// The protocol whose messages, by their checksums, take up most of the bytes, whatever stands between and before them;
// text files are known by their first line. As many times DetectionSize are looked at as it takes to find any.
[[nodiscard]] DetectedFormat DetectFormat(std::string_view bytes);

// Null for a format that does not come as a stream. The sink must outlive the decoder.
[[nodiscard]] std::unique_ptr<StreamDecoder> MakeDecoder(StreamFormat format, ReceiverSink& sink);

}  // namespace Host
