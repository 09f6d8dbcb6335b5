#include "host/run/RunStream.h"

#include <utility>

#include <fmt/format.h>

#include "host/receiver/LeapSeconds.h"

namespace Host {

void RunStream::OnTime(const GNSS::GPSTime& time) {
    if (!hasTime_) {
        hasTime_ = true;
        // Where the navigation files' headers contradict the table; the stream's own count comes later.
        const int count = core_.CountLeapSeconds(time);
        if (count != GPSMinusUTC(time)) maker_.OnLeapSeconds(count);
    }
    core_.AdvanceTo(time, maker_.GetClock());
    maker_.OnTime(time);
}

void RunStream::OnSubframe(const GPSSubframe& subframe) {
    const std::int64_t damaged = maker_.GetNmrParityFailures();
    maker_.OnSubframe(subframe);
    if (maker_.GetNmrParityFailures() > damaged) RemarkDamage(subframe.prn);
}

void RunStream::RemarkDamage(int param) {
    if (param <= 0 || param == GlonassParam) return;
    core_.Remark(FixNote::DamagedMessages, param, SatelliteName(param) + ": navigation messages fail their parity");
}

void RunStream::OnString(const GlonassString& string) {
    if (string.channel) core_.TakeChannel(string.slot, *string.channel);
    const std::int64_t damaged = maker_.GetNmrHammingFailures();
    maker_.OnString(string);
    if (maker_.GetNmrHammingFailures() > damaged) RemarkDamage(string.slot + GlonassParam);
}

void RunStream::OnMeasurements(const GNSS::MeasSet& set) {
    if (const RinexObservationDecoder* observations = std::exchange(observations_, nullptr); observations != nullptr) {
        const auto& channels = observations->GetHeader().channels;
        for (int slot = GNSS::Glonass::Slot::Min; slot <= GNSS::Glonass::Slot::Max; ++slot) {
            if (const auto channel = channels[static_cast<std::size_t>(slot)]) core_.TakeChannel(slot, *channel);
        }
    }
    core_.TakeEpoch(set);
    // Afterwards: what is written on its account is of the epochs before.
    ++facts_.epochs;
}

void RunStream::OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) {
    ++facts_.records;
    core_.TakeGlonass(record, channel);
}

void RunStream::OnRecord(const GNSS::Almanac::GlonassSV& record) {
    core_.TakeChannel(record.slot, record.channel);
    Send(record);
}

void RunStream::Finish(const std::optional<GNSS::GPSTime>& date) {
    // A stream that has told no time is dated as a whole.
    if (!hasTime_ && date && maker_.GetNmrWaiting() > 0) OnTime(*date);
    if (!hasTime_ && !core_.GetFacts().isStopped)
        Say(name_, "tells no time by which it could be dated; --date helps where it tells a part");
    if (maker_.GetNmrRefused() > 0) {
        Say(name_, fmt::format("navigation records left out that contradict themselves or the stream's time, or say "
                               "what cannot be: {}",
                               maker_.GetNmrRefused()));
    }
    const std::int64_t damaged = maker_.GetNmrParityFailures() + maker_.GetNmrHammingFailures();
    if (damaged > 0) Say(name_, fmt::format("navigation words or strings that fail their parity: {}", damaged));
}

void RunStream::UpdateFacts(const StreamDecoder& decoder, const RunInput& before) {
    const StreamCounts& counts = decoder.GetCounts();
    facts_.bytes = before.bytes + counts.bytes;
    facts_.skipped = before.skipped + counts.skipped;
    facts_.checksumFailures = before.checksumFailures + counts.checksumFailures;
    facts_.messages = before.messages + counts.GetNmrMessages();
    facts_.refused = before.refused + counts.GetNmrRefused() + maker_.GetNmrRefused();
    facts_.undated = before.undated + decoder.GetNmrUndated() + maker_.GetNmrUndatable();
}

}  // namespace Host
