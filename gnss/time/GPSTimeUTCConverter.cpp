#include "gnss/time/GPSTimeUTCConverter.h"

namespace GNSS {

using Corvane::Time;
using Corvane::TimeDate;
using Corvane::TimeOfDay;

TimeDate GPSTime::UTCConverter::Convert(const GPSTime& gps) const {
    const Time untilLeap = leapTime_ - gps;
    if (untilLeap.Compare(Time::Zero) <= 0) return gps.GetTimeDate() - after_;
    if (untilLeap.Compare(change_) <= 0) {
        // Inside the inserted second: the old day goes on.
        TimeDate utc = gps.GetTimeDate() - after_;
        utc.SetTimeOfDay(TimeOfDay(utc.GetTimeOfDay().Seconds() + change_.Seconds()));
        return utc;
    }
    return gps.GetTimeDate() - before_;
}

GPSTime GPSTime::UTCConverter::Reverse(const TimeDate& utc) const {
    return GPSTime(utc + (leapTime_.GetDate() > utc.GetDate() ? before_ : after_));
}

int GPSTime::UTCConverter::LeapSecondZone(const TimeDate& utc) const {
    const Time margin = Time::Minute * 20.0;
    const Time untilLeap = Convert(leapTime_) - utc;
    // Not a two-sided test, as intended: see the header.
    return untilLeap < margin || -untilLeap < margin ? Corvane::ToInt(LeapChange()) : 0;
}

}  // namespace GNSS
