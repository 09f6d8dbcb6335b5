#include "host/receiver/StreamClock.h"

#include "host/receiver/LeapSeconds.h"

namespace Host {

using GNSS::GPSTime;

namespace {

constexpr double MoscowToUTC = 3.0 * 3600.0;  // s

}  // namespace

int ResolveWeek(int number, int modulus, int nearWeek) {
    // The distance modulo the modulus, then between minus half of it and just below half.
    int ahead = (number - nearWeek) % modulus;
    if (ahead < 0) ahead += modulus;
    if (ahead >= modulus / 2) ahead -= modulus;
    return nearWeek + ahead;
}

void StreamClock::SetLeapSeconds(int seconds) {
    leapSeconds_ = seconds;
    utc_.reset();
}

void StreamClock::SetUTC(const GNSS::Almanac::UTC& utc) {
    const int change = utc.DtLSF - utc.DtLS;
    if (utc.DtLS < 0 || change < -1 || change > 1) return;
    utc_ = utc;
    leapSeconds_.reset();
}

int StreamClock::GetLeapSeconds(const GPSTime& time) const {
    if (leapSeconds_) return *leapSeconds_;
    if (!utc_) return GPSMinusUTC(time);
    const GPSTime leap(utc_->WNLSF, utc_->DN * GPSTime::SecsInDay + utc_->DtLSF);
    return time < leap ? utc_->DtLS : utc_->DtLSF;
}

double StreamClock::ToMoscow(const GPSTime& time) const {
    return (time - GPSTime::Zero).Seconds() - GetLeapSeconds(time) + MoscowToUTC;
}

GPSTime StreamClock::FromMoscow(double seconds) const {
    const GPSTime uncounted(0, seconds - MoscowToUTC);
    // A time inside an inserted second reads as the one a second later, which is taken.
    const GPSTime about = uncounted + Corvane::Time(GetLeapSeconds(uncounted) + 1.0);
    return uncounted + Corvane::Time(GetLeapSeconds(about));
}

}  // namespace Host
