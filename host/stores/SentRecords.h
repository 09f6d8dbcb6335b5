// SentRecords: a navigation file's records as a receiver would have delivered them.
#pragma once

#include <vector>

#include "gnss/time/GPSTime.h"
#include "host/receiver/ReceiverSink.h"
#include "host/receiver/RinexNavigation.h"

namespace Host {

// A record of one of the two systems, and when it was sent.
struct SentRecord {
    GNSS::GPSTime sent;
    const RinexNavigation::GPSRecord* gps = nullptr;
    const RinexNavigation::GlonassRecord* glonass = nullptr;

    // Gives the record, undated, to a sink that completes it, such as a RecordMaker.
    void SendTo(ReceiverSink& sink) const;
};

// All records in the order of their transmission. One whose time of transmission the file does not say counts as sent
// at its reference time (GPS: toc, GLONASS: tb). The file must outlive the result.
[[nodiscard]] std::vector<SentRecord> InOrderOfTransmission(const RinexNavigation& navigation);

}  // namespace Host
