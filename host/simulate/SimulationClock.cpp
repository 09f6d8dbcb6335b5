#include "host/simulate/SimulationClock.h"

#include <cmath>

#include "host/receiver/LeapSeconds.h"

namespace Host {

using GNSS::GPSTime;

namespace {

constexpr double MoscowToUTC = 3.0 * 3600.0;

}  // namespace

SimulationClock::SimulationClock(const GPSTime& origin, const std::optional<GPSTime>& leapOn)
    : origin_(origin), originSeconds_((origin - GPSTime::Zero).Seconds()) {
    const int now = GPSMinusUTC(leapOn.value_or(origin));
    if (leapOn) {
        leap_.day = (*leapOn - Corvane::Time(now)).GetDate() - GPSTime::Start;
        leap_.before = now;
        leap_.after = now + 1;
        // The count grows when the second that is inserted has gone by. A leap that the table has is in its count.
        const double end = (leap_.day + 1) * GPSTime::SecsInDay + leap_.after - originSeconds_;
        if (GPSMinusUTC(ToGPS(end)) == now) leapAt_ = end;
    } else if (const auto last = LastLeapSecond(origin.GetDate())) {
        leap_.day = last->day - GPSTime::Start - 1;
        leap_.after = last->after;
        leap_.before = last->after - 1;
    } else {
        leap_.day = -1;
    }
}

int SimulationClock::GetLeapSeconds(double t) const {
    const int count = GPSMinusUTC(ToGPS(t));
    return leapAt_ && t >= *leapAt_ ? count + 1 : count;
}

double SimulationClock::ToMoscow(double t) const {
    return originSeconds_ + t - GetLeapSeconds(t) + MoscowToUTC;
}

double SimulationClock::FromMoscow(double seconds) const {
    const double uncounted = seconds - MoscowToUTC - originSeconds_;
    const int about = GetLeapSeconds(uncounted + GetLeapSeconds(uncounted) + 1.0);
    return uncounted + about;
}

}  // namespace Host
