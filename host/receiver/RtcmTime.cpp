#include "host/receiver/RtcmTime.h"

#include <cmath>

#include "host/receiver/LeapSeconds.h"
#include "host/receiver/StreamClock.h"

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
    hasSeconds_ = true;
    return time;
}

std::optional<GPSTime> RtcmTime::SetSatellite(GNSS::Glonass::Slot slot, bool healthy, const Corvane::Date& moscow,
                                              double frameTime) {
    const GPSTime time = FromMoscow(moscow, frameTime);
    const bool isAgreed = reference_ && Agree(*reference_, time, MostApart);
    if (source_ == Source::Station) return isAgreed ? std::optional(time) : std::nullopt;
    if (source_ <= Source::Outside && healthy && !isAgreed) {
        reference_ = time;
    } else if (!isAgreed) {
        const bool isConfirmed = doubted_ && doubted_->slot != slot && Agree(doubted_->time, time, MostSaidApart);
        if (!isConfirmed) {
            doubted_ = {slot, time};
            return std::nullopt;
        }
        reference_ = time;
    }
    source_ = Source::Satellite;
    hasSeconds_ = true;
    doubted_.reset();
    return time;
}

std::optional<GPSTime> RtcmTime::SetWeek(GNSS::PRN prn, int week, double toe) {
    if (!reference_ || source_ == Source::Station) return std::nullopt;
    const double seconds = hasSeconds_ ? reference_->GetSeconds() : toe;
    // About the turn of the week it depends on which of the two weeks is told.
    if (std::abs(seconds - toe) > GPSTime::SecsInWeek / 2.0) return std::nullopt;
    const GPSTime time(ResolveWeek(week, 1024, reference_->GetWeek()), seconds);
    const bool isAgreed =
        hasSeconds_ ? time.GetWeek() == reference_->GetWeek() : Agree(*reference_, time, GPSTime::SecsInWeek / 2.0);
    if (isAgreed) {
        doubtedWeek_.reset();
        return std::nullopt;
    }
    if (!doubtedWeek_ || doubtedWeek_->prn == prn || doubtedWeek_->week != time.GetWeek()) {
        doubtedWeek_ = {prn, time.GetWeek()};
        return std::nullopt;
    }
    doubtedWeek_.reset();
    reference_ = time;
    return time;
}

std::optional<GPSTime> RtcmTime::Date(const RtcmObservations& message) {
    if (!reference_) return std::nullopt;
    const double seconds = static_cast<double>(message.ms) * 1e-3;
    if (message.clock == RtcmObservations::Clock::GPSWeek) {
        reference_ = reference_->GetClosest(seconds);
        hasSeconds_ = true;
        return reference_;
    }
    hasSeconds_ = hasSeconds_ || message.clock == RtcmObservations::Clock::MoscowWeek;
    const double period =
        message.clock == RtcmObservations::Clock::MoscowWeek ? GPSTime::SecsInWeek : GPSTime::SecsInDay;
    const GPSTime time = NearestMoscow(*reference_, seconds, period);
    reference_ = time;
    return reference_;
}

}  // namespace Host
