#include "host/receiver/RecordMaker.h"

namespace Host {

void RecordMaker::OnTime(const GNSS::GPSTime& time) {
    const bool isFirst = !clock_.GetTime();
    clock_.SetTime(time);
    if (!isFirst) return;
    gps_.CompleteWaiting();
    glonass_.CompleteWaiting();
}

}  // namespace Host
