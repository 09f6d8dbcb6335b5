#include "host/cli/StoreFeed.h"

#include "host/cli/Inputs.h"
#include "host/stores/SentRecords.h"

namespace Host {

void StoreFeed::OnTime(const GNSS::GPSTime& time) {
    // What has come until now is handled before the clock goes on.
    tree_.AdvanceTo(time);
    leaps_.SetFor(time, maker_.GetClock().GetLeapSeconds(time));
    maker_.OnTime(time);
}

void StoreFeed::Play(const RinexNavigation& navigation, std::string_view file) {
    const std::string doubt = leaps_.Add(navigation, file);
    if (!doubt.empty()) Complain(doubt);
    bool isFirst = true;
    for (const SentRecord& record : InOrderOfTransmission(navigation)) {
        OnLeapSeconds(leaps_.Count(record.sent));
        OnTime(record.sent);
        if (isFirst) {
            Navigation& sink = tree_.GetNavigation();
            if (navigation.utc) sink.OnRecord(*navigation.utc);
            if (navigation.iono) sink.OnRecord(*navigation.iono);
            isFirst = false;
        }
        record.SendTo(*this);
    }
}

}  // namespace Host
