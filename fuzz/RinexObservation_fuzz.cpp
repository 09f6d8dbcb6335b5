// RINEX observations: whatever the bytes and the pieces they come in, what reaches the sink is dated and finite, every
// epoch is told or counted, and what is cut gives the beginning of the same epochs.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "host/receiver/RinexObservation.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

struct Checking : Host::ReceiverSink {
    std::vector<GNSS::MeasSet> sets;
    std::vector<GNSS::GPSTime> times;

    void OnTime(const GNSS::GPSTime& time) override { times.push_back(time); }
    void OnLeapSeconds(int seconds) override { Check(seconds >= 0 && seconds <= 255); }
    void OnStation(const Host::StationPosition& station) override {
        Check(std::isfinite(station.posn.GetX()) && std::isfinite(station.posn.GetZ()) && station.antennaHeight);
    }
    void OnMeasurements(const GNSS::MeasSet& set) override {
        const GNSS::GPSTime& time = set.GetGPSTime();
        Check(!times.empty() && times.back() == time);
        Check(time.GetWeek() > 0 && time.GetWeek() <= Host::MaxWeek);
        CheckSet(set.GetGPS());
        CheckSet(set.GetGlonass());
        sets.push_back(set);
    }

private:
    template <typename Set>
    static void CheckSet(const Set& set) {
        for (int i = 0; i < set.NmrSV(); ++i) {
            Check(set.GetSV(i).GetId().IsValid() && set.GetSV(i).NmrMeas() >= 1 && set.GetSV(i).NmrMeas() <= 3);
            for (int j = 0; j < set.GetSV(i).NmrMeas(); ++j) {
                const auto& record = set.GetSV(i).GetMeas(j);
                Check(std::abs(record.GetRange()) < 1e10 && std::abs(record.GetPhase()) < 1e10);
                Check(std::abs(record.GetDoppler()) < 1e10 && std::abs(record.GetSNR()) < 1e10);
            }
        }
    }
};

}  // namespace

// The first two bytes are the size of the pieces and where the text is cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const std::string_view text(reinterpret_cast<const char*>(data + 2), size - 2);
    Checking whole;
    Host::RinexObservationDecoder decoder(whole);
    decoder.Feed(text);
    decoder.Finish();

    Checking pieces;
    Host::RinexObservationDecoder again(pieces);
    const std::size_t piece = std::max<std::size_t>(data[0], 1);
    for (std::size_t at = 0; at < text.size(); at += piece) again.Feed(text.substr(at, piece));
    again.Finish();

    Checking beginning;
    Host::RinexObservationDecoder cut(beginning);
    cut.Feed(text.substr(0, text.size() * data[1] / 256));
    cut.Finish();

    const Host::RinexObservationCounts& counts = decoder.GetObservationCounts();
    Check(pieces.sets == whole.sets && pieces.times == whole.times && beginning.times.size() <= whole.times.size() + 1);
    Check(again.GetWarnings().GetCount() == decoder.GetWarnings().GetCount());
    Check(again.GetCounts().GetNmrMessages() == decoder.GetCounts().GetNmrMessages());
    Check(counts.epochs == static_cast<std::int64_t>(whole.sets.size()));
    Check(counts.lost + counts.repeated + counts.backward <= decoder.GetWarnings().GetCount());
    Check(counts.repeated + counts.backward <= counts.epochs);
    for (const auto& kind : decoder.GetCounts().kinds) Check(!decoder.GetKindName(kind.first).empty());
    return 0;
}
