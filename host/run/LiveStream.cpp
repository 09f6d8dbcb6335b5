#include "host/run/LiveStream.h"

#include <algorithm>

#include <fmt/format.h>

namespace Host {

namespace {

constexpr std::size_t FirstLook = 64;
// Messages by which a protocol is known.
constexpr std::int64_t EnoughMessages = 2;

}  // namespace

void LiveStream::SetApproximateTime(const GNSS::GPSTime& time) {
    date_ = time;
    if (decoder_) decoder_->SetApproximateTime(time);
}

void LiveStream::Take(std::string_view bytes) {
    if (decoder_) {
        Decode(bytes);
        return;
    }
    beginning_ += bytes;
    GetFacts().bytes = before_.bytes + static_cast<std::int64_t>(beginning_.size());
    if (beginning_.size() >= std::max(nextLook_, FirstLook)) Detect();
}

void LiveStream::Detect() {
    const DetectedFormat detected = DetectFormat(beginning_);
    nextLook_ = beginning_.size() + beginning_.size() / 4;
    if (detected.messages >= EnoughMessages) {
        if (format_ != detected.format) Say(GetName(), std::string("sends ") + Name(detected.format));
        format_ = detected.format;
        BeginDecoder();
        const std::string beginning = std::move(beginning_);
        beginning_.clear();
        nextLook_ = 0;
        Decode(beginning);
        return;
    }
    if (beginning_.size() <= MaxGarbage) return;
    const std::size_t given = beginning_.size() / 2;
    Say(GetName(), fmt::format("{} bytes hold no messages of UBX, NovAtel OEM or RTCM 3", given));
    before_.bytes += static_cast<std::int64_t>(given);
    before_.skipped += static_cast<std::int64_t>(given);
    toldSkipped_ += static_cast<std::int64_t>(given);
    GetFacts().skipped = before_.skipped;
    beginning_.erase(0, given);
    nextLook_ = 0;
}

void LiveStream::BeginDecoder() {
    decoder_ = MakeDecoder(format_, *this);
    if (date_) decoder_->SetApproximateTime(*date_);
    GetFacts().format = Name(format_);
    messages_ = bytesAtMessage_ = 0;
}

void LiveStream::Decode(std::string_view bytes) {
    decoder_->Feed(bytes);
    UpdateFacts(*decoder_, before_);
    const StreamCounts& counts = decoder_->GetCounts();
    if (const std::int64_t messages = counts.GetNmrMessages(); messages > messages_) {
        messages_ = messages;
        bytesAtMessage_ = counts.bytes;
    } else if (counts.bytes - bytesAtMessage_ > static_cast<std::int64_t>(MaxGarbage)) {
        EndDecoder();
    }
}

void LiveStream::EndDecoder() {
    decoder_->Finish();
    UpdateFacts(*decoder_, before_);
    decoder_.reset();
    before_ = GetFacts();
}

void LiveStream::Break() {
    if (decoder_) {
        EndDecoder();
        BeginDecoder();
        return;
    }
    before_.bytes += static_cast<std::int64_t>(beginning_.size());
    before_.skipped += static_cast<std::int64_t>(beginning_.size());
    GetFacts().skipped = before_.skipped;
    beginning_.clear();
    nextLook_ = 0;
}

void LiveStream::TellGarbage() {
    const RunInput& facts = GetFacts();
    const std::int64_t skipped = facts.skipped - std::exchange(toldSkipped_, facts.skipped);
    const std::int64_t failures = facts.checksumFailures - std::exchange(toldFailures_, facts.checksumFailures);
    if (skipped <= 0 && failures <= 0) return;
    Say(GetName(), fmt::format("{} bytes belong to no message, up to byte {}{}", skipped, facts.bytes,
                               failures > 0 ? fmt::format("; wrong checksums: {}", failures) : ""));
}

void LiveStream::OnMeasurements(const GNSS::MeasSet& set) {
    lastEpoch_ = set.GetGPSTime();
    RunStream::OnMeasurements(set);
}

}  // namespace Host
