// OEM messages: whatever the bytes and the pieces in which they come, every byte is counted once, the calls do not
// depend on the pieces, and what is delivered, and the records made of it, are sensible. Each input is read as it is,
// and once more with the checksum of its first message put right, so that bodies are reached.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <zlib.h>

#include "host/receiver/OemDecoder.h"
#include "host/receiver/RecordInvariants.h"
#include "host/receiver/RecordMaker.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

class Checker : public Host::ReceiverSink {
public:
    using ReceiverSink::OnEphemeride;

    std::int64_t calls = 0;

    void OnTime(const GNSS::GPSTime& time) override {
        ++calls;
        Check(time.GetWeek() > 0);
    }
    void OnLeapSeconds(int seconds) override { Check(std::abs(seconds) <= 128); }
    void OnSubframe(const Host::GPSSubframe& subframe) override {
        ++calls;
        for (const unsigned long word : subframe.words) Check(word < (1UL << 30U) && (word & 63U) == 0);
    }
    void OnString(const Host::GlonassString& string) override {
        ++calls;
        Check(string.slot.IsValid());
    }
    void OnEphemeride(const Host::GlonassDecodedEphemeride& record) override {
        ++calls;
        Check(record.ephemeride.slot.IsValid() && record.reference.has_value());
        Check(std::isfinite(record.ephemeride.posn.posn.Radius()) && std::isfinite(record.ephemeride.clock.tau));
        Check(record.ephemeride.posn.day >= 0 && record.ephemeride.posn.day <= 1461);
    }
    void OnIono(const GNSS::Almanac::Iono& record) override { Check(std::isfinite(record.alpha0 + record.beta3)); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { Check(record.DN >= 1 && record.DN <= 7); }
    void OnMeasurements(const GNSS::MeasSet& set) override {
        ++calls;
        CheckSet(set.GetGPS());
        CheckSet(set.GetGlonass());
    }
    void OnFix(const Host::ReceiverFix& fix) override {
        ++calls;
        Check(!fix.latitude || std::abs(*fix.latitude) <= 90.0);
    }

private:
    template <typename Set>
    static void CheckSet(const Set& set) {
        Check(set.GetTime().GetWeek() > 0);
        for (int i = 0; i < set.NmrSV(); ++i) {
            Check(set.GetSV(i).GetId().IsValid());
            for (int j = 0; j < set.GetSV(i).NmrMeas(); ++j) {
                const auto& meas = set.GetSV(i).GetMeas(j);
                Check(std::isfinite(meas.GetRange() + meas.GetPhase() + meas.GetDoppler()));
            }
        }
    }
};

std::int64_t Decode(std::string_view bytes, std::size_t piece) {
    Checker sink;
    Host::OemDecoder decoder(sink);
    const std::size_t size = bytes.size();
    for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) decoder.Feed(bytes.substr(0, piece));
    decoder.Finish();
    const Host::StreamCounts& counts = decoder.GetCounts();
    Check(counts.bytes == static_cast<std::int64_t>(size) && counts.skipped <= counts.bytes);
    Check(counts.GetNmrRefused() <= counts.GetNmrMessages());
    return sink.calls;
}

// The whole receiver side.
void MakeRecords(std::string_view bytes) {
    Host::RecordInvariants records;
    Host::RecordMaker maker(records);
    Host::OemDecoder decoder(maker);
    decoder.Feed(bytes);
    decoder.Finish();
    Check(records.AreHeld() && (!maker.GetClock().GetTime() || maker.GetNmrWaiting() == 0));
}

void DecodeInPieces(const std::string& bytes, std::size_t piece) {
    Check(Decode(bytes, piece) == Decode(bytes, ~0U));
    MakeRecords(bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::size_t piece = size == 0 ? 1 : 1 + data[size - 1] % 64U;
    DecodeInPieces(bytes, piece);
    if (size < 4) return 0;
    // Room for the checksum at the end, and a length that fits.
    const bool isShort = bytes[2] == '\x13';
    const std::size_t header = isShort ? 12 : std::size_t{data[3]};
    if (size < header + 4 || header < 12) return 0;
    const std::size_t body = size - header - 4;
    if (body > (isShort ? 0xFFU : 0xFFFFU)) return 0;
    if (isShort) {
        bytes[3] = static_cast<char>(body);
    } else {
        bytes[8] = static_cast<char>(body & 0xFFU);
        bytes[9] = static_cast<char>(body >> 8U);
    }
    const auto crc =
        crc32(0xFFFFFFFF, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(size - 4)) ^ 0xFFFFFFFFU;
    for (unsigned i = 0; i < 4; ++i) bytes[size - 4 + i] = static_cast<char>((crc >> (8 * i)) & 0xFFU);
    DecodeInPieces(bytes, piece);
    return 0;
}
