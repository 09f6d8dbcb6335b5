#include "gnss/time/GPSTime.h"

#include <cmath>

namespace GNSS {

using Corvane::String;
using Corvane::Time;
using Corvane::TimeOfDay;

void GPSTime::Normalise() {
    // Weeks are counted in double, which is exact for every week that fits and merely large beyond.
    double week = week_;
    if (seconds_ < 0.0) {
        // A whole number of weeks goes one week too far down here and comes back up below.
        const double weeks = std::floor(-(seconds_ / SecsInWeek)) + 1.0;
        week -= weeks;
        seconds_ += weeks * SecsInWeek;
    }
    if (seconds_ >= SecsInWeek) {
        const double weeks = std::floor(seconds_ / SecsInWeek);
        week += weeks;
        seconds_ -= weeks * SecsInWeek;
    }
    week_ = Corvane::ToInt(week);
    if (week != week_) seconds_ = 0.0;
}

TimeOfDay GPSTime::GetTimeOfDay() const {
    // The remainder without the division of the general case, where the quotient has not been rounded up.
    const double rest = seconds_ - GetDay() * SecsInDay;
    return TimeOfDay(rest >= 0.0 && rest < SecsInDay ? rest : std::fmod(seconds_, SecsInDay));
}

void GPSTime::Round(int decimals) {
    SetTo(week_, Corvane::round(seconds_, decimals));
}

void GPSTime::Truncate(int decimals) {
    seconds_ = Corvane::truncate(seconds_, decimals);
}

GPSTime GPSTime::ResolveTo(Time t, Time period) const {
    const double p = period.Seconds();
    if (!(t.Seconds() >= 0.0 && p > 0.0)) return *this;
    double d = t.Seconds() - Corvane::modulo(seconds_, p);
    // Two tests one after the other, of which the first takes the tie: half a period resolves forwards.
    if (d <= -p / 2.0) d += p;
    if (d > p / 2.0) d -= p;
    return {week_, seconds_ + d};
}

GPSTime GPSTime::GetClosest(double secondsOfWeek) const {
    const GPSTime candidate(week_, secondsOfWeek);
    const Time difference = *this - candidate;
    std::int64_t week = candidate.week_;
    if (difference.Compare(Time(-HalfSecsInWeek)) < 0) {
        --week;
    } else if (difference.Compare(Time(HalfSecsInWeek)) > 0) {
        ++week;
    }
    return {Corvane::Saturate(week), candidate.seconds_};
}

String GPSTime::Print(int decimals, bool truncate) const {
    std::int64_t week = week_;
    double seconds = truncate ? Corvane::truncate(seconds_, decimals) : Corvane::round(seconds_, decimals);
    if (!truncate && seconds >= SecsInWeek) {
        seconds -= SecsInWeek;
        ++week;
    }
    String text;
    text.Reserve(30);
    text += String::FormatInt(week, 4);
    text += ' ';
    text += Corvane::DayOfWeek(Corvane::ToInt(seconds / SecsInDay)).Name();
    text += ' ';
    text += TimeOfDay(std::fmod(seconds, SecsInDay)).PrintRound(decimals);
    return text;
}

bool GPSTime::Write(Corvane::Stream::Output& output) const {
    output.WriteInt(week_);
    output.WriteDouble(seconds_);
    return true;
}

bool GPSTime::Read(Corvane::Stream::Input& input) {
    const std::int32_t week = input.ReadInt();
    const double seconds = input.ReadDouble();
    week_ = week;
    seconds_ = seconds;
    return true;
}

}  // namespace GNSS
