#include "host/run/LiveStream.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace Host {

namespace {

constexpr std::size_t FirstLook = 64;
// Messages by which a protocol is known.
constexpr std::int64_t EnoughMessages = 2;
// Without a message of the one known, another protocol is looked for in so many bytes, then in more and more.
constexpr std::size_t FirstDoubt = 2048;

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
    nextLook_ = beginning_.size() + beginning_.size() / 4;
    if (DecodeBeginning(EnoughMessages) || beginning_.size() <= MaxGarbage) return;
    const std::size_t given = beginning_.size() / 2;
    Say(GetName(), fmt::format("{} bytes hold no messages of UBX, NovAtel OEM or RTCM 3", given));
    before_.bytes += static_cast<std::int64_t>(given);
    before_.skipped += static_cast<std::int64_t>(given);
    toldSkipped_ += static_cast<std::int64_t>(given);
    GetFacts().skipped = before_.skipped;
    beginning_.erase(0, given);
    nextLook_ = 0;
}

bool LiveStream::DecodeBeginning(std::int64_t enough) {
    const DetectedFormat detected = DetectFormat(beginning_);
    // Text files do not come as a stream.
    if (detected.messages < enough) return false;
    if (format_ != detected.format) Say(GetName(), std::string("sends ") + Name(detected.format));
    format_ = detected.format;
    BeginDecoder();
    const std::string beginning = std::move(beginning_);
    beginning_.clear();
    nextLook_ = 0;
    Decode(beginning);
    return true;
}

void LiveStream::BeginDecoder() {
    decoder_ = MakeDecoder(format_, *this);
    if (date_) decoder_->SetApproximateTime(*date_);
    GetFacts().format = Name(format_);
    messages_ = 0;
    strange_.clear();
    nextDoubt_ = FirstDoubt;
}

void LiveStream::Decode(std::string_view bytes) {
    decoder_->Feed(bytes);
    UpdateFacts(*decoder_, before_);
    const StreamCounts& counts = decoder_->GetCounts();
    if (const std::int64_t messages = counts.GetNmrMessages(); messages > messages_) {
        messages_ = messages;
        strange_.clear();
        nextDoubt_ = FirstDoubt;
        return;
    }
    strange_ += bytes;
    if (strange_.size() >= nextDoubt_) Doubt();
}

void LiveStream::Doubt() {
    const DetectedFormat detected = DetectFormat(strange_);
    if (detected.messages < EnoughMessages || detected.format == format_) {
        // Damage, whose end the decoder waits for with what it has of a message.
        nextDoubt_ = strange_.size() + strange_.size() / 4;
        if (strange_.size() < MaxStrange) return;
        strange_.erase(0, strange_.size() / 2);
        nextDoubt_ = MaxGarbage;
        return;
    }
    EndDecoder();
    const auto size = static_cast<std::int64_t>(strange_.size());
    before_.bytes -= size;
    before_.skipped = std::max<std::int64_t>(before_.skipped - size, 0);
    beginning_ = std::exchange(strange_, {});
    static_cast<void>(DecodeBeginning(EnoughMessages));
}

void LiveStream::EndDecoder() {
    decoder_->Finish();
    UpdateFacts(*decoder_, before_);
    // Not from the facts, which have what the records' maker refused as well.
    const StreamCounts& counts = decoder_->GetCounts();
    before_.bytes += counts.bytes;
    before_.skipped += counts.skipped;
    before_.checksumFailures += counts.checksumFailures;
    before_.messages += counts.GetNmrMessages();
    before_.refused += counts.GetNmrRefused();
    before_.undated += decoder_->GetNmrUndated();
    decoder_.reset();
}

void LiveStream::Break() {
    // More will not come: what is whole is used, be it little.
    if (decoder_ && !strange_.empty()) Doubt();
    if (decoder_ || (!beginning_.empty() && DecodeBeginning(1))) {
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
    const std::int64_t allRefused = before_.refused + (decoder_ ? decoder_->GetCounts().GetNmrRefused() : 0);
    const std::int64_t refused = allRefused - std::exchange(toldRefused_, allRefused);
    if (skipped > 0 || failures > 0) {
        Say(GetName(), fmt::format("{} bytes belong to no message, up to byte {}{}", skipped, facts.bytes,
                                   failures > 0 ? fmt::format("; wrong checksums: {}", failures) : ""));
    }
    if (refused > 0) Say(GetName(), fmt::format("messages left out that say what cannot be: {}", refused));
}

}  // namespace Host
