#include "host/receiver/RtcmTime.h"

#include <cmath>

#include "host/receiver/LeapSeconds.h"

namespace Host {

using Corvane::Time;
using GNSS::GPSTime;

namespace {

constexpr double MoscowOffset = 10800.0;                // s
constexpr double MostApart = GPSTime::SecsInDay / 2.0;  // between sources that agree
constexpr double MostSaidApart = 2.0 * 3600.0;          // between satellites that say the same

bool Agree(const GPSTime& a, const GPSTime& b, double limit) {
    return std::abs((a - b).Seconds()) <= limit;
}

GPSTime Midnight(const Corvane::Date& date) {
    return GPSTime(Corvane::TimeDate(date, Corvane::TimeOfDay()));
}

}  // namespace

GPSTime FromMoscow(const Corvane::Date& date, double seconds) {
    const GPSTime utc = Midnight(date) + Time(seconds - MoscowOffset);
    return utc + Time(GPSMinusUTC(utc.GetDate()));
}

GPSTime NearestMoscow(const GPSTime& near, double seconds, double period) {
    const auto resolve = [&](int leaps) {
        return near.ResolveTo(Time(Corvane::modulo(seconds - MoscowOffset + leaps, period)), Time(period));
    };
    // About a leap second the count must be that of the time itself.
    const int before = GPSMinusUTC(near);
    const GPSTime time = resolve(before);
    const int at = GPSMinusUTC(time);
    if (at == before) return time;
    const GPSTime other = resolve(at);
    return GPSMinusUTC(other) == at ? other : time;
}

void RtcmTime::SetApproximate(const GPSTime& time) {
    if (source_ > Source::Outside || !std::isfinite(time.GetSeconds())) return;
    reference_ = time;
    source_ = Source::Outside;
}

GPSTime RtcmTime::SetStation(const Corvane::Date& utc, double secondsOfDay) {
    // Second 86400 is a leap second: its day's count still holds.
    const GPSTime time = Midnight(utc) + Time(secondsOfDay + GPSMinusUTC(utc));
    if (!reference_ || !Agree(*reference_, time, MostApart)) reference_ = time;
    source_ = Source::Station;
    return time;
}

std::optional<GPSTime> RtcmTime::SetSatellite(GNSS::Glonass::Slot slot, bool healthy, const Corvane::Date& moscow,
                                              double frameTime) {
    const GPSTime time = FromMoscow(moscow, frameTime);
    const bool isBelieved = reference_ ? Agree(*reference_, time, MostApart) : healthy;
    if (source_ == Source::Station) return isBelieved ? std::optional(time) : std::nullopt;
    if (!isBelieved) {
        const bool isConfirmed = doubted_ && doubted_->slot != slot && Agree(doubted_->time, time, MostSaidApart);
        if (!isConfirmed) {
            doubted_ = {slot, time};
            return std::nullopt;
        }
        reference_ = time;
    }
    if (!reference_) reference_ = time;
    source_ = Source::Satellite;
    doubted_.reset();
    return time;
}

std::optional<GPSTime> RtcmTime::Date(const RtcmObservations& message) {
    if (!reference_) return std::nullopt;
    const double seconds = static_cast<double>(message.ms) * 1e-3;
    if (message.clock == RtcmObservations::Clock::GPSWeek) {
        reference_ = reference_->GetClosest(seconds);
        return reference_;
    }
    const double period =
        message.clock == RtcmObservations::Clock::MoscowWeek ? GPSTime::SecsInWeek : GPSTime::SecsInDay;
    const GPSTime time = NearestMoscow(*reference_, seconds, period);
    reference_ = time;
    return reference_;
}

}  // namespace Host
