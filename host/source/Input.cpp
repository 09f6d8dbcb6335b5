#include "host/source/Input.h"

#include <algorithm>

#include <fmt/format.h>

namespace Host {

namespace {

// How much of a stream may come before its first message.
constexpr std::size_t MaxGarbage = std::size_t{16} << 20;
// Messages by which a protocol is known.
constexpr std::int64_t EnoughMessages = 3;
// The content is decoded so many bytes at a time, between which damage is looked for: the precision of its place.
constexpr std::size_t Grain = 4096;

std::string WhyUnread(StreamFormat format, bool isEmpty) {
    if (isEmpty) return "is empty";
    switch (format) {
        case StreamFormat::RinexCompact:
            return "a compact (Hatanaka) RINEX file; uncompress it first, for example with CRX2RNX";
        case StreamFormat::Sp3:
            return "an SP3 file; gnss compare reads it";
        default:
            return "no messages of UBX, NovAtel OEM or RTCM 3, and no RINEX file";
    }
}

bool IsText(StreamFormat format) {
    return format != StreamFormat::Unknown && format != StreamFormat::Ubx && format != StreamFormat::Oem &&
           format != StreamFormat::Rtcm3;
}

}  // namespace

DetectedFormat FindFormat(InputBytes& bytes, std::string& beginning) {
    const bool isFile = bytes.GetSize() > 0;
    DetectedFormat detected;
    std::size_t nextLook = 1024;
    for (bool isAll = false; !isAll;) {
        const std::string_view piece = bytes.Next();
        isAll = piece.empty();
        beginning += piece;
        if (!isAll && beginning.size() < nextLook) continue;
        nextLook = 2 * beginning.size();
        detected = DetectFormat(beginning);
        if (IsText(detected.format)) break;
        // A file is looked at as far as it takes to be sure; a pipe, whose next bytes may be long in coming, is not.
        const bool isSure = isFile ? beginning.size() >= DetectionSize : detected.messages >= EnoughMessages;
        if (isSure && detected.format != StreamFormat::Unknown) break;
        if (beginning.size() > MaxGarbage) break;
    }
    return detected;
}

bool Input::Open(FileError& error) {
    if (!bytes_.Open(path_, error)) return false;
    detected_ = FindFormat(bytes_, beginning_);
    if (IsNavigationFile()) return true;
    ReceiverSink nobody;
    if (MakeDecoder(detected_.format, nobody)) return true;
    error.reason = bytes_.GetFailure().empty() ? WhyUnread(detected_.format, beginning_.empty()) : bytes_.GetFailure();
    return false;
}

bool Input::ReadText(std::string& text, const Tell& tell, FileError& error) {
    tell_ = tell;
    text = std::move(beginning_);
    beginning_.clear();
    while (text.size() <= MaxText) {
        const std::string_view piece = bytes_.Next();
        if (piece.empty()) {
            if (bytes_.IsCut()) tell_("the compressed data end early; what could be read of them is used");
            if (!bytes_.GetFailure().empty()) tell_(bytes_.GetFailure() + "; what could be read before is used");
            return true;
        }
        text += piece;
    }
    error = {path_, 0, fmt::format("holds more than {} bytes", MaxText)};
    return false;
}

void Input::Connect(ReceiverSink& sink, Tell tell) {
    tell_ = std::move(tell);
    decoder_ = MakeDecoder(detected_.format, sink);
    observations_ = dynamic_cast<const RinexObservationDecoder*>(decoder_.get());
}

bool Input::Pump() {
    if (isFinished_) return false;
    if (!beginning_.empty()) {
        // The beginning may be large: a piece of it at a time.
        const std::size_t size = std::min(beginning_.size(), InputBytes::PieceSize);
        Decode(std::string_view(beginning_).substr(0, size));
        beginning_.erase(0, size);
        if (beginning_.empty()) beginning_.shrink_to_fit();
        return true;
    }
    if (const std::string_view piece = bytes_.Next(); !piece.empty()) {
        Decode(piece);
        return true;
    }
    isFinished_ = true;
    decoder_->Finish();
    TellEnd();
    return false;
}

void Input::Decode(std::string_view piece) {
    while (!piece.empty()) {
        const std::string_view grain = piece.substr(0, Grain);
        piece.remove_prefix(grain.size());
        decoder_->Feed(grain);
        TellGarbage(false);
    }
    TellWarnings();
}

// After each grain: a stretch of grains with bytes that belong to no message is told when one without follows, or at
// the end.
void Input::TellGarbage(bool isEnd) {
    const StreamCounts& counts = decoder_->GetCounts();
    const bool isDirty = counts.skipped > skipped_ || counts.checksumFailures > failures_;
    const std::int64_t grainFrom = std::max<std::int64_t>(counts.bytes - static_cast<std::int64_t>(Grain), 0);
    if (isDirty && !garbage_) garbage_ = Garbage{grainFrom, counts.bytes, skipped_, failures_};
    if (isDirty) garbage_->to = counts.bytes;
    skipped_ = counts.skipped;
    failures_ = counts.checksumFailures;
    if (!garbage_ || (isDirty && !isEnd)) return;
    if (++nmrGarbage_ <= MaxTold) {
        const std::int64_t failures = counts.checksumFailures - garbage_->failuresBefore;
        tell_(fmt::format("{} bytes belong to no message, between bytes {} and {}{}",
                          counts.skipped - garbage_->skippedBefore, garbage_->from, garbage_->to,
                          failures > 0 ? fmt::format("; wrong checksums: {}", failures) : ""));
    }
    garbage_.reset();
}

void Input::TellWarnings() {
    if (observations_ == nullptr) return;
    const auto& kept = observations_->GetWarnings().GetKept();
    for (; nmrWarnings_ < kept.size(); ++nmrWarnings_) {
        if (nmrWarnings_ >= static_cast<std::size_t>(MaxTold)) return;
        const Warnings::Entry& entry = kept[nmrWarnings_];
        tell_(entry.line > 0 ? fmt::format("line {}: {}", entry.line, entry.what) : entry.what);
    }
}

void Input::TellEnd() {
    TellGarbage(true);
    TellWarnings();
    if (bytes_.IsCut()) tell_("the compressed data end early; what could be read of them is used");
    if (!bytes_.GetFailure().empty()) tell_(bytes_.GetFailure() + "; what could be read before is used");
    const StreamCounts& counts = decoder_->GetCounts();
    if (nmrGarbage_ > MaxTold) {
        tell_(fmt::format("{} stretches of bytes that belong to no message, {} bytes in all", nmrGarbage_,
                          counts.skipped));
    }
    if (const std::int64_t refused = counts.GetNmrRefused(); refused > 0 && observations_ == nullptr) {
        tell_(fmt::format("messages left out that are too short or say what cannot be: {}", refused));
    }
    if (const std::int64_t undated = decoder_->GetNmrUndated(); undated > 0) {
        tell_(fmt::format("epochs left out that came before the date was known: {}", undated));
    }
    if (const std::int64_t others = decoder_->GetNmrOfOthers(); others > 0) {
        tell_(fmt::format("messages left out that are of another station than the first: {}", others));
    }
    if (observations_ == nullptr) return;
    if (!observations_->GetFailure().empty()) tell_(observations_->GetFailure());
    const std::int64_t warnings = observations_->GetWarnings().GetCount();
    if (warnings > MaxTold) tell_(fmt::format("{} lines with faults in all", warnings));
    if (const std::int64_t lost = observations_->GetObservationCounts().lost; lost > 0) {
        tell_(fmt::format("damaged epochs left out: {}", lost));
    }
}

}  // namespace Host
