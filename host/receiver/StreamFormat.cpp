#include "host/receiver/StreamFormat.h"

#include <array>

#include "host/receiver/OemDecoder.h"
#include "host/receiver/RinexObservation.h"
#include "host/receiver/RtcmDecoder.h"
#include "host/receiver/UbxDecoder.h"

namespace Host {

namespace {

StreamFormat TextFormat(std::string_view text) {
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    if (line.size() >= 3 && line[0] == '#' && line[1] >= 'a' && line[1] <= 'd' && (line[2] == 'P' || line[2] == 'V'))
        return StreamFormat::Sp3;
    if (line.size() < 60) return StreamFormat::Unknown;
    const std::string_view label = line.substr(60);
    if (label.starts_with("CRINEX VERS")) return StreamFormat::RinexCompact;
    if (!label.starts_with("RINEX VERSION / TYPE")) return StreamFormat::Unknown;
    // N, and in version 2 G for GLONASS and H for geostationary satellites.
    return line[20] == 'N' || line[20] == 'G' || line[20] == 'H' ? StreamFormat::RinexNavigation
                                                                 : StreamFormat::RinexObservation;
}

}  // namespace

const char* Name(StreamFormat format) {
    switch (format) {
        case StreamFormat::Ubx:
            return "UBX";
        case StreamFormat::Oem:
            return "NovAtel OEM";
        case StreamFormat::Rtcm3:
            return "RTCM 3";
        case StreamFormat::RinexNavigation:
            return "RINEX navigation";
        case StreamFormat::RinexObservation:
            return "RINEX observation";
        case StreamFormat::RinexCompact:
            return "compact RINEX";
        case StreamFormat::Sp3:
            return "SP3";
        case StreamFormat::Unknown:
            break;
    }
    return "unknown";
}

DetectedFormat DetectFormat(std::string_view bytes) {
    if (const StreamFormat text = TextFormat(bytes); text != StreamFormat::Unknown) return {text, 0};
    constexpr std::array<StreamFormat, 3> Formats{StreamFormat::Ubx, StreamFormat::Oem, StreamFormat::Rtcm3};
    ReceiverSink nobody;
    std::array<std::unique_ptr<StreamDecoder>, Formats.size()> decoders;
    for (std::size_t i = 0; i < Formats.size(); ++i) decoders[i] = MakeDecoder(Formats[i], nobody);
    DetectedFormat best;
    while (!bytes.empty() && best.messages == 0) {
        const std::string_view piece = bytes.substr(0, DetectionSize);
        bytes.remove_prefix(piece.size());
        std::int64_t most = 0;
        for (std::size_t i = 0; i < Formats.size(); ++i) {
            decoders[i]->Feed(piece);
            if (bytes.empty()) decoders[i]->Finish();
            const StreamCounts& counts = decoders[i]->GetCounts();
            const std::int64_t taken = counts.GetNmrMessages() > 0 ? counts.bytes - counts.skipped : 0;
            if (taken > most) {
                most = taken;
                best = {Formats[i], counts.GetNmrMessages()};
            }
        }
    }
    return best;
}

std::unique_ptr<StreamDecoder> MakeDecoder(StreamFormat format, ReceiverSink& sink) {
    switch (format) {
        case StreamFormat::Ubx:
            return std::make_unique<UbxDecoder>(sink);
        case StreamFormat::Oem:
            return std::make_unique<OemDecoder>(sink);
        case StreamFormat::Rtcm3:
            return std::make_unique<RtcmDecoder>(sink);
        case StreamFormat::RinexObservation:
            return std::make_unique<RinexObservationDecoder>(sink);
        default:
            return nullptr;
    }
}

}  // namespace Host
