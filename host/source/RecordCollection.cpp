#include "host/source/RecordCollection.h"

#include <array>
#include <cmath>
#include <string>

#include "host/receiver/RecordMaker.h"

namespace Host {

using GNSS::GPSTime;

namespace {

class Collector : public RecordSink {
public:
    using RecordSink::OnRecord;
    void OnRecord(const GNSS::GPSEphemeride& record) override {
        if (record.prn.IsNull()) return;
        std::size_t& last = lastGPS_[static_cast<std::size_t>(record.prn - 1)];
        if (last > 0) {
            const GNSS::GPSEphemeride& before = navigation.gps[last - 1].ephemeride;
            if (before.posn.IODE == record.posn.IODE && before.GetTOE() == record.GetTOE() &&
                before.status.GetHealth() == record.status.GetHealth()) {
                return;
            }
        }
        RinexNavigation::GPSRecord& kept = navigation.gps.emplace_back();
        kept.ephemeride = record;
        kept.transmission = record.reference;
        last = navigation.gps.size();
    }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
        if (record.slot.IsNull()) return;
        std::size_t& last = lastGlonass_[static_cast<std::size_t>(record.slot - 1)];
        if (last > 0 && navigation.glonass[last - 1].ephemeride.HasTheSameBody(record)) return;
        RinexNavigation::GlonassRecord& kept = navigation.glonass.emplace_back();
        kept.ephemeride = record;
        kept.transmission = record.reference;
        kept.channel = channel;
        // tb is the second of a Moscow day that lies nearest to the frame.
        const double sent = clock->ToMoscow(record.reference);
        const double days = std::round((sent - record.posn.tb) / GPSTime::SecsInDay);
        kept.tb = clock->FromMoscow(record.posn.tb + days * GPSTime::SecsInDay);
        last = navigation.glonass.size();
    }
    void OnRecord(const GNSS::Almanac::Iono& record) override {
        if (!navigation.iono) navigation.iono = record;
    }

    RinexNavigation navigation;
    const StreamClock* clock = nullptr;

private:
    // Number of the satellite's last record, from 1.
    std::array<std::size_t, static_cast<std::size_t>(GNSS::PRN::Max)> lastGPS_{};
    std::array<std::size_t, static_cast<std::size_t>(GNSS::Glonass::Slot::Max)> lastGlonass_{};
};

}  // namespace

RinexNavigation CollectRecords(Input& input, const std::optional<GPSTime>& date) {
    Collector collector;
    RecordMaker maker(collector);
    collector.clock = &maker.GetClock();
    // What is wrong with the stream is said when it is played.
    input.Connect(maker, [](const std::string&) {});
    if (date) input.SetApproximateTime(*date);
    while (input.Pump()) {
    }
    if (!maker.GetClock().GetTime() && date && maker.GetNmrWaiting() > 0) maker.OnTime(*date);
    return std::move(collector.navigation);
}

}  // namespace Host
