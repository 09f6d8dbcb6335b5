// UBX: whatever the bytes and the pieces they come in, nothing that reaches the sink is out of range or undated, nor
// are the records made of it, and every byte belongs to a message or is counted as skipped.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/receiver/RecordInvariants.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/UbxDecoder.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

void CheckTime(const GNSS::GPSTime& time) {
    Check(time.GetWeek() > 0 && time.GetWeek() < 7000 && std::isfinite(time.GetSeconds()));
}

struct Checking : Host::ReceiverSink {
    std::size_t calls = 0;

    void OnTime(const GNSS::GPSTime& time) override {
        ++calls;
        CheckTime(time);
    }
    void OnLeapSeconds(int /*seconds*/) override { ++calls; }
    void OnSubframe(const Host::GPSSubframe& subframe) override {
        ++calls;
        Check(subframe.prn.IsValid());
        for (const unsigned long word : subframe.words) Check(word < 1UL << 30U);
    }
    void OnString(const Host::GlonassString& string) override {
        ++calls;
        Check(string.slot.IsValid() && string.frame >= 0 && string.frame <= 5);
        Check(string.bits.GetUnsigned(86, 3) == 0);
        Check(!string.channel || (*string.channel >= -7 && *string.channel <= 6));
    }
    void OnMeasurements(const GNSS::MeasSet& set) override {
        ++calls;
        CheckTime(set.GetGPSTime());
        CheckSet(set.GetGPS());
        CheckSet(set.GetGlonass());
    }
    void OnFix(const Host::ReceiverFix& fix) override {
        ++calls;
        if (fix.time) CheckTime(*fix.time);
        if (fix.latitude) Check(std::abs(*fix.latitude) <= 90.0 && std::abs(*fix.longitude) <= 180.0);
    }
    void OnSky(const Host::ReceiverSky& sky) override {
        ++calls;
        if (sky.time) CheckTime(*sky.time);
        for (const Host::ReceiverSatellite& satellite : sky.satellites) {
            Check(satellite.system >= 'A' && satellite.system <= 'Z' && satellite.number >= 0);
        }
    }

private:
    template <typename Set>
    static void CheckSet(const Set& set) {
        for (int i = 0; i < set.NmrSV(); ++i) {
            Check(set.GetSV(i).GetId().IsValid());
            for (int j = 0; j < set.GetSV(i).NmrMeas(); ++j) {
                const auto& record = set.GetSV(i).GetMeas(j);
                Check(std::isfinite(record.GetRange()) && std::isfinite(record.GetPhase()) &&
                      std::isfinite(record.GetDoppler()));
            }
        }
    }
};

// The whole receiver side.
void MakeRecords(std::string_view bytes) {
    Host::RecordInvariants records;
    Host::RecordMaker maker(records);
    Host::UbxDecoder decoder(maker);
    decoder.Feed(bytes);
    decoder.Finish();
    Check(records.AreHeld() && (!maker.GetClock().GetTime() || maker.GetNmrWaiting() == 0));
}

}  // namespace

// The first byte is the size of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    Checking whole;
    Host::UbxDecoder decoder(whole);
    decoder.Feed(bytes);
    decoder.Finish();

    Checking pieces;
    Host::UbxDecoder again(pieces);
    const std::size_t piece = std::max<std::size_t>(data[0], 1);
    for (std::size_t at = 0; at < bytes.size(); at += piece) again.Feed(bytes.substr(at, piece));
    again.Finish();

    MakeRecords(bytes);

    const Host::StreamCounts& counts = decoder.GetCounts();
    Check(pieces.calls == whole.calls && again.GetCounts().skipped == counts.skipped);
    Check(counts.bytes == static_cast<std::int64_t>(bytes.size()) && counts.skipped <= counts.bytes);
    Check(counts.bytes - counts.skipped >= 8 * counts.GetNmrMessages());
    for (const auto& kind : counts.kinds) Check(!decoder.GetKindName(kind.first).empty());
    return 0;
}
