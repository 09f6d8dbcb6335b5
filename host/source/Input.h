// Input: one source of a run: its bytes, the format that they are in, and the decoder that reads them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "gnss/time/GPSTime.h"
#include "host/receiver/FileReport.h"
#include "host/receiver/RinexObservation.h"
#include "host/receiver/StreamFormat.h"
#include "host/source/InputBytes.h"

namespace Host {

// Reads as much of a content as it takes to know its format, to which what was read is added. A file is looked at more
// closely than a pipe, whose next bytes may be long in coming.
[[nodiscard]] DetectedFormat FindFormat(InputBytes& bytes, std::string& beginning);

// A stream of messages is decoded piece by piece, with flat memory; a navigation file is read as a whole.
class Input {
public:
    // What is wrong with the content, for people: bytes that belong to no message, lines that cannot be used, data that
    // end early. With its place; of a kind the first MaxTold, and at the end how many there were.
    using Tell = std::function<void(const std::string&)>;
    static constexpr std::int64_t MaxTold = 10;
    // The most that a navigation file may hold.
    static constexpr std::size_t MaxText = std::size_t{64} << 20;

    explicit Input(std::string path) : path_(std::move(path)) {}

    // Finds the format. False with the reason when the input is of no use here: it cannot be opened, is empty, or in a
    // format that is not read.
    [[nodiscard]] bool Open(FileError& error);
    [[nodiscard]] const std::string& GetPath() const { return path_; }
    [[nodiscard]] StreamFormat GetFormat() const { return detected_.format; }
    [[nodiscard]] bool IsNavigationFile() const { return detected_.format == StreamFormat::RinexNavigation; }
    // Whether it can be read a second time, and holds a receiver's navigation messages.
    [[nodiscard]] bool IsLogFile() const {
        return bytes_.GetSize() > 0 && path_ != StandardInput && !IsNavigationFile() &&
               GetFormat() != StreamFormat::RinexObservation;
    }
    // Whether the stream's own messages do not tell the week.
    [[nodiscard]] bool NeedsDate() const { return detected_.format == StreamFormat::Rtcm3; }

    // A navigation file's text. False with the reason when there is too much of it.
    [[nodiscard]] bool ReadText(std::string& text, const Tell& tell, FileError& error);

    // Whom a stream's messages go to from now on. Sink and listener must outlive the input.
    void Connect(ReceiverSink& sink, Tell tell);
    void SetApproximateTime(const GNSS::GPSTime& time) { decoder_->SetApproximateTime(time); }
    // See InputBytes.
    void SetStop(std::function<bool()> isStopped) { bytes_.SetStop(std::move(isStopped)); }
    // Decodes the next piece. False, and the stream is finished, when there is none.
    bool Pump();

    // Null for a navigation file.
    [[nodiscard]] const StreamDecoder* GetDecoder() const { return decoder_.get(); }
    // Null for other formats than RINEX observations.
    [[nodiscard]] const RinexObservationDecoder* GetObservations() const { return observations_; }
    [[nodiscard]] const InputBytes& GetBytes() const { return bytes_; }

private:
    void Decode(std::string_view piece);
    void TellGarbage(bool isEnd);
    void TellWarnings();
    void TellEnd();

    std::string path_;
    InputBytes bytes_;
    DetectedFormat detected_;
    std::string beginning_;  // read to find the format
    bool isFinished_ = false;

    Tell tell_;
    std::unique_ptr<StreamDecoder> decoder_;
    const RinexObservationDecoder* observations_ = nullptr;
    // Bytes that belong to no message, as far as the stretch goes.
    struct Garbage {
        std::int64_t from, to;  // to a grain
        std::int64_t skippedBefore, failuresBefore;
    };
    std::optional<Garbage> garbage_;
    std::int64_t skipped_ = 0;  // at the last look
    std::int64_t failures_ = 0;
    std::int64_t nmrGarbage_ = 0;
    std::size_t nmrWarnings_ = 0;  // told
};

}  // namespace Host
