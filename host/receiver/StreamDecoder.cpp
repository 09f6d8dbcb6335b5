#include "host/receiver/StreamDecoder.h"

#include <algorithm>

namespace Host {

ReceiverSink::~ReceiverSink() = default;

std::int64_t StreamCounts::GetNmrMessages() const {
    std::int64_t sum = 0;
    for (const auto& kind : kinds) sum += kind.second.nmr;
    return sum;
}

std::int64_t StreamCounts::GetNmrRefused() const {
    std::int64_t sum = 0;
    for (const auto& kind : kinds) sum += kind.second.refused;
    return sum;
}

StreamDecoder::~StreamDecoder() = default;

void StreamDecoder::TellTime(const GNSS::GPSTime& time) {
    if (told_ && *told_ == time) return;
    told_ = time;
    sink_.OnTime(time);
}

void StreamDecoder::TellTimeLost() {
    if (!told_) return;
    told_.reset();
    sink_.OnTimeLost();
}

void StreamDecoder::Count(std::uint32_t kind, bool accepted) {
    if (kind != lastKind_) {
        lastCount_ = &counts_.kinds[kind];
        lastKind_ = kind;
    }
    ++lastCount_->nmr;
    if (!accepted) ++lastCount_->refused;
}

// Takes the messages of some bytes; returns how many bytes have been dealt with. The rest is an unfinished message.
std::size_t StreamDecoder::Take(std::string_view bytes, bool last) {
    std::size_t at = 0;
    OnMoved();
    while (at < bytes.size()) {
        const std::size_t ahead = FindStart(bytes.substr(at));
        counts_.skipped += static_cast<std::int64_t>(ahead);
        at += ahead;
        if (at == bytes.size()) break;
        Frame frame = Inspect(bytes.substr(at));
        if (frame.state == Frame::State::Incomplete && last) frame = InspectEnd(bytes.substr(at));
        if (frame.state == Frame::State::Whole) {
            Count(frame.kind, Decode(frame.kind, bytes.substr(at, frame.size)));
            at += frame.size;
            continue;
        }
        if (frame.state == Frame::State::Incomplete) break;
        if (frame.state == Frame::State::BadChecksum) ++counts_.checksumFailures;
        ++counts_.skipped;
        ++at;
    }
    return at;
}

void StreamDecoder::Feed(std::string_view bytes) {
    counts_.bytes += static_cast<std::int64_t>(bytes.size());
    // An unfinished message grows a bounded piece at a time, so that a long input is not copied for its sake.
    constexpr std::size_t Piece = 4096;
    while (!rest_.empty() && !bytes.empty()) {
        const std::size_t before = rest_.size();
        const std::size_t added = std::min(Piece, bytes.size());
        rest_.append(bytes.substr(0, added));
        const std::size_t taken = Take(rest_, false);
        if (taken < before) {
            rest_.erase(0, taken);
            bytes.remove_prefix(added);
        } else {
            // What remains lies in the new bytes, and goes on from there.
            rest_.clear();
            bytes.remove_prefix(taken - before);
        }
    }
    if (bytes.empty()) return;
    bytes.remove_prefix(Take(bytes, false));
    rest_.assign(bytes);
}

void StreamDecoder::Finish() {
    static_cast<void>(Take(rest_, true));
    rest_.clear();
    Flush();
}

}  // namespace Host
