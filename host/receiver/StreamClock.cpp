#include "host/receiver/StreamClock.h"

#include <cstdlib>

#include "host/receiver/LeapSeconds.h"

namespace Host {

using GNSS::GPSTime;

namespace {

constexpr double MoscowToUTC = 3.0 * 3600.0;  // s
constexpr double Jitter = 60.0;               // s

// Leaps that the table does not know yet may have come.
bool IsPlausible(int leapSeconds, const GPSTime& time) {
    return leapSeconds >= 0 && std::abs(leapSeconds - GPSMinusUTC(time)) <= 2;
}

}  // namespace

int ResolveWeek(int number, int modulus, int nearWeek) {
    // The distance modulo the modulus, then between minus half of it and just below half.
    int ahead = (number - nearWeek) % modulus;
    if (ahead < 0) ahead += modulus;
    if (ahead >= modulus / 2) ahead -= modulus;
    return nearWeek + ahead;
}

void StreamClock::SetTime(const GPSTime& time) {
    const double behind = time_ ? (*time_ - time).Seconds() : 0.0;
    if (behind > 0.0 && behind < GPSTime::SecsInDay && (behind <= Jitter || !wasBehind_)) {
        wasBehind_ = behind > Jitter;
        return;
    }
    wasBehind_ = false;
    const bool isFirst = !time_;
    time_ = time;
    if (isFirst) CheckLeapSeconds();
}

// What was told without a time is judged by the first one.
void StreamClock::CheckLeapSeconds() {
    if (!leapSeconds_ || IsPlausible(*leapSeconds_, *time_)) return;
    leapSeconds_.reset();
    ++nmrRefused_;
}

void StreamClock::SetLeapSeconds(int seconds) {
    if (time_ && !IsPlausible(seconds, *time_)) {
        ++nmrRefused_;
        return;
    }
    leapSeconds_ = seconds;
    utc_.reset();
}

bool StreamClock::SetUTC(const GNSS::Almanac::UTC& utc) {
    const int change = utc.DtLSF - utc.DtLS;
    if (change < -1 || change > 1 || !IsPlausible(utc.DtLS, utc.time)) return false;
    utc_ = utc;
    leapSeconds_.reset();
    return true;
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
