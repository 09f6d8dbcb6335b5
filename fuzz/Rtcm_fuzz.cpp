// RTCM 3: whatever the bytes, what is delivered is whole and in range, and the pieces do not matter. The first byte
// says whether a time is known; the same bytes are tried again with good checksums, which chance would never meet.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "host/receiver/Crc24q.h"
#include "host/receiver/RecordInvariants.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/RtcmDecoder.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

class Sink : public Host::ReceiverSink {
public:
    std::vector<GNSS::MeasSet> sets;
    std::size_t nmrRecords = 0;

    void OnTime(const GNSS::GPSTime& time) override {
        Check(time.GetSeconds() >= 0.0 && time.GetSeconds() < GNSS::GPSTime::SecsInWeek);
    }
    void OnMeasurements(const GNSS::MeasSet& set) override {
        Check(set.GetGPS().HasMeas() || set.GetGlonass().HasMeas());
        CheckSet(set.GetGPS());
        CheckSet(set.GetGlonass());
        sets.push_back(set);
    }
    void OnEphemeride(const Host::GPSDecodedEphemeride& r) override {
        ++nmrRecords;
        const GNSS::GPSEphemeride& e = r.ephemeride;
        Check(e.prn.IsValid() && r.week >= 0 && r.week < 1024 && e.posn.toe < GNSS::GPSTime::SecsInWeek);
        Check(e.posn.sqrtA > 0.0 && e.posn.e <= 0.5 && std::isfinite(e.clock.af0));
    }
    void OnEphemeride(const Host::GlonassDecodedEphemeride& r) override {
        ++nmrRecords;
        const GNSS::Glonass::Ephemeride& e = r.ephemeride;
        Check(e.slot.IsValid() && r.channel && *r.channel >= -7 && *r.channel <= 13);
        Check(e.posn.day >= 0 && e.posn.day <= 1461 && e.posn.tb < 86400.0 && e.posn.frameTime < 86400.0);
        Check(std::isfinite(e.posn.posn.Radius()));
    }
    void OnStation(const Host::StationPosition& s) override {
        ++nmrRecords;
        Check(std::isfinite(s.posn.Radius()) && s.station < 4096);
    }

private:
    template <typename Set>
    static void CheckSet(const Set& set) {
        using Record = typename Set::Record;
        for (int n = 0; n < set.NmrSV(); ++n) {
            const auto& sv = set.GetSV(n);
            Check(sv.GetId().IsValid() && sv.NmrMeas() >= 1 && sv.NmrMeas() <= 3);
            for (int k = 0; k < sv.NmrMeas(); ++k) {
                const Record& r = sv.GetMeas(k);
                Check(std::isfinite(r.GetRange()) && std::isfinite(r.GetPhase()) && std::isfinite(r.GetDoppler()));
                Check(std::isfinite(r.GetLockTime()) && r.GetLockTime() >= 0.0 && r.GetSNR() >= 0.0);
            }
        }
    }
};

const GNSS::GPSTime Known(2200, 100.0);

struct Outcome {
    std::vector<GNSS::MeasSet> sets;
    std::size_t nmrRecords = 0;
    std::int64_t skipped = 0, nmrMessages = 0, nmrUndated = 0;
    bool operator==(const Outcome&) const = default;
};

Outcome Run(std::string_view bytes, std::size_t piece, bool isTimeKnown) {
    Sink sink;
    Host::RtcmDecoder decoder(sink);
    if (isTimeKnown) decoder.SetApproximateTime(Known);
    const auto size = static_cast<std::int64_t>(bytes.size());
    for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size()))) decoder.Feed(bytes.substr(0, piece));
    decoder.Finish();
    const Host::StreamCounts& counts = decoder.GetCounts();
    Check(counts.bytes == size && counts.skipped <= size && counts.GetNmrRefused() <= counts.GetNmrMessages());
    return {sink.sets, sink.nmrRecords, counts.skipped, counts.GetNmrMessages(), decoder.GetNmrUndated()};
}

// The whole receiver side.
void MakeRecords(std::string_view bytes, const std::optional<GNSS::GPSTime>& approximate) {
    Host::RecordInvariants records;
    Host::RecordMaker maker(records);
    Host::RtcmDecoder decoder(maker);
    if (approximate) decoder.SetApproximateTime(*approximate);
    decoder.Feed(bytes);
    decoder.Finish();
    Check(records.AreHeld() && (!maker.GetClock().GetTime() || maker.GetNmrWaiting() == 0));
}

// The same bytes with good checksums: everything that begins like a frame is taken for one, and its sum written anew.
std::string Mend(std::string bytes) {
    for (std::size_t at = 0; at + 6 <= bytes.size();) {
        const auto byte = [&](std::size_t n) { return static_cast<std::size_t>(static_cast<unsigned char>(bytes[n])); };
        const std::size_t size = 3 + ((byte(at + 1) & 3U) << 8U) + byte(at + 2);
        if (byte(at) != 0xD3 || (byte(at + 1) & 0xFCU) != 0 || at + size + 3 > bytes.size()) {
            ++at;
            continue;
        }
        const std::uint32_t crc = Host::Crc24q(std::string_view(bytes).substr(at, size));
        for (std::size_t k = 0; k < 3; ++k) bytes[at + size + k] = static_cast<char>((crc >> (16U - 8U * k)) & 0xFFU);
        at += size + 3;
    }
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const bool isTimeKnown = (data[0] & 1U) != 0;
    Run(bytes, bytes.size() + 1, isTimeKnown);
    const std::string mended = Mend(std::string(bytes));
    const Outcome whole = Run(mended, mended.size() + 1, isTimeKnown);
    Check(Run(mended, 5, isTimeKnown) == whole);
    MakeRecords(mended, isTimeKnown ? std::optional(Known) : std::nullopt);
    return 0;
}
