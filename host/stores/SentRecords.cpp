#include "host/stores/SentRecords.h"

#include <algorithm>

namespace Host {

void SentRecord::SendTo(ReceiverSink& sink) const {
    if (gps != nullptr) {
        GPSDecodedEphemeride record;
        record.ephemeride = gps->ephemeride;
        record.week = gps->ephemeride.GetTOE().GetWeek();
        record.transmission = gps->transmission;
        sink.OnEphemeride(record);
    }
    if (glonass != nullptr) {
        GlonassDecodedEphemeride record;
        record.ephemeride = glonass->ephemeride;
        record.channel = glonass->channel;
        record.reference = glonass->tb;
        sink.OnEphemeride(record);
    }
}

std::vector<SentRecord> InOrderOfTransmission(const RinexNavigation& navigation) {
    std::vector<SentRecord> records;
    records.reserve(navigation.gps.size() + navigation.glonass.size());
    for (const auto& record : navigation.gps)
        records.push_back({record.transmission.value_or(record.ephemeride.GetTOC()), &record, nullptr});
    for (const auto& record : navigation.glonass)
        records.push_back({record.transmission.value_or(record.tb), nullptr, &record});
    std::stable_sort(records.begin(), records.end(), [](const SentRecord& a, const SentRecord& b) {
        return (a.sent - b.sent).Seconds() < 0.0;  // an order without a tolerance
    });
    return records;
}

}  // namespace Host
